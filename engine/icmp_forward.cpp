#include "engine/icmp_forward.h"

#include <mutex>

#include "engine/host_lookup.h"
#include "engine/port_forward_op.h"
#include "platform/threads/threads.h"

namespace {

constexpr size_t kBufferBytes = 65536;
constexpr uint32_t kPollMs = 10;

// The client of the first session whose datagram this is. With a fixed destination that one has been compared already;
// otherwise the client's own address is the destination.
std::optional<ToldClient> FindClient(CPortForwardOp& op, const QuotedDatagram& quoted) {
    const bool bBounce = op.m_settings.IsTargetTheClient();
    const std::scoped_lock lock(op.m_csUdpSessions);
    for (const UdpSession* pSession = op.m_udpSessions.First(); pSession != nullptr; pSession = pSession->pLater) {
        if (pSession->wLocalPort != quoted.wSourcePort) continue;
        if (bBounce && pSession->dwClientIp != quoted.target.dwIp) continue;
        return ToldClient{pSession->Client(), pSession->dwAskedIp.load(std::memory_order_relaxed)};
    }
    return {};
}

// Whether the datagram went where the operation's datagrams go. Without a fixed destination only the port is known.
bool IsToTarget(const CPortForwardOp& op, const QuotedDatagram& quoted, const std::atomic<uint8_t>& bEnd) {
    const OpSettings& settings = op.m_settings;
    uint32_t dwTarget = quoted.target.dwIp;
    if (!settings.IsTargetTheClient()) {
        const auto result = LookUpHost(settings.m_strRemoteHost, &dwTarget, [&bEnd] { return bEnd != 0; });
        if (result != LookupResult::Found) return false;
    }
    return quoted.target == Endpoint{dwTarget, settings.m_wRemotePort};
}

void ForwardError(CIcmpForwarder& forwarder, std::span<const uint8_t> packet) {
    CPortForwardOp& op = forwarder.Op();
    CSocket& hSocket = forwarder.Socket();
    const auto quoted = ReadIcmpError(packet);
    if (!quoted) return;
    const auto told = FindClientOfDatagram(op, *quoted, forwarder.Ending());
    if (!told) return;
    const auto& [client, dwAskedIp] = *told;
    // The client's system looks for the socket that asked this very address.
    const uint32_t dwLocalIp = dwAskedIp != 0 ? dwAskedIp : hSocket.LocalAddressToward(client.dwIp);
    const auto message = BuildIcmpMessage(packet, client, {dwLocalIp, op.ListenPort()});
    static_cast<void>(hSocket.SendFrom(dwAskedIp, message.data(), message.size(), {client.dwIp, 0}));
}

}  // namespace

std::optional<ToldClient> FindClientOfDatagram(CPortForwardOp& op, const QuotedDatagram& quoted,
                                               const std::atomic<uint8_t>& bEnd) {
    if (!IsToTarget(op, quoted, bEnd)) return {};
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
        if (received.nBytes < 0 || pForwarder->Ending() != 0) break;
        ForwardError(*pForwarder, {buffer, static_cast<size_t>(received.nBytes)});
    }
    pForwarder->SetThreadEnded();
    op.RemoveThread();
}
