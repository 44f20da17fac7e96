// The blocking socket calls of one thread, which another thread can end without any harm to the sockets.
//
// CSocket::Interrupt ends calls by ending the connection, and what the peer still sends is then answered with a reset: it
// is for a connection that is to go at once. A break leaves the connection as it is.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "platform/net/socket.h"

class CBreakableCalls {
  public:
    CBreakableCalls() = default;
    ~CBreakableCalls() = default;
    CBreakableCalls(const CBreakableCalls&) = delete;
    CBreakableCalls& operator=(const CBreakableCalls&) = delete;

    /// The thread that runs this is the one whose calls can be broken, up to its Leave. Once each.
    void Enter();
    void Leave();

    /// Makes the thread's calls on these two sockets fail, the present and the later ones. True once the thread has left:
    /// until then the system can have missed a call that was just beginning, and the caller repeats it.
    bool Break(const CSocket& hFirst, const CSocket& hSecond);

    bool IsBroken() const { return m_bBroken != 0; }
    bool HasLeft() const { return m_bLeft != 0; }

  private:
    std::mutex m_csThread;
    uintptr_t m_hThread = 0;  // the system's name of the thread; guarded by m_csThread
    std::atomic<uint8_t> m_bBroken = 0;
    std::atomic<uint8_t> m_bLeft = 0;
};
