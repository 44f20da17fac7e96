// The queue of log lines and the thread that writes them to the log file in batches.
//
// Each program has one, from before the first operation starts until the process ends. The thread of the windows, or
// the one that runs main, starts and ends it; any thread may ask for a batch and append to the queue. The log has no
// way to complain: a batch that cannot be written is gone, and the next one tries again. Only of entries that the queue
// had no room for a line tells how many they were.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "log/log_queue.h"
#include "log/log_settings.h"

class CLogWriter {
  public:
    /// The settings must outlive the object. The limit is the queue's.
    explicit CLogWriter(const LogSettings& settings, size_t nQueueLimit = kLogQueueLimit)
        : m_settings(settings), m_queue(nQueueLimit) {}
    /// Waits without a limit for the thread, which the disk can hold up, and drops what is on the queue.
    ~CLogWriter();
    CLogWriter(const CLogWriter&) = delete;
    CLogWriter& operator=(const CLogWriter&) = delete;

    /// Where the operations append. It lives as long as the object.
    LogQueue& Queue() { return m_queue; }

    /// Starts the thread, without a request from before. It counts as one in *pnThreads, which is not taken back at its
    /// end. False when the system gives no thread: events are then queued and never written. Not while it runs.
    [[nodiscard]] bool Start(std::atomic<int32_t>* pnThreads);

    /// What the flush timer does on each tick: asks for a batch if the queue holds anything. The thread sees it within
    /// 100 ms; while autoLogEnabled is clear it stands and nothing is written.
    void RequestFlush();

    /// Asks the thread to end, without a last flush, and waits up to this many milliseconds. Whether no thread is left;
    /// can be called again.
    bool End(uint32_t nWaitMs);
    /// The same behind a last flush: while autoLogEnabled is set, what is on the queue is written first.
    bool EndWithLastBatch(uint32_t nWaitMs);

  private:
    static void LogWriterThread(CLogWriter* pWriter);
    void WriteBatch();

    const LogSettings& m_settings;
    LogQueue m_queue;
    uint64_t m_nDropped = 0;                     // log writer only: entries dropped that no line has told of yet
    std::atomic<uint8_t> m_bFlushRequested = 0;  // set by the timer's thread, cleared by the log writer
    std::atomic<uint8_t> m_bLastBatch = 0;       // set ahead of m_bStop: the end is to flush
    std::atomic<uint8_t> m_bStop = 0;            // written by the thread that starts and ends the writer
    std::atomic<uint8_t> m_bRunning = 0;  // set by Start; the log writer clears it as its last touch of the object
};
