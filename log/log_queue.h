// The queue of finished log lines between the threads that raise events and the thread that writes the file.
//
// Any thread appends; one thread takes. The lock is held for the change of a few links, never while a line is formatted
// or written. The queue has no limit on its length. It must outlive every thread that appends to it.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "platform/threads/thread_annotations.h"

struct LogEntry {
    std::string strText;  // ANSI code page, without a line end
    std::unique_ptr<LogEntry> pNext;
};

class LogQueue {
  public:
    LogQueue() = default;
    ~LogQueue();
    LogQueue(const LogQueue&) = delete;
    LogQueue& operator=(const LogQueue&) = delete;

    /// Links the entry behind the present last one.
    void Append(std::unique_ptr<LogEntry> pEntry);
    /// Takes the whole queue, oldest entry first; null when it is empty. The taker owns the chain.
    std::unique_ptr<LogEntry> TakeAll();
    /// Without the lock: the answer may be out of date at once.
    bool IsEmpty() const { return m_pTail.load(std::memory_order_relaxed) == &m_sentinel; }

  private:
    std::mutex m_csQueue;
    LogEntry m_sentinel GUARDED_BY(m_csQueue);     // its pNext is the oldest entry
    std::atomic<LogEntry*> m_pTail = &m_sentinel;  // written under m_csQueue; compared without it by IsEmpty
};

/// Frees a chain one entry after the other: the chain of a flood of events is too long for one recursion.
void FreeLogEntries(std::unique_ptr<LogEntry> pFirst);
