// The TCP path of an operation: the listener, the set-up of a session and its two relays.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/net/socket.h"

class CPortForwardOp;

/// The two connections of one TCP session. Both relays, the set-up thread and the operation's list hold it; the sockets
/// are closed when the last of them lets go, when no thread can be inside a call on them any more.
struct TcpSession {
    CSocket hClient;
    CSocket hServer;
    Endpoint addrClient;
    std::atomic<int32_t> nRelays = 2;  // relays that can still be inside a call on the sockets

    /// Makes both connections fail for both relays. Any holder may call; see CSocket::Interrupt for the result.
    bool Interrupt();
};

/// A node of the operation's list of live sessions, by which the listener ends them all.
struct TcpSocketNode {
    std::shared_ptr<TcpSession> pSession;  // null in the sentinel
    std::unique_ptr<TcpSocketNode> pNext;
};

/// What the listener hands to a set-up thread.
struct TcpSessionRequest {
    CPortForwardOp* pOp = nullptr;
    std::shared_ptr<TcpSession> pSession;  // with the accepted socket and the client's address
};

/// What a relay works on: one direction of one session.
struct TcpRelayParams {
    CPortForwardOp* pOp = nullptr;
    std::shared_ptr<TcpSession> pSession;
    bool bFromServer = false;              // receives from the server and sends to the client
    TcpSocketNode* pSocketNode = nullptr;  // server side only: the session's node
};

// Thread procedures. The creator has counted the thread (nThreads, m_nThreads and, for a set-up, nPendingSetups) before it
// starts it; the thread takes itself off as its last touch of the operation.

void TcpListenerThread(CPortForwardOp* pOp);
void TcpSessionThread(std::unique_ptr<TcpSessionRequest> pRequest);
void TcpRelayThread(std::unique_ptr<TcpRelayParams> pParams);
