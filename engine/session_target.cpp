#include "engine/session_target.h"

#include "engine/host_text.h"
#include "engine/port_forward_op.h"

Rejection ConnectToTarget(const CPortForwardOp& op, const Endpoint& client, SocketKind kind, CSocket* phSocket) {
    const OpSettings& settings = op.m_settings;
    Endpoint target = {client.dwIp, settings.m_wRemotePort};
    if (!settings.IsTargetTheClient() && !ResolveHostAddress(settings.m_strRemoteHost, &target.dwIp)) {
        return SessionEventSlot::Unresolved;
    }
    if (phSocket->Open(kind) != 0) return SessionEventSlot::NoSocket;
    if (phSocket->Connect(target) != 0) return SessionEventSlot::NoConnection;
    return {};
}

Rejection CheckLimits(const CPortForwardOp& op, int32_t nPendingSetups) {
    if (op.m_nActiveSessions >= op.m_settings.m_nMaxSessions) return SessionEventSlot::TooManySessions;
    if (op.m_pCounters->nThreads >= nPendingSetups + kMaxThreads) return SessionEventSlot::TooManyThreads;
    return {};
}
