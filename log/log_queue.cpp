#include "log/log_queue.h"

#include <utility>

void FreeLogEntries(std::unique_ptr<LogEntry> pFirst) {
    while (pFirst) pFirst = std::move(pFirst->pNext);
}

LogQueue::~LogQueue() {
    FreeLogEntries(std::move(m_sentinel.pNext));
}

void LogQueue::Append(std::unique_ptr<LogEntry> pEntry) {
    LogEntry* const pNew = pEntry.get();
    const size_t nBytes = sizeof(LogEntry) + pNew->strText.size();
    const std::scoped_lock lock(m_csQueue);
    if (m_nDropped > 0 || m_nBytes + nBytes > m_nLimit) {
        ++m_nDropped;
        return;
    }
    m_nBytes += nBytes;
    m_pTail.load(std::memory_order_relaxed)->pNext = std::move(pEntry);
    m_pTail.store(pNew, std::memory_order_relaxed);
}

std::unique_ptr<LogEntry> LogQueue::TakeAll(uint64_t* pnDropped) {
    const std::scoped_lock lock(m_csQueue);
    if (pnDropped != nullptr) *pnDropped += m_nDropped;
    m_nDropped = 0;
    m_nBytes = 0;
    m_pTail.store(&m_sentinel, std::memory_order_relaxed);
    return std::move(m_sentinel.pNext);
}
