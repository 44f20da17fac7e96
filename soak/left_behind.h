// What a process holds when everything has stopped, to see that a soak gave everything back.
#pragma once

#include <cstdint>

#include "soak/shared_block.h"

struct LeftBehind {
    int32_t nThreads = 0;
    int32_t nDescriptors = 0;
    uint64_t nHeapBytes = 0;  // allocated and not freed; 0 where a sanitizer has the heap
    uint64_t nResidentBytes = 0;
};

/// Of this process. Unused heap is given back to the system first, and threads that are just ending are waited for until no
/// more than this many are left.
LeftBehind CountLeftBehind(int32_t nThreads);
/// Of any process, at once and without the heap; 0 is this one.
LeftBehind CountLeftBehindOf(int nProcess);

/// Tells both and fails for what has grown.
void CompareLeftBehind(SharedBlock& shared, const LeftBehind& before, const LeftBehind& after);
