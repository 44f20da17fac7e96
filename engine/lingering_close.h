// The orderly close of TCP connections whose peer may still be sending.
//
// A connection that is closed while bytes of the peer arrive is reset, and a reset takes back what the peer has not read
// yet. So the socket stays for a while: its sending direction is closed, and what still comes in is read and dropped.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "platform/net/socket.h"
#include "platform/threads/thread_annotations.h"

/// Sockets on their way out, served by one thread, which is there while there are any and counts nowhere. All calls: any
/// thread.
class CLingeringCloses {
  public:
    CLingeringCloses() = default;
    /// Closes them all.
    ~CLingeringCloses();
    CLingeringCloses(const CLingeringCloses&) = delete;
    CLingeringCloses& operator=(const CLingeringCloses&) = delete;

    /// Closes the connection when its peer has closed it too, at the latest after half a minute. The sending direction is
    /// closed already. Where there are too many, or nobody to wait for them, the close comes at once.
    void Add(CSocket hSocket, const void* pOwner);
    /// Closes at once those of an owner.
    void CloseOf(const void* pOwner);

  private:
    struct Entry {
        CSocket hSocket;
        const void* pOwner = nullptr;
        int32_t nTicks = 0;
    };

    static void Thread(CLingeringCloses* pCloses);
    bool DropWhatCame();

    std::mutex m_csEntries;
    std::vector<Entry> m_entries GUARDED_BY(m_csEntries);  // the oldest first
    bool m_bThread GUARDED_BY(m_csEntries) = false;        // the thread is there, or about to be
    std::atomic<int32_t> m_nThreads = 0;                   // its drop is a thread's last touch of this object
};
