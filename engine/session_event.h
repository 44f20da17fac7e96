// How the engine tells of a session event.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/net/ip_address.h"

class CPortForwardOp;

/// The events, by the slots of their texts.
enum class SessionEventSlot : uint32_t {
    Ended = 134,
    BadIp = 135,
    TooManyThreads = 136,
    TooManySessions = 137,
    AllocationFault = 139,
    Unresolved = 140,
    NoSocket = 141,
    NoConnection = 142,
    Accepted = 143,
};

/// How a step towards a session ends: empty when the session can go on, else the event that tells why it cannot.
using Rejection = std::optional<SessionEventSlot>;

/// Formats the event's log line and queues it, if logging is on. Any engine thread, with no lock held. Without memory for
/// the line the event is lost without a word.
void RaiseSessionEvent(const CPortForwardOp& op, SessionEventSlot slot, const Endpoint& client);
