// Whether a session may come up and where it goes; the same for both protocols.
#pragma once

#include "engine/session_event.h"
#include "platform/net/socket.h"

class CPortForwardOp;

/// Where the connection or the datagrams of this client go. A name is looked up anew each time: blocks, but not beyond a stop
/// of a TCP operation. False when the name is unknown.
bool FindTarget(const CPortForwardOp& op, const Endpoint& client, Endpoint* pTarget);

/// Opens *phSocket and connects it to the operation's remote port, for this client. A name is looked up anew each time.
/// Blocks.
[[nodiscard]] Rejection ConnectToTarget(const CPortForwardOp& op, const Endpoint& client, SocketKind kind,
                                        CSocket* phSocket);

/// The limits that every session has to pass, those of the operation first. nPendingSetups is the program's count of
/// set-up threads, which do not count as threads here.
[[nodiscard]] Rejection CheckLimits(const CPortForwardOp& op, int32_t nPendingSetups);
