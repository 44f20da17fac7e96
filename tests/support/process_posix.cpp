#include "tests/support/process.h"

#include <cstdlib>
#include <filesystem>

namespace {

int32_t CountEntries(const char* pszFolder) {
    return static_cast<int32_t>(std::distance(std::filesystem::directory_iterator(pszFolder), {}));
}

}  // namespace

void PrepareTestProcess() {}

void EndTestProcess(int32_t nCode) {
    std::exit(nCode);  // the sanitizers report at the end
}

int32_t CountHandles() {
    return CountEntries("/proc/self/fd");
}

int32_t HandlesOfTheLibrary() {
    return 0;
}

int32_t CountThreads() {
    return CountEntries("/proc/self/task");
}

bool IsHeapSound() {
    return true;
}
