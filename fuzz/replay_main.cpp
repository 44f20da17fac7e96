// Runs a fuzz target once on each file of the folders that are named: the committed inputs, as a test of every build.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "platform/files/files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize);

namespace {

std::vector<std::filesystem::path> FilesIn(const char* pszFolder) {
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(pszFolder, error)) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

bool Replay(const std::filesystem::path& file) {
    std::vector<uint8_t> data;
    if (ReadWholeFile(file.string(), &data) != 0) {
        std::fprintf(stderr, "%s: cannot be read\n", file.c_str());
        return false;
    }
    // Named ahead of the run: a property that does not hold ends the process.
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(data.data(), data.size());
    return true;
}

}  // namespace

int main(int nArguments, char** ppszArguments) {
    size_t nFiles = 0;
    for (int i = 1; i < nArguments; ++i) {
        const bool bFolder = std::filesystem::is_directory(ppszArguments[i]);
        for (const auto& file :
             bFolder ? FilesIn(ppszArguments[i]) : std::vector<std::filesystem::path>{ppszArguments[i]}) {
            if (!Replay(file)) return 1;
            ++nFiles;
        }
    }
    std::printf("%zu inputs\n", nFiles);
    return nFiles == 0 ? 1 : 0;
}
