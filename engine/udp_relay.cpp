#include <memory>
#include <new>
#include <utility>

#include "engine/port_forward_op.h"
#include "engine/session_chain.h"
#include "engine/session_event.h"
#include "engine/udp_session.h"
#include "platform/threads/threads.h"

namespace {

constexpr size_t kBufferBytes = 65536;
constexpr int32_t kTickMs = 100;
constexpr uint32_t kPollMs = 10;

// Carries replies to the client until the session's socket ends or fails, or gives a reply without content.
void RelayReplies(const UdpRelayParams& params, const Endpoint& client) {
    uint8_t buffer[kBufferBytes];
    UdpSession& session = *params.pSession;
    for (;;) {
        const IoResult received = session.hSocket.Recv(buffer, sizeof buffer);
        if (received.nBytes <= 0) return;
        AddBytes(params.pOp->m_dBytesFromServer, received.nBytes);
        session.nIdleMs = 0;
        if (params.hListen->SendTo(buffer, static_cast<size_t>(received.nBytes), client).nBytes < 0) return;
    }
}

// Without a timer the session cannot live.
Rejection StartTimer(const UdpRelayParams& params) try {
    auto pTimer = std::make_unique<UdpTimerParams>();
    pTimer->pOp = params.pOp;
    pTimer->pSession = params.pSession;
    if (params.pOp->BeginThread(UdpIdleTimerThread, std::move(pTimer))) return {};
    return SessionEventSlot::TooManyThreads;
} catch (const std::bad_alloc&) {
    return SessionEventSlot::AllocationFault;
}

// The event that the session ends with: Ended, or why it had to be given up before it began.
SessionEventSlot RunSession(const UdpRelayParams& params, const Endpoint& client) {
    if (const Rejection rejection = StartTimer(params)) return *rejection;
    RelayReplies(params, client);
    params.pSession->bRelayLeft = 1;
    // Only the timer ends a session: after an error the client's datagrams still go out, and no replies come back.
    while (params.pSession->bClosing == 0) Sleep(kPollMs);
    return SessionEventSlot::Ended;
}

// Whether the session is over: silence beyond the timeout, or a stop.
bool IsOver(const CPortForwardOp& op, UdpSession& session) {
    return int64_t{session.nIdleMs.fetch_add(kTickMs)} + kTickMs > session.nTimeoutMs || op.m_bUdpStop != 0;
}

}  // namespace

void UnlinkSession(CPortForwardOp& op, const UdpSession& session) {
    // The caller holds the session too: its end never comes under the lock.
    const std::scoped_lock lock(op.m_csUdpSessions);
    static_cast<void>(TakeFromChain(op.m_UdpSessionHead, &session));
}

void UdpRelayThread(std::unique_ptr<UdpRelayParams> pParams) {
    CPortForwardOp& op = *pParams->pOp;
    const Endpoint client = {pParams->pSession->dwClientIp, pParams->pSession->wClientPort};
    const SessionEventSlot end = RunSession(*pParams, client);
    UnlinkSession(op, *pParams->pSession);
    pParams.reset();
    RaiseSessionEvent(op, end, client);
    op.RemoveSession();
    op.RemoveThread();
}

void UdpIdleTimerThread(std::unique_ptr<UdpTimerParams> pParams) {
    CPortForwardOp& op = *pParams->pOp;
    UdpSession& session = *pParams->pSession;
    do {
        Sleep(kTickMs);
    } while (!IsOver(op, session));
    session.bClosing = 1;
    EndCalls([&session] { return session.hSocket.Interrupt(); }, [&session] { return session.bRelayLeft != 0; });
    pParams.reset();
    op.RemoveThread();
}
