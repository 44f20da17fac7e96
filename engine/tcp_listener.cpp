#include <memory>
#include <new>
#include <utility>

#include "engine/counts.h"
#include "engine/port_forward_op.h"
#include "engine/session_event.h"
#include "engine/tcp_session.h"
#include "platform/net/socket_end.h"
#include "platform/threads/threads.h"

namespace {

constexpr int32_t kBacklog = 10;
constexpr uint32_t kShortageWaitMs = 10;
constexpr char kTcp[] = "TCP";

// Opens, binds and listens into a new socket, and makes it the operation's. 0 or the system's code.
int32_t OpenListener(CPortForwardOp& op) try {
    auto hListen = std::make_shared<CSocket>();
    int32_t nError = hListen->Open(SocketKind::Tcp);
    if (nError == 0) nError = hListen->Bind({op.m_settings.m_dwLocalIp, op.m_settings.m_wLocalPort});
    if (nError == 0) nError = hListen->Listen(kBacklog);
    if (nError == 0) op.SetListenSocket(std::move(hListen));
    return nError;
} catch (const std::bad_alloc&) {
    return ThreadStartError();
}

// Why the client may not come in, or Accepted. nPendingSetups is the figure that both limits are measured by.
SessionEventSlot CheckClient(const CPortForwardOp& op, const Endpoint& client, int32_t nPendingSetups) {
    if (op.m_settings.m_bFiltersEnabled != 0 && !op.IsClientAllowed(client.dwIp)) return SessionEventSlot::BadIp;
    if (nPendingSetups >= kMaxPendingSetups) return SessionEventSlot::TooManyThreads;
    if (op.m_nActiveSessions >= op.m_settings.m_nMaxSessions) return SessionEventSlot::TooManySessions;
    if (op.m_pCounters->nThreads >= nPendingSetups + kMaxThreads) return SessionEventSlot::TooManyThreads;
    return SessionEventSlot::Accepted;
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

// Hands the client to a set-up thread. Accepted when that thread has it now.
SessionEventSlot StartSetup(CPortForwardOp& op, CSocket hClient, const Endpoint& client) {
    auto pRequest = MakeRequest(op, std::move(hClient), client);
    if (!pRequest) return SessionEventSlot::AllocationFault;
    op.m_pCounters->nPendingSetups.fetch_add(1);
    AddThread(op);
    if (AfxBeginThread(TcpSessionThread, std::move(pRequest))) return SessionEventSlot::Accepted;
    op.m_pCounters->nPendingSetups.fetch_sub(1);
    RemoveThread(op);
    return SessionEventSlot::TooManyThreads;
}

// A client that is refused is closed behind its event, without a word to it.
void AdmitClient(CPortForwardOp& op, CSocket hClient, const Endpoint& client) {
    SessionEventSlot answer = CheckClient(op, client, op.m_pCounters->nPendingSetups);
    if (answer == SessionEventSlot::Accepted) answer = StartSetup(op, std::move(hClient), client);
    if (answer != SessionEventSlot::Accepted) RaiseSessionEvent(op, answer, client, kTcp);
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
            if (OpenListener(op) != 0) Sleep(kShortageWaitMs);
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
    const int32_t nError = OpenListener(*pOp);
    if (nError != 0) {
        pOp->FailStart(nError);
        RemoveThread(*pOp);
        return;
    }
    pOp->m_bStarting = 0;
    AcceptClients(*pOp);
    EndSessions(*pOp);
    pOp->m_bRunning = 0;
    RemoveThread(*pOp);
}
