#include "engine/tcp_session.h"

#include <new>
#include <utility>

#include "engine/counts.h"
#include "engine/port_forward_op.h"
#include "engine/session_event.h"
#include "engine/session_target.h"
#include "platform/threads/threads.h"

namespace {

constexpr char kTcp[] = "TCP";

// What the two relays of a session need, allocated before the first of them runs.
struct RelayBlocks {
    std::unique_ptr<TcpRelayParams> pFromClient;
    std::unique_ptr<TcpRelayParams> pFromServer;
    std::unique_ptr<TcpSocketNode> pNode;
};

// False when there is no memory.
bool MakeBlocks(const TcpSessionRequest& request, RelayBlocks* pBlocks) try {
    pBlocks->pFromClient = std::make_unique<TcpRelayParams>();
    pBlocks->pFromClient->pOp = request.pOp;
    pBlocks->pFromClient->pSession = request.pSession;
    pBlocks->pFromServer = std::make_unique<TcpRelayParams>(*pBlocks->pFromClient);
    pBlocks->pFromServer->bFromServer = true;
    pBlocks->pNode = std::make_unique<TcpSocketNode>();
    pBlocks->pNode->pSession = request.pSession;
    pBlocks->pFromServer->pSocketNode = pBlocks->pNode.get();
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void AppendNode(CPortForwardOp& op, std::unique_ptr<TcpSocketNode> pNode) {
    const std::scoped_lock lock(op.m_csTcpSockets);
    TcpSocketNode* pLast = &op.m_TcpSocketHead;
    while (pLast->pNext) pLast = pLast->pNext.get();
    pLast->pNext = std::move(pNode);
}

// Starts the relays of a session whose connections stand. The server's relay runs on this system thread, once the set-up
// is over.
SessionEventSlot StartRelays(const TcpSessionRequest& request) {
    CPortForwardOp& op = *request.pOp;
    RelayBlocks blocks;
    if (!MakeBlocks(request, &blocks)) return SessionEventSlot::AllocationFault;
    AddThread(op);
    if (!AfxBeginThread(TcpRelayThread, std::move(blocks.pFromClient))) {
        RemoveThread(op);
        return SessionEventSlot::TooManyThreads;
    }
    AppendNode(op, std::move(blocks.pNode));
    AddSession(op);
    AddThread(op);
    AfxContinueThread(TcpRelayThread, std::move(blocks.pFromServer));
    return SessionEventSlot::Accepted;
}

void SetUpSession(const TcpSessionRequest& request) {
    const CPortForwardOp& op = *request.pOp;
    TcpSession& session = *request.pSession;
    SessionEventSlot answer = ConnectToTarget(op, session.addrClient, SocketKind::Tcp, &session.hServer);
    if (answer == SessionEventSlot::Accepted) answer = StartRelays(request);
    if (answer == SessionEventSlot::Accepted && (op.m_bStopping != 0 || op.m_bListenerStop != 0)) {
        // A stop that began meanwhile has perhaps not found the session in the list. It ends without this event; the
        // server's relay finds its connection dead and sees to the rest.
        session.Interrupt();
        return;
    }
    RaiseSessionEvent(op, answer, session.addrClient, kTcp);
}

}  // namespace

bool TcpSession::Interrupt() {
    const bool bFinal = hServer.Interrupt();
    return hClient.Interrupt() && bFinal;
}

void TcpSessionThread(std::unique_ptr<TcpSessionRequest> pRequest) {
    CPortForwardOp& op = *pRequest->pOp;
    SetUpSession(*pRequest);
    pRequest.reset();
    op.m_pCounters->nPendingSetups.fetch_sub(1);
    RemoveThread(op);
}
