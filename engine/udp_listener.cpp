#include <memory>
#include <new>
#include <utility>

#include "engine/icmp_forward.h"
#include "engine/port_forward_op.h"
#include "engine/session_chain.h"
#include "engine/session_target.h"
#include "engine/udp_session.h"
#include "platform/threads/threads.h"

namespace {

constexpr size_t kBufferBytes = 65536;

// One datagram from a client; the bytes lie in the listener's buffer.
struct Datagram {
    const uint8_t* pBytes = nullptr;
    size_t nBytes = 0;
    Endpoint client;
};

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

// The session stands and is told of, and its relay could not be started: it has to go again.
void TakeBackSession(CPortForwardOp& op, const UdpSession& session, const Endpoint& client) {
    UnlinkSession(op, session);
    RaiseSessionEvent(op, SessionEventSlot::TooManyThreads, client);
    op.RemoveSession();
}

// Makes a session of the first datagram of a client. Runs on the listener's thread: while the name is looked up, all
// traffic of this operation waits.
Rejection MakeSession(CPortForwardOp& op, const Datagram& datagram) {
    if (const Rejection rejection = CheckLimits(op, op.m_pCounters->nPendingSetups)) return rejection;
    CSocket hSocket;
    if (const Rejection rejection = ConnectToTarget(op, datagram.client, SocketKind::Udp, &hSocket)) return rejection;
    auto pParams = MakeRecord(op, datagram.client, std::move(hSocket));
    if (!pParams) return SessionEventSlot::AllocationFault;
    const std::shared_ptr<UdpSession> pSession = pParams->pSession;
    static_cast<void>(pSession->hSocket.Send(datagram.pBytes, datagram.nBytes));
    {
        const std::scoped_lock lock(op.m_csUdpSessions);
        AppendToChain(op.m_UdpSessionHead, pSession);
    }
    op.AddSession();
    RaiseSessionEvent(op, SessionEventSlot::Accepted, datagram.client);
    if (!op.BeginThread(UdpRelayThread, std::move(pParams))) TakeBackSession(op, *pSession, datagram.client);
    return {};
}

void HandleDatagram(CPortForwardOp& op, const Datagram& datagram) {
    if (op.m_settings.m_bFiltersEnabled != 0 && !op.IsClientAllowed(datagram.client.dwIp)) {
        RaiseSessionEvent(op, SessionEventSlot::BadIp, datagram.client);
        return;
    }
    AddBytes(op.m_dBytesFromClient, static_cast<int32_t>(datagram.nBytes));
    if (SendThroughSession(op, datagram)) return;
    if (const Rejection rejection = MakeSession(op, datagram)) RaiseSessionEvent(op, *rejection, datagram.client);
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
    int32_t nError = pOp->OpenListenSocket();
    if (nError == 0 && pOp->m_settings.m_bForwardIcmp != 0) nError = icmp.Start();
    if (nError != 0) {
        pOp->SetListenSocket(nullptr);
        pOp->FailStart(nError);
        pOp->RemoveThread();
        return;
    }
    pOp->SetStarted();
    ReceiveDatagrams(*pOp);
    icmp.End();
    // The sessions that are still open keep the socket for their replies.
    pOp->SetListenSocket(nullptr);
    pOp->m_bRunning = 0;
    pOp->RemoveThread();
}
