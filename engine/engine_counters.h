// The three counters that all operations share.
#pragma once

#include <atomic>
#include <cstdint>

/// Any thread reads; the threads that are counted, and their creators, write. Relaxed order is enough for display; a stop
/// relies on the counters of the operation, not on these, before it lets go of memory.
struct EngineCounters {
    std::atomic<int32_t> nThreads = 0;        // threads of the process that the program counts
    std::atomic<int32_t> nSessions = 0;       // sessions open in all operations
    std::atomic<int32_t> nPendingSetups = 0;  // TCP set-up threads of all operations
};
