// ICMP messages of any content, met by an operation with any destination and any sessions.
#include <algorithm>
#include <cstring>
#include <vector>

#include "engine/icmp_forward.h"
#include "engine/icmp_packet.h"
#include "engine/port_forward_op.h"
#include "fuzz/fuzz.h"

namespace {

using Bytes = std::span<const uint8_t>;
using Sessions = std::vector<const UdpSession*>;

uint32_t AddressAt(Bytes bytes, size_t nAt) {
    uint32_t dwIp = 0;
    std::memcpy(&dwIp, &bytes[nAt], sizeof dwIp);
    return dwIp;
}

uint32_t WordAt(Bytes bytes, size_t nAt) {
    return uint32_t{bytes[nAt]} * 256 + bytes[nAt + 1];
}

// A sum in one's complement is one modulo 65535; with its checksum it is a multiple of that.
bool IsSumRight(Bytes bytes) {
    uint64_t nSum = 0;
    for (size_t n = 0; n < bytes.size(); n += 2) nSum += WordAt(bytes, n);
    return nSum % 0xFFFF == 0;
}

// A number for a host, so that no run asks the resolver; 0: each session's client.
uint32_t TakeTarget(FuzzedDataProvider& input, OpSettings* pSettings) {
    pSettings->m_bBounce = input.ConsumeBool();
    const bool bBlank = input.ConsumeBool();
    pSettings->m_wRemotePort = input.ConsumeIntegral<uint16_t>();
    const uint32_t dwTarget = bBlank ? 0 : input.ConsumeIntegralInRange<uint32_t>(1, UINT32_MAX);
    pSettings->m_strRemoteHost = bBlank ? " \t" : FormatIpAddress(dwTarget);
    return pSettings->m_bBounce != 0 ? 0 : dwTarget;
}

Sessions TakeSessions(FuzzedDataProvider& input, CPortForwardOp* pOp) {
    Sessions sessions(input.ConsumeIntegralInRange<size_t>(0, 7));
    for (auto& pKept : sessions) {
        auto pSession = std::make_unique<UdpSession>();
        pKept = pSession.get();
        pSession->dwClientIp = input.ConsumeIntegral<uint32_t>();
        pSession->wClientPort = input.ConsumeIntegral<uint16_t>();
        pSession->wLocalPort = input.ConsumeIntegral<uint16_t>();
        Check(pOp->m_udpSessions.Add(std::move(pSession)), "there is memory");
    }
    return sessions;
}

bool IsError(Bytes packet) {
    if (packet.size() < kIcmpErrorBytes) return false;
    const bool bType = packet[20] == 3 || packet[20] == 4 || packet[20] == 11;
    return bType && packet[0] / 16 == 4 && packet[28] / 16 == 4;
}

bool IsAbout(Bytes packet, uint32_t dwTarget, uint16_t wPort, const UdpSession& session) {
    return AddressAt(packet, 44) == (dwTarget == 0 ? session.dwClientIp : dwTarget) &&
           WordAt(packet, 48) == session.wLocalPort && WordAt(packet, 50) == wPort;
}

void CheckMessage(Bytes packet, Bytes message, const Endpoint& client, const Endpoint& listener) {
    Check(IsSumRight(message), "the checksum of the message is right");
    Check(IsSumRight(message.subspan(8, 20)), "the checksum of the quoted header is right");
    Check(std::ranges::equal(message.first(2), packet.subspan(20, 2)), "type and code are those of the error");
    Check(std::ranges::equal(message.subspan(4, 14), packet.subspan(24, 14)),
          "the rest of the header and the quoted one's beginning stay");
    Check(AddressAt(message, 20) == client.dwIp && WordAt(message, 28) == client.wPort, "the client is the sender");
    Check(AddressAt(message, 24) == listener.dwIp && WordAt(message, 30) == listener.wPort, "the listener receives");
    Check(std::ranges::equal(message.subspan(32, 2), packet.subspan(52, 2)), "the quoted length is the error's");
    Check(WordAt(message, 34) == 0, "the quoted datagram has no checksum");
    // The client's system takes the message as this machine took the error.
    std::vector<uint8_t> received(packet.begin(), packet.begin() + 20);  // the outer header
    received.insert(received.end(), message.begin(), message.end());
    const auto quoted = ReadIcmpError(received);
    Check(quoted && quoted->target == listener && quoted->wSourcePort == client.wPort, "it tells its datagram");
}

void CheckForwarding(Bytes packet, CPortForwardOp& op, uint32_t dwTarget, const Sessions& sessions,
                     const Endpoint& listener) {
    const auto quoted = ReadIcmpError(packet);
    Check(quoted.has_value() == IsError(packet), "errors of three types about IPv4 are taken, and nothing else");
    if (!quoted) return;
    const auto session = std::ranges::find_if(sessions, [&](const auto& pSession) {
        return IsAbout(packet, dwTarget, op.m_settings.m_wRemotePort, *pSession);
    });
    const auto told = FindClientOfDatagram(op, *quoted, false);
    Check(told.has_value() == (session != sessions.end()), "an error is forwarded if it is about a session");
    if (!told) return;
    Check(told->client == (*session)->Client(), "the first such session is told");
    CheckMessage(packet, BuildIcmpMessage(packet, told->client, listener), told->client, listener);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    FuzzedDataProvider input(pData, nSize);
    CPortForwardOp op;
    const uint32_t dwTarget = TakeTarget(input, &op.m_settings);
    const uint32_t dwListener = input.ConsumeIntegral<uint32_t>();
    const Endpoint listener = {dwListener, input.ConsumeIntegral<uint16_t>()};
    const Sessions sessions = TakeSessions(input, &op);
    // A copy of the exact size, so that a read behind the packet is seen.
    CheckForwarding(input.ConsumeRemainingBytes<uint8_t>(), op, dwTarget, sessions, listener);
    return 0;
}
