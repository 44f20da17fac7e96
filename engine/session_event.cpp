#include "engine/session_event.h"

#include <memory>
#include <new>
#include <string>
#include <utility>

#include "engine/port_forward_op.h"
#include "language/slots.h"
#include "log/log_format.h"

namespace {

bool IsWanted(const CPortForwardOp& op, SessionEventSlot slot) {
    if (*op.m_pLoggingEnabled == 0) return false;
    return slot != SessionEventSlot::BadIp || *op.m_pSuppressBlocked == 0;
}

std::string FormatEvent(const CPortForwardOp& op, SessionEventSlot slot, const Endpoint& client) {
    const auto pTexts = op.m_pStrings->Snapshot();
    LogEvent event;
    event.strEvent = pTexts->Text(static_cast<uint32_t>(slot));
    event.dwLocalIp = op.m_settings.m_dwLocalIp;
    event.wLocalPort = op.m_settings.m_wLocalPort;
    // Of an operation that connects to the client's own address, that is the remote host.
    event.strRemoteHost =
        op.m_settings.m_bBounce != 0 ? pTexts->Text(kSlotClientAddress) : op.m_settings.m_strRemoteHost;
    event.wRemotePort = op.m_settings.m_wRemotePort;
    event.client = client;
    event.strProtocol = ProtocolText(op.m_settings.m_nProtocol);
    return FormatLogEntry(*op.m_pLogFormat->Snapshot(), *op.m_pDateFormat->Snapshot(), event);
}

}  // namespace

void RaiseSessionEvent(const CPortForwardOp& op, SessionEventSlot slot, const Endpoint& client) try {
    if (!IsWanted(op, slot)) return;
    auto pEntry = std::make_unique<LogEntry>();
    pEntry->strText = FormatEvent(op, slot, client);
    op.m_pLogQueue->Append(std::move(pEntry));
} catch (const std::bad_alloc&) {
    // The event is lost; the connection goes on being handled as if it had been logged.
}
