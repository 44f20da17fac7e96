#include "engine/icmp_forward.h"

#include <mutex>

#include "engine/host_text.h"
#include "engine/port_forward_op.h"
#include "engine/session_target.h"
#include "platform/threads/threads.h"

namespace {

constexpr size_t kBufferBytes = 65536;
constexpr uint32_t kPollMs = 10;

// The client of the first session whose datagram this is. With a fixed destination that one has been compared already;
// otherwise the client's own address is the destination.
std::optional<Endpoint> FindClient(CPortForwardOp& op, const QuotedDatagram& quoted) {
    const bool bBounce = op.m_settings.IsTargetTheClient();
    const std::scoped_lock lock(op.m_csUdpSessions);
    for (const UdpSession* pSession = op.m_UdpSessionHead.pNext.get(); pSession != nullptr;
         pSession = pSession->pNext.get()) {
        if (pSession->wLocalPort != quoted.wSourcePort) continue;
        if (bBounce && pSession->dwClientIp != quoted.target.dwIp) continue;
        return Endpoint{pSession->dwClientIp, pSession->wClientPort};
    }
    return {};
}

// Whether the datagram went where the operation's datagrams go. Without a fixed destination only the port is known.
bool IsToTarget(const CPortForwardOp& op, const QuotedDatagram& quoted) {
    const OpSettings& settings = op.m_settings;
    uint32_t dwTarget = quoted.target.dwIp;
    if (!settings.IsTargetTheClient() && !ResolveHostAddress(settings.m_strRemoteHost, &dwTarget)) return false;
    return quoted.target == Endpoint{dwTarget, settings.m_wRemotePort};
}

void ForwardError(CIcmpForwarder& forwarder, std::span<const uint8_t> packet) {
    CPortForwardOp& op = forwarder.Op();
    const auto quoted = ReadIcmpError(packet);
    if (!quoted) return;
    const auto client = FindClientOfDatagram(op, *quoted);
    if (!client) return;
    const Endpoint listener = {forwarder.Socket().LocalAddressToward(client->dwIp), op.ListenPort()};
    const auto message = BuildIcmpMessage(packet, *client, listener);
    static_cast<void>(forwarder.Socket().SendTo(message.data(), message.size(), {client->dwIp, 0}));
}

}  // namespace

std::optional<Endpoint> FindClientOfDatagram(CPortForwardOp& op, const QuotedDatagram& quoted) {
    if (!IsToTarget(op, quoted)) return {};
    return FindClient(op, quoted);
}

int32_t CIcmpForwarder::Start() {
    int32_t nError = m_hIcmpSocket.Open(SocketKind::RawIcmp);
    if (nError == 0) nError = m_hIcmpSocket.Bind({});
    if (nError == 0) {
        m_bIcmpRunning = 1;
        if (m_pOp->BeginThread(IcmpForwardThread, this)) return 0;
        m_bIcmpRunning = 0;
        nError = ThreadStartError();
    }
    m_hIcmpSocket.Close();
    return nError;
}

void CIcmpForwarder::End() {
    m_bEnd = 1;
    if (m_bIcmpRunning == 0) return;
    EndCalls([this] { return m_hIcmpSocket.Interrupt(); }, [this] { return m_bIcmpRunning == 0; });
    while (m_bIcmpRunning != 0) Sleep(kPollMs);
}

void IcmpForwardThread(CIcmpForwarder* pForwarder) {
    CPortForwardOp& op = pForwarder->Op();
    uint8_t buffer[kBufferBytes];
    for (;;) {
        Endpoint sender;
        const IoResult received = pForwarder->Socket().RecvFrom(buffer, sizeof buffer, &sender);
        if (received.nBytes < 0 || pForwarder->IsEnding()) break;
        ForwardError(*pForwarder, {buffer, static_cast<size_t>(received.nBytes)});
    }
    pForwarder->SetThreadEnded();
    op.RemoveThread();
}
