#include "engine/icmp_packet.h"

#include <algorithm>
#include <cstring>

namespace {

// In a packet with its outer header
constexpr size_t kOuterHeader = 0;
constexpr size_t kType = 20;
constexpr size_t kQuotedHeader = 28;
constexpr size_t kQuotedTarget = 44;
constexpr size_t kQuotedSourcePort = 48;
constexpr size_t kQuotedTargetPort = 50;
constexpr size_t kQuotedLength = 52;

// In the message
constexpr size_t kIcmpChecksum = 2;
constexpr size_t kHeader = 8;
constexpr size_t kHeaderBytes = 20;
constexpr size_t kHeaderChecksum = 18;
constexpr size_t kSource = 20;
constexpr size_t kTarget = 24;
constexpr size_t kSourcePort = 28;
constexpr size_t kTargetPort = 30;
constexpr size_t kLength = 32;

constexpr uint8_t kUnreachable = 3;
constexpr uint8_t kSourceQuench = 4;
constexpr uint8_t kTimeExceeded = 11;

bool IsVersion4(uint8_t bVersionAndLength) {
    return bVersionAndLength >> 4 == 4;
}

uint16_t ReadWord(std::span<const uint8_t> bytes, size_t nAt) {
    return static_cast<uint16_t>(bytes[nAt] << 8 | bytes[nAt + 1]);
}

void WriteWord(std::span<uint8_t> bytes, size_t nAt, uint16_t wValue) {
    bytes[nAt] = static_cast<uint8_t>(wValue >> 8);
    bytes[nAt + 1] = static_cast<uint8_t>(wValue & 0xFF);
}

}  // namespace

uint16_t InternetChecksum(std::span<const uint8_t> bytes) {
    uint32_t dwSum = 0;
    for (size_t n = 0; n + 1 < bytes.size(); n += 2) dwSum += ReadWord(bytes, n);
    while (dwSum >> 16 != 0) dwSum = (dwSum & 0xFFFF) + (dwSum >> 16);
    return static_cast<uint16_t>(~dwSum);
}

std::optional<QuotedDatagram> ReadIcmpError(std::span<const uint8_t> packet) {
    if (packet.size() < kIcmpErrorBytes || !IsVersion4(packet[kOuterHeader])) return {};
    const uint8_t bType = packet[kType];
    if (bType != kUnreachable && bType != kTimeExceeded && bType != kSourceQuench) return {};
    if (!IsVersion4(packet[kQuotedHeader])) return {};
    QuotedDatagram quoted;
    std::memcpy(&quoted.target.dwIp, packet.data() + kQuotedTarget, sizeof quoted.target.dwIp);
    quoted.target.wPort = ReadWord(packet, kQuotedTargetPort);
    quoted.wSourcePort = ReadWord(packet, kQuotedSourcePort);
    return quoted;
}

std::array<uint8_t, kIcmpMessageBytes> BuildIcmpMessage(std::span<const uint8_t> packet, const Endpoint& client,
                                                        const Endpoint& listener) {
    std::array<uint8_t, kIcmpMessageBytes> message = {};
    std::copy_n(packet.begin() + kType, kHeader + kHeaderBytes, message.begin());
    std::memcpy(message.data() + kSource, &client.dwIp, sizeof client.dwIp);
    std::memcpy(message.data() + kTarget, &listener.dwIp, sizeof listener.dwIp);
    WriteWord(message, kHeaderChecksum, 0);
    WriteWord(message, kHeaderChecksum, InternetChecksum(std::span(message).subspan(kHeader, kHeaderBytes)));
    WriteWord(message, kSourcePort, client.wPort);
    WriteWord(message, kTargetPort, listener.wPort);
    WriteWord(message, kLength, ReadWord(packet, kQuotedLength));
    WriteWord(message, kIcmpChecksum, 0);
    WriteWord(message, kIcmpChecksum, InternetChecksum(message));
    return message;
}
