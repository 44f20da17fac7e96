#include <malloc.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/threads/threads.h"
#include "soak/left_behind.h"

namespace {

constexpr uint32_t kPollMs = 20;
constexpr int kThreadWaits = 3000;  // a minute

// What the allocator and the library may keep for themselves: a little for each of their arenas, and the touched pages of
// the stacks and arenas that they reuse.
constexpr uint64_t kHeapSlack = 64 << 10;
constexpr uint64_t kResidentSlack = 24 << 20;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kOwnHeap = false;
#else
constexpr bool kOwnHeap = true;
#endif

int32_t CountEntries(const std::string& strFolder) {
    std::error_code error;
    const std::filesystem::directory_iterator entries(strFolder, error);
    return error ? -1 : static_cast<int32_t>(std::distance(entries, {}));
}

uint64_t ResidentBytes(const std::string& strFolder) {
    std::ifstream file(strFolder + "/statm");
    uint64_t nTotal = 0;
    uint64_t nResident = 0;
    file >> nTotal >> nResident;
    return nResident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

LeftBehind CountIn(const std::string& strFolder) {
    LeftBehind counts;
    counts.nThreads = CountEntries(strFolder + "/task");
    counts.nDescriptors = CountEntries(strFolder + "/fd");
    counts.nResidentBytes = ResidentBytes(strFolder);
    return counts;
}

void Tell(const char* pszWhen, const LeftBehind& counts) {
    std::printf("%-28s %d threads, %d descriptors, %" PRIu64 " KiB of heap, %" PRIu64 " KiB resident\n", pszWhen,
                counts.nThreads, counts.nDescriptors, counts.nHeapBytes >> 10, counts.nResidentBytes >> 10);
}

}  // namespace

LeftBehind CountLeftBehind(int32_t nThreads) {
    for (int n = 0; n < kThreadWaits && CountLeftBehindOf(0).nThreads > nThreads; ++n) Sleep(kPollMs);
    if (kOwnHeap) malloc_trim(0);
    LeftBehind counts = CountIn("/proc/self");
    if (kOwnHeap) {
        const struct mallinfo2 heap = mallinfo2();
        counts.nHeapBytes = heap.uordblks + heap.hblkhd;
    }
    return counts;
}

LeftBehind CountLeftBehindOf(int nProcess) {
    return CountIn("/proc/" + (nProcess == 0 ? "self" : std::to_string(nProcess)));
}

void CompareLeftBehind(SharedBlock& shared, const LeftBehind& before, const LeftBehind& after) {
    Tell("stopped behind the warm-up:", before);
    Tell("stopped at the end:", after);
    if (after.nThreads > before.nThreads) shared.Fail("%d threads are left", after.nThreads - before.nThreads);
    if (after.nDescriptors > before.nDescriptors) {
        shared.Fail("%d descriptors are left", after.nDescriptors - before.nDescriptors);
    }
    if (after.nHeapBytes > before.nHeapBytes + kHeapSlack) {
        shared.Fail("%" PRIu64 " bytes of heap are left", after.nHeapBytes - before.nHeapBytes);
    }
    if (kOwnHeap && after.nResidentBytes > before.nResidentBytes + kResidentSlack) {
        shared.Fail("%" PRIu64 " more bytes are resident", after.nResidentBytes - before.nResidentBytes);
    }
}
