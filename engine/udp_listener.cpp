#include <memory>
#include <new>
#include <utility>

#include "engine/counts.h"
#include "engine/icmp_forward.h"
#include "engine/port_forward_op.h"
#include "engine/session_event.h"
#include "engine/session_target.h"
#include "engine/udp_session.h"
#include "platform/threads/threads.h"

namespace {

constexpr size_t kBufferBytes = 65536;
constexpr char kUdp[] = "UDP";

// One datagram from a client; the bytes lie in the listener's buffer.
struct Datagram {
    const uint8_t* pBytes = nullptr;
    size_t nBytes = 0;
    Endpoint client;
};

// Opens and binds the operation's socket. 0 or the system's code.
int32_t OpenSocket(CPortForwardOp& op) try {
    auto hListen = std::make_shared<CSocket>();
    int32_t nError = hListen->Open(SocketKind::Udp);
    if (nError == 0) nError = hListen->Bind({op.m_settings.m_dwLocalIp, op.m_settings.m_wLocalPort});
    if (nError == 0) op.SetListenSocket(std::move(hListen));
    return nError;
} catch (const std::bad_alloc&) {
    return ThreadStartError();
}

// Passes the datagram on if its client has a session. True if it has: while that session closes, the datagram is dropped
// and no new session is made.
bool SendThroughSession(CPortForwardOp& op, const Datagram& datagram) {
    const std::scoped_lock lock(op.m_csUdpSessions);
    for (UdpSession* pSession = op.m_UdpSessionHead.pNext.get(); pSession != nullptr;
         pSession = pSession->pNext.get()) {
        if (pSession->dwClientIp != datagram.client.dwIp || pSession->wClientPort != datagram.client.wPort) continue;
        if (pSession->bClosing == 0) {
            pSession->nIdleMs = 0;
            static_cast<void>(pSession->hSocket.Send(datagram.pBytes, datagram.nBytes));
        }
        return true;
    }
    return false;
}

SessionEventSlot CheckLimits(const CPortForwardOp& op) {
    if (op.m_nActiveSessions >= op.m_settings.m_nMaxSessions) return SessionEventSlot::TooManySessions;
    if (op.m_pCounters->nThreads >= op.m_pCounters->nPendingSetups + kMaxThreads) {
        return SessionEventSlot::TooManyThreads;
    }
    return SessionEventSlot::Accepted;
}

// The relay's block with the session's record in it; null when there is no memory.
std::unique_ptr<UdpRelayParams> MakeRecord(CPortForwardOp& op, const Endpoint& client, CSocket hSocket) try {
    auto pParams = std::make_unique<UdpRelayParams>();
    pParams->pOp = &op;
    pParams->hListen = op.ListenSocket();
    pParams->pSession = std::make_shared<UdpSession>();
    UdpSession& session = *pParams->pSession;
    Endpoint local;
    if (hSocket.LocalEndpoint(&local) == 0) session.wLocalPort = local.wPort;
    session.hSocket = std::move(hSocket);
    session.dwClientIp = client.dwIp;
    session.wClientPort = client.wPort;
    session.nTimeoutMs = op.m_settings.m_nUdpTimeoutMs;
    return pParams;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void AppendSession(CPortForwardOp& op, const std::shared_ptr<UdpSession>& pSession) {
    const std::scoped_lock lock(op.m_csUdpSessions);
    UdpSession* pLast = &op.m_UdpSessionHead;
    while (pLast->pNext) pLast = pLast->pNext.get();
    pLast->pNext = pSession;
}

// The session stands and is told of, and its relay could not be started: it has to go again.
void TakeBackSession(CPortForwardOp& op, const UdpSession& session, const Endpoint& client) {
    RemoveThread(op);
    RemoveSession(op, session);
    RaiseSessionEvent(op, SessionEventSlot::TooManyThreads, client, kUdp);
    RemoveSessionCounts(op);
}

// Makes a session of the first datagram of a client. Runs on the listener's thread: while the name is looked up, all
// traffic of this operation waits.
SessionEventSlot MakeSession(CPortForwardOp& op, const Datagram& datagram) {
    SessionEventSlot answer = CheckLimits(op);
    if (answer != SessionEventSlot::Accepted) return answer;
    CSocket hSocket;
    answer = ConnectToTarget(op, datagram.client, SocketKind::Udp, &hSocket);
    if (answer != SessionEventSlot::Accepted) return answer;
    auto pParams = MakeRecord(op, datagram.client, std::move(hSocket));
    if (!pParams) return SessionEventSlot::AllocationFault;
    const std::shared_ptr<UdpSession> pSession = pParams->pSession;
    static_cast<void>(pSession->hSocket.Send(datagram.pBytes, datagram.nBytes));
    AppendSession(op, pSession);
    AddSession(op);
    RaiseSessionEvent(op, SessionEventSlot::Accepted, datagram.client, kUdp);
    AddThread(op);
    if (!AfxBeginThread(UdpRelayThread, std::move(pParams))) TakeBackSession(op, *pSession, datagram.client);
    return SessionEventSlot::Accepted;
}

void HandleDatagram(CPortForwardOp& op, const Datagram& datagram) {
    if (op.m_settings.m_bFiltersEnabled != 0 && !op.IsClientAllowed(datagram.client.dwIp)) {
        RaiseSessionEvent(op, SessionEventSlot::BadIp, datagram.client, kUdp);
        return;
    }
    AddBytes(op.m_dBytesFromClient, static_cast<int32_t>(datagram.nBytes));
    if (SendThroughSession(op, datagram)) return;
    const SessionEventSlot answer = MakeSession(op, datagram);
    if (answer != SessionEventSlot::Accepted) RaiseSessionEvent(op, answer, datagram.client, kUdp);
}

// Returns when the listener is to end: on a stop, or on a failure of its socket.
void ReceiveDatagrams(CPortForwardOp& op) {
    const auto hListen = op.ListenSocket();
    uint8_t buffer[kBufferBytes];
    for (;;) {
        Endpoint client;
        const IoResult received = hListen->RecvFrom(buffer, sizeof buffer, &client);
        if (op.m_bUdpStop != 0) return;
        if (IsConnectionResetError(received.nError)) continue;
        if (received.nBytes < 0) return;
        HandleDatagram(op, {buffer, static_cast<size_t>(received.nBytes), client});
    }
}

}  // namespace

void UdpListenerThread(CPortForwardOp* pOp) {
    CIcmpForwarder icmp(pOp);
    int32_t nError = OpenSocket(*pOp);
    if (nError == 0 && pOp->m_settings.m_bForwardIcmp != 0) nError = icmp.Start();
    if (nError != 0) {
        pOp->SetListenSocket(nullptr);
        pOp->FailStart(nError);
        RemoveThread(*pOp);
        return;
    }
    pOp->m_bStarting = 0;
    ReceiveDatagrams(*pOp);
    icmp.End();
    // The sessions that are still open keep the socket for their replies.
    pOp->SetListenSocket(nullptr);
    pOp->m_bRunning = 0;
    RemoveThread(*pOp);
}
