// The sessions of a UDP operation, and their table.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/net/socket.h"

class CPortForwardOp;

/// What becomes of the datagrams that come back for a session.
enum class Replies : uint8_t {
    Relayed,
    Paused,  // an error came by ICMP: the client's next datagram resumes them
    Ended,   // a reply without content came, or one could not be passed on
};

/// One client of a UDP operation, known by its address and port. The listener's thread makes it, uses it and ends it; the
/// ICMP thread reads what is fixed, and dwAskedIp, under the lock of the table.
struct UdpSession {
    // Fixed once it is in the table

    CSocket hSocket;           // connected to the remote host
    uint32_t dwClientIp = 0;   // network byte order
    uint16_t wClientPort = 0;  // host byte order
    uint16_t wLocalPort = 0;   // host byte order: the local port of hSocket, for ICMP errors
    int32_t nTimeoutMs = 0;    // m_nUdpTimeoutMs when the session was made

    // Network byte order: the address of this machine that the client's latest datagram was sent to, from which it is
    // answered; 0 where the operation has one address only. Written by the listener's thread; nothing else hangs on it.
    std::atomic<uint32_t> dwAskedIp = 0;

    // The listener's thread only

    int64_t nLastMs = 0;  // when the last datagram in either direction passed; by the thread's clock
    Replies replies = Replies::Relayed;
    bool bPolled = false;           // the poller tells of the socket
    UdpSession* pStaler = nullptr;  // by the last datagram, see CUdpIdleList
    UdpSession* pFresher = nullptr;

    // The table; guarded as that is

    std::unique_ptr<UdpSession> pNextOfHash;
    UdpSession* pEarlier = nullptr;  // in order of creation
    UdpSession* pLater = nullptr;

    Endpoint Client() const { return {dwClientIp, wClientPort}; }
};

/// The sessions by their clients, and in order of creation. Owns them. The caller guards it.
class CUdpSessionTable {
  public:
    /// The session of a client; null when it has none.
    UdpSession* Find(const Endpoint& client) const;
    /// The client has no session yet. False when there is no memory: the session goes then.
    [[nodiscard]] bool Add(std::unique_ptr<UdpSession> pSession);
    /// Hands a session of the table over.
    std::unique_ptr<UdpSession> Take(const UdpSession& session);

    UdpSession* First() const { return m_pFirst; }  // by pLater to the others
    bool IsEmpty() const { return m_nSessions == 0; }

  private:
    using Slots = std::vector<std::unique_ptr<UdpSession>>;  // each a chain by pNextOfHash

    static std::unique_ptr<UdpSession>* SlotOf(Slots* pSlots, const Endpoint& client);
    bool Grow();

    mutable Slots m_slots;  // empty, or a power of two
    size_t m_nSessions = 0;
    UdpSession* m_pFirst = nullptr;
    UdpSession* m_pLast = nullptr;
};

/// The sessions by how long they have been silent: the next one to end is known without a look at the others. Owns none.
class CUdpIdleList {
  public:
    /// A datagram passed just now: the session is the freshest. It need not have been in the list.
    void Touch(UdpSession* pSession, int64_t nNowMs);
    void Remove(UdpSession* pSession);
    UdpSession* Stalest() const { return m_pStalest; }

  private:
    UdpSession* m_pStalest = nullptr;
    UdpSession* m_pFreshest = nullptr;
};

/// Thread procedure of a UDP operation; counted by its creator.
void UdpListenerThread(CPortForwardOp* pOp);
