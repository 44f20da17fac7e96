// Where the sessions of an operation go; the same for both protocols.
#pragma once

#include "engine/session_event.h"
#include "platform/net/socket.h"

class CPortForwardOp;

/// Opens *phSocket and connects it to the operation's remote port, for this client. A name is looked up anew each time.
/// Blocks. Accepted, or the event that tells which step failed.
[[nodiscard]] SessionEventSlot ConnectToTarget(const CPortForwardOp& op, const Endpoint& client, SocketKind kind,
                                               CSocket* phSocket);
