#include "engine/tcp_session.h"

#include "engine/port_forward_op.h"
#include "engine/session_chain.h"
#include "engine/session_event.h"
#include "platform/threads/threads.h"

namespace {

constexpr size_t kBufferBytes = 65536;

// Copies until one of the two connections ends or fails.
void RelayBytes(CSocket& hFrom, CSocket& hTo, std::atomic<double>& dBytes) {
    uint8_t buffer[kBufferBytes];
    for (;;) {
        const IoResult received = hFrom.Recv(buffer, sizeof buffer);
        if (received.nBytes <= 0) return;
        AddBytes(dBytes, received.nBytes);
        if (hTo.Send(buffer, static_cast<size_t>(received.nBytes)).nBytes < 0) return;
    }
}

// For a relay that makes no further call on the sockets. The first to leave ends both connections, so that the other one
// does not stay blocked.
void LeaveSession(TcpSession& session) {
    if (session.nRelays.fetch_sub(1) == 1) return;
    EndCalls([&session] { return session.Interrupt(); }, [&session] { return session.nRelays <= 0; });
}

void RemoveNode(CPortForwardOp& op, const TcpSocketNode* pNode) {
    const std::scoped_lock lock(op.m_csTcpSockets);
    static_cast<void>(TakeFromChain(op.m_TcpSocketHead, pNode));
}

}  // namespace

void TcpRelayThread(std::unique_ptr<TcpRelayParams> pParams) {
    CPortForwardOp& op = *pParams->pOp;
    TcpSession& session = *pParams->pSession;
    const bool bFromServer = pParams->bFromServer;
    const Endpoint client = session.addrClient;
    if (bFromServer) {
        RelayBytes(session.hServer, session.hClient, op.m_dBytesFromServer);
    } else {
        RelayBytes(session.hClient, session.hServer, op.m_dBytesFromClient);
    }
    LeaveSession(session);
    if (bFromServer) RemoveNode(op, pParams->pSocketNode);
    pParams.reset();
    // The server side tells of the session's end and takes it out of the counts.
    if (bFromServer) {
        RaiseSessionEvent(op, SessionEventSlot::Ended, client);
        op.RemoveSession();
    }
    op.RemoveThread();
}
