// Runs a fuzz target once on each file of the folders and files that are named: the committed inputs, as a test.
#include <cstdio>
#include <filesystem>
#include <set>

#include "platform/files/files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize);

int main(int nArguments, char** ppszArguments) {
    std::set<std::string> files;
    for (int i = 1; i < nArguments; ++i) {
        if (!std::filesystem::is_directory(ppszArguments[i])) {
            files.insert(ppszArguments[i]);
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(ppszArguments[i])) files.insert(entry.path());
    }
    for (const std::string& strFile : files) {
        // Named ahead of the run: a property that does not hold ends the process.
        std::printf("%s\n", strFile.c_str());
        std::fflush(stdout);
        std::vector<uint8_t> data;
        if (ReadWholeFile(strFile, &data) != 0) return 1;
        LLVMFuzzerTestOneInput(data.data(), data.size());
    }
    return files.empty() ? 1 : 0;
}
