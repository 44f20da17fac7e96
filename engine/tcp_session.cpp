#include "engine/tcp_session.h"

#include <new>
#include <span>
#include <utility>

#include "engine/port_forward_op.h"
#include "engine/session_target.h"
#include "platform/net/carry.h"
#include "platform/threads/threads.h"

namespace {

// For both directions of a quiet session, on the stack of its thread.
constexpr size_t kQuietBytes = 16384;

// Threads that wait for a client besides the listener: as many as short sessions of an operation are likely to run at once,
// and in the whole program no more than what is left idle may hold.
constexpr int32_t kMaxAcceptorsOfOp = 4;
constexpr int32_t kMaxAcceptors = 64;

class COperationBytes : public IByteCounter {
  public:
    explicit COperationBytes(CPortForwardOp* pOp) : m_pOp(pOp) {}
    void OnReceived(bool bFromServer, int32_t nBytes) override { m_pOp->AddReceived(bFromServer, nBytes); }

  private:
    CPortForwardOp* const m_pOp;
};

Rejection ConnectServer(CPortForwardOp& op, TcpSession& session) {
    Endpoint target;
    if (!FindTarget(op, session.addrClient, &target)) return SessionEventSlot::Unresolved;
    CSocket hServer;
    if (hServer.Open(SocketKind::Tcp) != 0) return SessionEventSlot::NoSocket;
    {
        const std::scoped_lock lock(op.m_csTcpSockets);
        session.hServer = std::move(hServer);
    }
    // A stop that began before is seen here; one that begins now finds the socket and interrupts the connect.
    if (op.m_bListenerStop != 0 || session.hServer.Connect(target) != 0) return SessionEventSlot::NoConnection;
    return {};
}

// Gives one direction a thread of its own, which takes itself off the counts.
Rejection StartRelay(CPortForwardOp& op, TcpSession& session, bool bFromServer) try {
    auto pParams = std::make_unique<TcpRelayParams>(TcpRelayParams{&op, &session, bFromServer});
    if (AfxBeginThread(TcpRelayThread, std::move(pParams))) return {};
    return SessionEventSlot::TooManyThreads;
} catch (const std::bad_alloc&) {
    return SessionEventSlot::AllocationFault;
}

// Both relays are counted from here on. A system on which one thread cannot be both starts the client's.
Rejection AddRelays(CPortForwardOp& op, TcpSession& session) {
    op.AddThread();
    if constexpr (!kOneThreadCarriesBoth) {
        if (const Rejection rejection = StartRelay(op, session, false)) {
            op.RemoveThread();
            return rejection;
        }
    }
    op.AddSession();
    op.AddThread();
    return {};
}

// Whether the session stands.
bool SetUpSession(CPortForwardOp& op, TcpSession& session) {
    Rejection rejection = ConnectServer(op, session);
    if (!rejection) rejection = AddRelays(op, session);
    if (!rejection && (op.m_bStopping != 0 || op.m_bListenerStop != 0)) {
        // It ends at once, and without this event.
        session.Interrupt();
        return true;
    }
    RaiseSessionEvent(op, rejection.value_or(SessionEventSlot::Accepted), session.addrClient);
    return !rejection;
}

// Carries both ways until the session ends, or one direction turns busy and the other has a thread of its own. The bytes of
// the busy one that are left stand in the buffer.
CarryResult RelayQuietly(CPortForwardOp& op, TcpSession& session, std::span<uint8_t> buffer) {
    COperationBytes counter(&op);
    for (;;) {
        const CarryResult result = CarryQuietly(session.hClient, session.hServer, buffer, counter);
        if (result.bEnded || !StartRelay(op, session, !result.bFromServer)) return result;
        // Where no thread can be had, the other direction waits for the rest of this one.
        static_cast<void>((result.bFromServer ? session.hClient : session.hServer).Send(buffer.data(), result.nRest));
    }
}

// Returns when no thread is in a call on the session's sockets any more. One of its two relays has been taken off the
// counts then.
void RelaySession(CPortForwardOp& op, TcpSession& session) {
    if constexpr (kOneThreadCarriesBoth) {
        uint8_t buffer[kQuietBytes];
        const CarryResult result = RelayQuietly(op, session, buffer);
        if (result.bEnded) {
            EndSessionFrom(session, result.bFromServer);
            op.RemoveThread();
            return;
        }
        RelayBytes({&op, &session, result.bFromServer}, buffer, result.nRest);
    } else {
        RelayBytes({&op, &session, true}, nullptr, 0);
    }
    op.m_pCounters->changed.Wait([&session] { return session.bRelayGone != 0; });
}

// The connection that did not end first may still be sending: it is closed when its peer has had all that came before the
// end. A stop waits for no peer.
void CloseSession(CPortForwardOp& op, TcpSession& session) {
    op.UnlistSession(session);
    if (session.bEnded == 0 || session.bInterrupted != 0) return;
    CSocket& hLeft = session.bServerEnded != 0 ? session.hClient : session.hServer;
    op.m_pCounters->lingering.Add(std::move(hLeft), &op);
}

// The socket to accept from, if this thread is to wait for the next client. It is counted then, so that the operation waits
// for it.
std::shared_ptr<CSocket> EnlistAcceptor(CPortForwardOp& op) {
    if constexpr (!kOneThreadCarriesBoth) return {};
    if (op.m_nAcceptors >= kMaxAcceptorsOfOp || op.m_pCounters->nAcceptors >= kMaxAcceptors) return {};
    op.AddAcceptor();
    auto hListen = op.m_bListenerStop == 0 ? op.ListenSocket() : nullptr;
    if (!hListen) op.RemoveAcceptor();
    return hListen;
}

// Null when there is no need to wait any longer; the operation can go then.
std::unique_ptr<TcpSessionRequest> AwaitClient(CPortForwardOp& op, std::shared_ptr<CSocket> hListen) {
    std::unique_ptr<TcpSessionRequest> pRequest;
    while (!pRequest && op.m_bListenerStop == 0 && AcceptClient(op, *hListen, &pRequest) == 0) {
    }
    // Ahead of the count: behind a stop the port is free.
    hListen.reset();
    op.RemoveAcceptor();
    return pRequest;
}

}  // namespace

void TcpSession::Interrupt() {
    bInterrupted = 1;
    hServer.Interrupt();
    hClient.Interrupt();
}

void TcpSessionThread(std::unique_ptr<TcpSessionRequest> pRequest) {
    CPortForwardOp& op = *pRequest->pOp;
    while (pRequest) {
        TcpSession& session = pRequest->session;
        const Endpoint client = session.addrClient;
        const bool bSession = SetUpSession(op, session);
        if (bSession) {
            op.RemoveSetup();
            RelaySession(op, session);
        }
        CloseSession(op, session);
        pRequest.reset();
        if (bSession) {
            RaiseSessionEvent(op, SessionEventSlot::Ended, client);
            op.RemoveSession();
        }
        auto hListen = EnlistAcceptor(op);
        bSession ? op.RemoveThread() : op.RemoveSetup();
        if (hListen) pRequest = AwaitClient(op, std::move(hListen));
    }
}
