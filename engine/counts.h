// Counting of the engine's threads, sessions and bytes.
//
// A thread is counted by its creator, before it exists, so that a stop which finds no thread counted can be sure that
// none is about to begin. It takes itself off as its last touch of the operation: from then on the operation can go.
#pragma once

#include "engine/port_forward_op.h"

inline void AddThread(CPortForwardOp& op) {
    op.m_pCounters->nThreads.fetch_add(1);
    op.m_nThreads.fetch_add(1);
}

inline void RemoveThread(CPortForwardOp& op) {
    op.m_pCounters->nThreads.fetch_sub(1);
    op.m_nThreads.fetch_sub(1);
}

/// A session, from the moment that it stands until its end has been told.
inline void AddSession(CPortForwardOp& op) {
    op.m_pCounters->nSessions.fetch_add(1);
    op.m_nSessions.fetch_add(1);
    op.m_nTotalSessions.fetch_add(1);
    op.m_nActiveSessions.fetch_add(1);
}

/// Bytes that came in from one side. Nothing is published by them: readers only show the figure.
inline void AddBytes(std::atomic<double>& dTotal, int32_t nBytes) {
    // Not fetch_add: not every standard library has it for double yet.
    double dOld = dTotal.load(std::memory_order_relaxed);
    while (!dTotal.compare_exchange_weak(dOld, dOld + nBytes, std::memory_order_relaxed)) {
    }
}
