#include <memory>
#include <new>
#include <utility>

#include "engine/port_forward_op.h"
#include "engine/session_target.h"
#include "engine/tcp_session.h"
#include "platform/threads/threads.h"

namespace {

constexpr uint32_t kShortageWaitMs = 10;

// nPendingSetups is the figure that both of its limits are measured by.
Rejection CheckClient(const CPortForwardOp& op, const Endpoint& client, int32_t nPendingSetups) {
    if (op.m_settings.m_bFiltersEnabled != 0 && !op.IsClientAllowed(client.dwIp)) return SessionEventSlot::BadIp;
    if (nPendingSetups >= kMaxPendingSetups) return SessionEventSlot::TooManyThreads;
    return CheckLimits(op, nPendingSetups);
}

std::unique_ptr<TcpSessionRequest> MakeRequest(CPortForwardOp& op, CSocket hClient, const Endpoint& client) try {
    auto pRequest = std::make_unique<TcpSessionRequest>();
    pRequest->pOp = &op;
    pRequest->pSession = std::make_shared<TcpSession>();
    pRequest->pSession->hClient = std::move(hClient);
    pRequest->pSession->addrClient = client;
    return pRequest;
} catch (const std::bad_alloc&) {
    return nullptr;
}

// Hands the client to a set-up thread.
Rejection StartSetup(CPortForwardOp& op, CSocket hClient, const Endpoint& client) {
    auto pRequest = MakeRequest(op, std::move(hClient), client);
    if (!pRequest) return SessionEventSlot::AllocationFault;
    op.m_pCounters->nPendingSetups.fetch_add(1);
    if (op.BeginThread(TcpSessionThread, std::move(pRequest))) return {};
    op.m_pCounters->nPendingSetups.fetch_sub(1);
    return SessionEventSlot::TooManyThreads;
}

// A client that is refused is closed behind its event, without a word to it.
void AdmitClient(CPortForwardOp& op, CSocket hClient, const Endpoint& client) {
    Rejection rejection = CheckClient(op, client, op.m_pCounters->nPendingSetups);
    if (!rejection) rejection = StartSetup(op, std::move(hClient), client);
    if (rejection) RaiseSessionEvent(op, *rejection, client);
}

// Returns when the listener is to end: on a stop, or on a failure of the listening socket.
void AcceptClients(CPortForwardOp& op) {
    auto hListen = op.ListenSocket();
    for (;;) {
        CSocket hClient;
        Endpoint client;
        const int32_t nError = hListen->Accept(&hClient, &client);
        if (op.m_bListenerStop != 0) return;
        if (nError == 0) {
            AdmitClient(op, std::move(hClient), client);
        } else if (IsTemporaryAcceptError(nError)) {
            // A listener that ended for want of handles would stay away when there are some again.
            Sleep(kShortageWaitMs);
        } else if (IsNotSocketError(nError)) {
            // The socket has gone from under the thread.
            if (op.OpenListenSocket() != 0) Sleep(kShortageWaitMs);
            hListen = op.ListenSocket();
        } else {
            return;
        }
    }
}

// From here on no new session can come up: a set-up that is still in connect sees the flag behind it.
void EndSessions(CPortForwardOp& op) {
    op.m_bListenerStop = 1;
    op.SetListenSocket(nullptr);
    EndCalls([&op] { return op.InterruptTcpSessions(); }, [&op] { return !op.HasTcpSessions(); });
}

}  // namespace

void TcpListenerThread(CPortForwardOp* pOp) {
    const int32_t nError = pOp->OpenListenSocket();
    if (nError != 0) {
        pOp->FailStart(nError);
        pOp->RemoveThread();
        return;
    }
    pOp->SetStarted();
    AcceptClients(*pOp);
    EndSessions(*pOp);
    pOp->m_bRunning = 0;
    pOp->RemoveThread();
}
