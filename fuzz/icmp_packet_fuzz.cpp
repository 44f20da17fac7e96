// ICMP messages of any content, met by an operation with any destination and any sessions.
#include <algorithm>
#include <cstring>
#include <vector>

#include "engine/icmp_forward.h"
#include "engine/icmp_packet.h"
#include "engine/port_forward_op.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"

namespace {

using Bytes = std::span<const uint8_t>;
using Sessions = std::vector<std::shared_ptr<UdpSession>>;

constexpr size_t kOuterHeaderBytes = 20;

uint32_t AddressAt(Bytes bytes, size_t nAt) {
    uint32_t dwIp = 0;
    std::memcpy(&dwIp, &bytes[nAt], sizeof dwIp);
    return dwIp;
}

uint32_t WordAt(Bytes bytes, size_t nAt) {
    return uint32_t{bytes[nAt]} * 256 + bytes[nAt + 1];
}

bool IsSame(Bytes left, size_t nLeft, Bytes right, size_t nRight, size_t nSize) {
    return std::memcmp(&left[nLeft], &right[nRight], nSize) == 0;
}

// A sum in one's complement is one modulo 65535; with its checksum it is a multiple of that.
bool IsSumRight(Bytes bytes) {
    uint64_t nSum = 0;
    for (size_t n = 0; n < bytes.size(); n += 2) nSum += WordAt(bytes, n);
    return nSum % 0xFFFF == 0;
}

// A number for a host: no run asks the resolver.
void TakeTarget(CFuzzInput& input, CPortForwardOp* pOp) {
    const uint8_t bKind = input.Byte();
    pOp->m_settings.m_bBounce = bKind & 1;
    pOp->m_settings.m_wRemotePort = input.Word();
    const uint32_t dwTarget = input.Dword();
    pOp->m_settings.m_strRemoteHost = (bKind & 2) != 0 ? " \t" : FormatIpAddress(dwTarget);
}

Sessions TakeSessions(CFuzzInput& input, CPortForwardOp* pOp) {
    Sessions sessions(input.Byte() % 8);
    std::shared_ptr<UdpSession>* ppLink = &pOp->m_UdpSessionHead.pNext;
    for (auto& pSession : sessions) {
        pSession = std::make_shared<UdpSession>();
        pSession->dwClientIp = input.Dword();
        pSession->wClientPort = input.Word();
        pSession->wLocalPort = input.Word();
        *ppLink = pSession;
        ppLink = &pSession->pNext;
    }
    return sessions;
}

bool IsError(Bytes packet) {
    if (packet.size() < kIcmpErrorBytes) return false;
    const bool bType = packet[20] == 3 || packet[20] == 4 || packet[20] == 11;
    return bType && packet[0] / 16 == 4 && packet[28] / 16 == 4;
}

bool IsAbout(Bytes packet, const CPortForwardOp& op, const UdpSession& session) {
    uint32_t dwTarget = session.dwClientIp;
    // The one address that is no host's in a text, so that nothing is about it.
    const bool bClient = op.m_settings.m_bBounce != 0 || op.m_settings.m_strRemoteHost == " \t";
    if (!bClient && !ParseIpAddress(op.m_settings.m_strRemoteHost, &dwTarget)) return false;
    return AddressAt(packet, 44) == dwTarget && WordAt(packet, 48) == session.wLocalPort &&
           WordAt(packet, 50) == op.m_settings.m_wRemotePort;
}

void CheckMessage(Bytes packet, Bytes message, const Endpoint& client, const Endpoint& listener) {
    Check(IsSumRight(message), "the checksum of the message is right");
    Check(IsSumRight(message.subspan(8, 20)), "the checksum of the quoted header is right");
    Check(IsSame(message, 0, packet, 20, 2), "type and code are those of the error");
    Check(IsSame(message, 4, packet, 24, 14),
          "the rest of the header, and ten bytes of the quoted one, are the error's");
    Check(AddressAt(message, 20) == client.dwIp && WordAt(message, 28) == client.wPort, "the client is the sender");
    Check(AddressAt(message, 24) == listener.dwIp && WordAt(message, 30) == listener.wPort,
          "the listener is the receiver");
    Check(IsSame(message, 32, packet, 52, 2), "the quoted length is the error's");
    Check(WordAt(message, 34) == 0, "the quoted datagram has no checksum");
}

// The client's system takes the message as this machine took the error.
void CheckReadBack(Bytes packet, Bytes message, const Endpoint& client, const Endpoint& listener) {
    std::vector<uint8_t> received(packet.begin(), packet.begin() + kOuterHeaderBytes);
    received.insert(received.end(), message.begin(), message.end());
    const auto quoted = ReadIcmpError(received);
    Check(quoted.has_value(), "the message is an error");
    Check(quoted->target == listener && quoted->wSourcePort == client.wPort, "the message tells its datagram");
}

void CheckForwarding(Bytes packet, CPortForwardOp& op, const Sessions& sessions, const Endpoint& listener) {
    const auto quoted = ReadIcmpError(packet);
    Check(quoted.has_value() == IsError(packet), "errors of three types about IPv4 are taken, and nothing else");
    if (!quoted) return;
    const auto session = std::find_if(sessions.begin(), sessions.end(),
                                      [&](const auto& pSession) { return IsAbout(packet, op, *pSession); });
    const auto client = FindClientOfDatagram(op, *quoted);
    Check(client.has_value() == (session != sessions.end()), "an error is forwarded if it is about a session");
    if (!client) return;
    Check(*client == Endpoint{(*session)->dwClientIp, (*session)->wClientPort}, "the first such session is told");
    const auto message = BuildIcmpMessage(packet, *client, listener);
    CheckMessage(packet, message, *client, listener);
    CheckReadBack(packet, message, *client, listener);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
    CFuzzInput input(pData, nSize);
    CPortForwardOp op;
    TakeTarget(input, &op);
    const uint32_t dwListener = input.Dword();
    const Endpoint listener = {dwListener, input.Word()};
    const Sessions sessions = TakeSessions(input, &op);
    // A copy of the exact size, so that a read behind the packet is seen.
    const std::vector<uint8_t> packet(input.Rest().begin(), input.Rest().end());
    CheckForwarding(packet, op, sessions, listener);
    return 0;
}
