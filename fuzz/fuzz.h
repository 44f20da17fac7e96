// What the fuzz targets share.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "platform/files/files.h"

/// States a property. One that does not hold ends the process, in every build, and the fuzzer keeps the input.
inline void Check(bool bHolds, const char* pszProperty) {
    if (bHolds) return;
    std::fprintf(stderr, "property does not hold: %s\n", pszProperty);
    std::abort();
}

/// A file with the bytes of one run, for what reads files by their paths. It goes with its owner.
class CFuzzFile {
  public:
    CFuzzFile() = default;
    ~CFuzzFile() { std::filesystem::remove(m_strPath); }
    CFuzzFile(const CFuzzFile&) = delete;
    CFuzzFile& operator=(const CFuzzFile&) = delete;

    const std::string& Path() const { return m_strPath; }
    void Write(const std::vector<uint8_t>& data) const {
        Check(WriteWholeFile(m_strPath, data) == 0, "a file is written");
    }
    std::string Read() const {
        std::vector<uint8_t> data;
        Check(ReadWholeFile(m_strPath, &data) == 0, "a file that was written can be read");
        return {data.begin(), data.end()};
    }

  private:
    const std::string m_strPath =
        (std::filesystem::temp_directory_path() / ("zelkor_fuzz_" + std::to_string(std::random_device()()))).string();
};
