#include "engine/port_forward_op.h"
#include "engine/tcp_session.h"

namespace {

constexpr size_t kBufferBytes = 65536;
// Between two breaks of a call that the system can miss.
constexpr uint32_t kBreakMs = 10;

}  // namespace

bool EndSessionFrom(TcpSession& session, bool bFromServer) {
    if (session.bEnded.exchange(1) != 0) return false;
    session.bServerEnded = bFromServer ? 1 : 0;
    (bFromServer ? session.hClient : session.hServer).ShutdownSend();
    return true;
}

void RelayBytes(const TcpRelayParams& params, const uint8_t* pRest, size_t nRest) {
    TcpSession& session = *params.pSession;
    const bool bFromServer = params.bFromServer;
    CSocket& hFrom = bFromServer ? session.hServer : session.hClient;
    CSocket& hTo = bFromServer ? session.hClient : session.hServer;
    CBreakableCalls& calls = bFromServer ? session.relayFromServer : session.relayFromClient;
    CBreakableCalls& other = bFromServer ? session.relayFromClient : session.relayFromServer;
    CChangeSignal& changed = params.pOp->m_pCounters->changed;
    uint8_t buffer[kBufferBytes];
    calls.Enter();
    bool bTaken = nRest == 0 || hTo.Send(pRest, nRest, &calls).nBytes >= 0;
    // Behind an interrupt nothing is read any more: a peer that still sends is told by the reset that unread bytes cause.
    while (session.bInterrupted == 0) {
        // A receiver that takes no more is on its way out, and what it sent before is still to be carried the other way: that
        // direction ends the session. Meanwhile nobody is left waiting to send.
        if (!bTaken) hTo.ShutdownSend();
        const IoResult received = hFrom.Recv(buffer, sizeof buffer, &calls);
        if (received.nBytes <= 0) break;
        params.pOp->AddReceived(bFromServer, received.nBytes);
        if (bTaken) bTaken = hTo.Send(buffer, static_cast<size_t>(received.nBytes), &calls).nBytes >= 0;
    }
    calls.Leave();
    changed.Tell();
    if (!bTaken || !EndSessionFrom(session, bFromServer)) return;
    while (!other.Break(hFrom, hTo)) changed.WaitFor(kBreakMs, [&other] { return other.HasLeft(); });
}

void TcpRelayThread(std::unique_ptr<TcpRelayParams> pParams) {
    CPortForwardOp& op = *pParams->pOp;
    RelayBytes(*pParams, nullptr, 0);
    pParams->pSession->bRelayGone = 1;
    pParams.reset();
    op.RemoveThread();
}
