#include "engine/session_target.h"

#include "engine/host_text.h"
#include "engine/port_forward_op.h"

bool FindTarget(const CPortForwardOp& op, const Endpoint& client, Endpoint* pTarget) {
    const OpSettings& settings = op.m_settings;
    *pTarget = {client.dwIp, settings.m_wRemotePort};
    return settings.IsTargetTheClient() || ResolveHostAddress(settings.m_strRemoteHost, &pTarget->dwIp);
}

Rejection ConnectToTarget(const CPortForwardOp& op, const Endpoint& client, SocketKind kind, CSocket* phSocket) {
    Endpoint target;
    if (!FindTarget(op, client, &target)) return SessionEventSlot::Unresolved;
    if (phSocket->Open(kind) != 0) return SessionEventSlot::NoSocket;
    if (phSocket->Connect(target) != 0) return SessionEventSlot::NoConnection;
    return {};
}

Rejection CheckLimits(const CPortForwardOp& op, int32_t nPendingSetups) {
    if (op.m_nActiveSessions >= op.m_settings.m_nMaxSessions) return SessionEventSlot::TooManySessions;
    if (op.m_pCounters->nThreads >= nPendingSetups + kMaxThreads) return SessionEventSlot::TooManyThreads;
    return {};
}
