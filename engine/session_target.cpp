#include "engine/session_target.h"

#include "engine/host_lookup.h"
#include "engine/host_text.h"
#include "engine/port_forward_op.h"

bool FindTarget(const CPortForwardOp& op, const Endpoint& client, Endpoint* pTarget) {
    const OpSettings& settings = op.m_settings;
    *pTarget = {client.dwIp, settings.m_wRemotePort};
    if (settings.IsTargetTheClient()) return true;
    const auto isStopping = [&op] { return op.m_bListenerStop != 0; };
    const LookupResult result = LookUpHost(settings.m_strRemoteHost, &pTarget->dwIp, isStopping);
    // Without a thread for it the look-up runs here: a set-up can wait, and a stop then waits with it.
    if (result == LookupResult::NoThread) return ResolveHostAddress(settings.m_strRemoteHost, &pTarget->dwIp);
    return result == LookupResult::Found;
}

Rejection CheckLimits(const CPortForwardOp& op, int32_t nPendingSetups) {
    if (op.m_nActiveSessions >= op.m_settings.m_nMaxSessions) return SessionEventSlot::TooManySessions;
    if (op.m_pCounters->nThreads >= nPendingSetups + kMaxThreads) return SessionEventSlot::TooManyThreads;
    return {};
}
