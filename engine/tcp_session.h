// The TCP path of an operation: the listener, the set-up of a session and its two relays.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/net/breakable_calls.h"
#include "platform/net/socket.h"

class CPortForwardOp;
struct TcpSession;

/// A node of the operation's list of admitted clients: of sessions, and of set-ups that may become some. Guarded by
/// m_csTcpSockets.
struct TcpSocketNode {
    TcpSession* pSession = nullptr;  // null in the sentinel
    TcpSocketNode* pPrevious = nullptr;
    TcpSocketNode* pNext = nullptr;
};

/// One admitted client: its two connections, and what the threads of its session know of each other. Its set-up thread owns
/// it, and takes it out of the operation's list before it goes.
struct TcpSession {
    CSocket hClient;
    CSocket hServer;  // put in under m_csTcpSockets
    Endpoint addrClient;
    TcpSocketNode node;
    std::atomic<uint8_t> bInterrupted = 0;  // it is to go at once, without regard to bytes
    std::atomic<uint8_t> bEnded = 0;        // set once, by the first relay whose connection has ended or failed
    std::atomic<uint8_t> bServerEnded = 0;  // behind it: whether that was the server's
    CBreakableCalls relayFromClient;
    CBreakableCalls relayFromServer;
    std::atomic<uint8_t> bRelayGone = 0;  // a relay with a thread of its own: its last touch of the session

    /// Makes both connections fail. By the owner or under m_csTcpSockets. The system can miss a call: repeated until the
    /// session has gone.
    void Interrupt();
};

/// What a thread that accepted a client goes on with.
struct TcpSessionRequest {
    CPortForwardOp* pOp = nullptr;
    TcpSession session;
};

/// What the second thread of a busy session works on: one direction.
struct TcpRelayParams {
    CPortForwardOp* pOp = nullptr;
    TcpSession* pSession = nullptr;
    bool bFromServer = false;  // receives from the server and sends to the client
};

/// Waits for the next client: 0 or the system's code. One that passes filters and limits is counted and listed then, and its
/// set-up has to follow; *ppRequest stays null for one that does not, and when a stop has begun. Any number of threads.
[[nodiscard]] int32_t AcceptClient(CPortForwardOp& op, CSocket& hListen, std::unique_ptr<TcpSessionRequest>* ppRequest);

// Thread procedures. The creator has counted the thread (nThreads, m_nThreads and, for a set-up, nPendingSetups) before it
// starts it; the thread takes itself off as its last touch of the operation.

void TcpListenerThread(CPortForwardOp* pOp);
/// Sets a session up and relays for it; while little moves, this one thread of the system is both relays that the counts
/// show. Behind the session it may wait for the next client itself: after a short session it is at hand, where waking
/// another thread would cost more than all the rest.
void TcpSessionThread(std::unique_ptr<TcpSessionRequest> pRequest);
void TcpRelayThread(std::unique_ptr<TcpRelayParams> pParams);

/// One direction of a busy session on the present thread, until either connection ends or fails. nRest bytes of it were
/// received before, and stand at pRest.
void RelayBytes(const TcpRelayParams& params, const uint8_t* pRest, size_t nRest);
/// The session ends because the connection that bytes come from has ended. Its last bytes have been handed over, and the
/// other peer is told that no more come. False if it had ended before.
bool EndSessionFrom(TcpSession& session, bool bFromServer);
