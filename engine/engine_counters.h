// What all operations share: three counters, the signal of a change, and the connections that are on their way out.
#pragma once

#include <atomic>
#include <cstdint>

#include "engine/lingering_close.h"
#include "platform/threads/change_signal.h"

/// Any thread reads; the threads that are counted, and their creators, write. Relaxed order is enough for display; a stop
/// relies on the counters of the operation, not on these, before it lets go of memory.
struct EngineCounters {
    std::atomic<int32_t> nThreads = 0;        // threads of the process that the program counts
    std::atomic<int32_t> nSessions = 0;       // sessions open in all operations
    std::atomic<int32_t> nPendingSetups = 0;  // TCP set-up threads of all operations
    std::atomic<int32_t> nAcceptors = 0;  // idle threads of all operations that wait for a client; see TcpSessionThread
    CLingeringCloses lingering;
    CChangeSignal changed;  // told when a flag or count that Start or Stop waits for has changed
};

/// Adds bytes that came in from one side. Nothing is published by them: readers only show the figure.
inline void AddBytes(std::atomic<double>& dTotal, int32_t nBytes) {
    // Not fetch_add: not every standard library has it for double yet.
    double dOld = dTotal.load(std::memory_order_relaxed);
    while (!dTotal.compare_exchange_weak(dOld, dOld + nBytes, std::memory_order_relaxed)) {
    }
}
