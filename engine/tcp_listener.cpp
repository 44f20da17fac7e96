#include <memory>
#include <new>
#include <utility>

#include "engine/port_forward_op.h"
#include "engine/session_target.h"
#include "engine/tcp_session.h"
#include "platform/threads/threads.h"

namespace {

constexpr uint32_t kShortageWaitMs = 10;
// Between two interrupts of calls that the system can miss.
constexpr uint32_t kInterruptMs = 10;

// nPendingSetups is the figure that both of its limits are measured by.
Rejection CheckClient(const CPortForwardOp& op, const Endpoint& client, int32_t nPendingSetups) {
    if (op.m_settings.m_bFiltersEnabled != 0 && !op.IsClientAllowed(client.dwIp)) return SessionEventSlot::BadIp;
    if (nPendingSetups >= kMaxPendingSetups) return SessionEventSlot::TooManyThreads;
    return CheckLimits(op, nPendingSetups);
}

std::unique_ptr<TcpSessionRequest> MakeRequest(CPortForwardOp& op, CSocket* phClient, const Endpoint& client) try {
    auto pRequest = std::make_unique<TcpSessionRequest>();
    pRequest->pOp = &op;
    pRequest->session.hClient = std::move(*phClient);
    pRequest->session.addrClient = client;
    return pRequest;
} catch (const std::bad_alloc&) {
    return nullptr;
}

// Gives the client a thread of its own.
void StartSetup(CPortForwardOp& op, std::unique_ptr<TcpSessionRequest> pRequest) {
    TcpSession& session = pRequest->session;
    if (AfxBeginThread(TcpSessionThread, std::move(pRequest))) return;
    // The block has stayed here.
    op.UnlistSession(session);
    RaiseSessionEvent(op, SessionEventSlot::TooManyThreads, session.addrClient);
    op.RemoveSetup();
}

// Returns when the listener is to end: on a stop, or on a failure of the listening socket.
void AcceptClients(CPortForwardOp& op) {
    auto hListen = op.ListenSocket();
    for (;;) {
        std::unique_ptr<TcpSessionRequest> pRequest;
        const int32_t nError = AcceptClient(op, *hListen, &pRequest);
        if (pRequest) StartSetup(op, std::move(pRequest));
        if (op.m_bListenerStop != 0) return;
        if (nError == 0) continue;
        if (IsTemporaryAcceptError(nError)) {
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
    const auto hListen = op.ListenSocket();
    op.SetListenSocket(nullptr);
    do {
        hListen->Interrupt();
        op.InterruptTcpSessions();
    } while (
        !op.m_pCounters->changed.WaitFor(kInterruptMs, [&op] { return op.m_nAcceptors == 0 && !op.HasTcpSessions(); }));
}

}  // namespace

// A client that is refused is closed behind its event, without a word to it.
int32_t AcceptClient(CPortForwardOp& op, CSocket& hListen, std::unique_ptr<TcpSessionRequest>* ppRequest) {
    CSocket hClient;
    Endpoint client;
    const int32_t nError = hListen.Accept(&hClient, &client);
    if (nError != 0 || op.m_bListenerStop != 0) return nError;
    Rejection rejection = CheckClient(op, client, op.m_pCounters->nPendingSetups);
    if (!rejection) {
        *ppRequest = MakeRequest(op, &hClient, client);
        if (!*ppRequest) rejection = SessionEventSlot::AllocationFault;
    }
    if (rejection) {
        RaiseSessionEvent(op, *rejection, client);
    } else {
        op.AddSetup();
        op.ListSession((*ppRequest)->session);
    }
    return 0;
}

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
