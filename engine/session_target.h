// Whether a session may come up and where it goes; the same for both protocols.
#pragma once

#include "engine/session_event.h"
#include "platform/net/socket.h"

class CPortForwardOp;

/// Where the connection of this client goes. A name is looked up anew each time: blocks, but not beyond a stop. False when
/// the name is unknown.
bool FindTarget(const CPortForwardOp& op, const Endpoint& client, Endpoint* pTarget);

/// The limits that every session has to pass, those of the operation first. nPendingSetups is the program's count of
/// set-up threads, which do not count as threads here.
[[nodiscard]] Rejection CheckLimits(const CPortForwardOp& op, int32_t nPendingSetups);
