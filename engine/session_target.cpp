#include "engine/session_target.h"

#include "engine/host_text.h"
#include "engine/port_forward_op.h"

bool IsTargetTheClient(const CPortForwardOp& op) {
    return op.m_bBounce != 0 || IsBlankText(op.m_strRemoteHost);
}

SessionEventSlot ConnectToTarget(const CPortForwardOp& op, const Endpoint& client, SocketKind kind, CSocket* phSocket) {
    Endpoint target = {client.dwIp, op.m_wRemotePort};
    if (!IsTargetTheClient(op) && !ResolveHostAddress(op.m_strRemoteHost, &target.dwIp)) {
        return SessionEventSlot::Unresolved;
    }
    if (phSocket->Open(kind) != 0) return SessionEventSlot::NoSocket;
    if (phSocket->Connect(target) != 0) return SessionEventSlot::NoConnection;
    return SessionEventSlot::Accepted;
}
