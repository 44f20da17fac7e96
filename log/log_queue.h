// The queue of finished log lines between the threads that raise events and the thread that writes the file.
//
// Any thread appends; one thread takes. The lock is held for the change of a few links, never while a line is formatted
// or written. What goes beyond its limit is dropped and counted. It must outlive every thread that appends to it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "platform/threads/thread_annotations.h"

/// What the entries of a queue may take, in bytes: a flood of events must not take the memory of the machine.
inline constexpr size_t kLogQueueLimit = size_t{64} << 20;

struct LogEntry {
    std::string strText;  // ANSI code page, without a line end
    std::unique_ptr<LogEntry> pNext;
};

class LogQueue {
  public:
    explicit LogQueue(size_t nLimit = kLogQueueLimit) : m_nLimit(nLimit) {}
    ~LogQueue();
    LogQueue(const LogQueue&) = delete;
    LogQueue& operator=(const LogQueue&) = delete;

    /// Links the entry behind the present last one. One that would pass the limit is dropped, and so are those behind it
    /// until the queue is taken: what is missing is missing in one place.
    void Append(std::unique_ptr<LogEntry> pEntry);
    /// Takes the whole queue, oldest entry first; null when it is empty. The taker owns the chain. The number of entries
    /// that were dropped behind its last one is added to *pnDropped, if given.
    std::unique_ptr<LogEntry> TakeAll(uint64_t* pnDropped = nullptr);
    /// Without the lock: the answer may be out of date at once.
    bool IsEmpty() const { return m_pTail.load(std::memory_order_relaxed) == &m_sentinel; }

  private:
    const size_t m_nLimit;
    std::mutex m_csQueue;
    size_t m_nBytes GUARDED_BY(m_csQueue) = 0;  // of the entries
    uint64_t m_nDropped GUARDED_BY(m_csQueue) = 0;
    LogEntry m_sentinel GUARDED_BY(m_csQueue);     // its pNext is the oldest entry
    std::atomic<LogEntry*> m_pTail = &m_sentinel;  // written under m_csQueue; compared without it by IsEmpty
};

/// Frees a chain one entry after the other: the chain of a flood of events is too long for one recursion.
void FreeLogEntries(std::unique_ptr<LogEntry> pFirst);
