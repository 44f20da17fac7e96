// The three counters that all operations share, and the signal that they or those of an operation have changed.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/threads/change_signal.h"

/// Any thread reads; the threads that are counted, and their creators, write. Relaxed order is enough for display; a stop
/// relies on the counters of the operation, not on these, before it lets go of memory.
struct EngineCounters {
    std::atomic<int32_t> nThreads = 0;        // threads of the process that the program counts
    std::atomic<int32_t> nSessions = 0;       // sessions open in all operations
    std::atomic<int32_t> nPendingSetups = 0;  // TCP set-up threads of all operations
    CChangeSignal changed;                    // told when a flag or count that Start or Stop waits for has changed
};

/// Adds bytes that came in from one side. Nothing is published by them: readers only show the figure.
inline void AddBytes(std::atomic<double>& dTotal, int32_t nBytes) {
    // Not fetch_add: not every standard library has it for double yet.
    double dOld = dTotal.load(std::memory_order_relaxed);
    while (!dTotal.compare_exchange_weak(dOld, dOld + nBytes, std::memory_order_relaxed)) {
    }
}
