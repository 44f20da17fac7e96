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
    const std::scoped_lock lock(m_csQueue);
    m_pTail.load(std::memory_order_relaxed)->pNext = std::move(pEntry);
    m_pTail.store(pNew, std::memory_order_relaxed);
}

std::unique_ptr<LogEntry> LogQueue::TakeAll() {
    const std::scoped_lock lock(m_csQueue);
    m_pTail.store(&m_sentinel, std::memory_order_relaxed);
    return std::move(m_sentinel.pNext);
}
