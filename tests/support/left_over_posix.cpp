#include <filesystem>
#include <iterator>

#include "tests/support/left_over.h"

namespace {

int32_t CountEntries(const char* pszFolder) {
    return static_cast<int32_t>(std::distance(std::filesystem::directory_iterator(pszFolder), {}));
}

}  // namespace

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
