#include "engine/tcp_session.h"

#include <new>
#include <utility>

#include "engine/port_forward_op.h"
#include "engine/session_chain.h"
#include "engine/session_target.h"
#include "platform/threads/threads.h"

namespace {

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

// Starts the relays of a session whose connections stand. The server's relay runs on this system thread, once the set-up
// is over.
Rejection StartRelays(const TcpSessionRequest& request) {
    CPortForwardOp& op = *request.pOp;
    RelayBlocks blocks;
    if (!MakeBlocks(request, &blocks)) return SessionEventSlot::AllocationFault;
    if (!op.BeginThread(TcpRelayThread, std::move(blocks.pFromClient))) return SessionEventSlot::TooManyThreads;
    {
        const std::scoped_lock lock(op.m_csTcpSockets);
        AppendToChain(op.m_TcpSocketHead, std::move(blocks.pNode));
    }
    op.AddSession();
    op.AddThread();
    AfxContinueThread(TcpRelayThread, std::move(blocks.pFromServer));
    return {};
}

void SetUpSession(const TcpSessionRequest& request) {
    const CPortForwardOp& op = *request.pOp;
    TcpSession& session = *request.pSession;
    Rejection rejection = ConnectToTarget(op, session.addrClient, SocketKind::Tcp, &session.hServer);
    if (!rejection) rejection = StartRelays(request);
    if (!rejection && (op.m_bStopping != 0 || op.m_bListenerStop != 0)) {
        // A stop that began meanwhile has perhaps not found the session in the list. It ends without this event; the
        // server's relay finds its connection dead and sees to the rest.
        session.Interrupt();
        return;
    }
    RaiseSessionEvent(op, rejection.value_or(SessionEventSlot::Accepted), session.addrClient);
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
    op.RemoveThread();
}
