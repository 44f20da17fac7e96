#include "fuzz/fuzz_file.h"

#include <filesystem>
#include <random>

#include "fuzz/fuzz_check.h"
#include "platform/files/files.h"

namespace {

std::string NewPath() {
    const std::string strName = "zelkor_fuzz_" + std::to_string(std::random_device()());
    return (std::filesystem::temp_directory_path() / strName).string();
}

}  // namespace

CFuzzFile::CFuzzFile() : m_strPath(NewPath()) {}

CFuzzFile::~CFuzzFile() {
    std::error_code error;
    std::filesystem::remove(m_strPath, error);
}

void CFuzzFile::Write(const std::vector<uint8_t>& data) const {
    Check(WriteWholeFile(m_strPath, data) == 0, "the folder for temporary files takes a file");
}

std::vector<uint8_t> CFuzzFile::Read() const {
    std::vector<uint8_t> data;
    Check(ReadWholeFile(m_strPath, &data) == 0, "a file that was written can be read");
    return data;
}
