// The UDP path of an operation: the listener with its session table, the relay of the replies and the inactivity timer.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/net/socket.h"

class CPortForwardOp;

/// One client of a UDP operation, known by its address and port. The relay and the timer of the session hold it; the
/// listener reaches it through the table, and only under the table's lock.
struct UdpSession {
    CSocket hSocket;                      // connected to the remote host; closed when the last holder lets go
    uint32_t dwClientIp = 0;              // network byte order
    uint16_t wClientPort = 0;             // host byte order
    uint16_t wLocalPort = 0;              // host byte order: the local port of hSocket, for ICMP errors
    int32_t nTimeoutMs = 0;               // m_nUdpTimeoutMs when the session was made
    std::atomic<int32_t> nIdleMs = 0;     // since the last datagram in either direction, in steps of 100
    std::atomic<uint8_t> bClosing = 0;    // set once, by the timer: the session is over
    std::atomic<uint8_t> bRelayLeft = 0;  // set once, by the relay: it is in no call on hSocket any more
    std::shared_ptr<UdpSession> pNext;    // the table, in order of creation; guarded by m_csUdpSessions
};

/// What a relay works on.
struct UdpRelayParams {
    CPortForwardOp* pOp = nullptr;
    std::shared_ptr<UdpSession> pSession;
    std::shared_ptr<CSocket> hListen;  // the operation's socket, from which the replies leave
};

/// What a timer works on.
struct UdpTimerParams {
    CPortForwardOp* pOp = nullptr;
    std::shared_ptr<UdpSession> pSession;
};

/// Takes the session out of the operation's table. Its memory and socket go with its last holder.
void UnlinkSession(CPortForwardOp& op, const UdpSession& session);

// Thread procedures. The creator has counted the thread before it starts it; the thread takes itself off as its last
// touch of the operation.

void UdpListenerThread(CPortForwardOp* pOp);
void UdpRelayThread(std::unique_ptr<UdpRelayParams> pParams);
void UdpIdleTimerThread(std::unique_ptr<UdpTimerParams> pParams);
