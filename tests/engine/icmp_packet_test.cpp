#include <gtest/gtest.h>

#include <vector>

#include "engine/icmp_forward.h"
#include "engine/icmp_packet.h"
#include "engine/port_forward_op.h"

namespace {

// A port-unreachable from 10.0.0.9 about a datagram from 10.0.0.1:4660 to 10.0.0.9:80, as a raw socket gives it.
std::vector<uint8_t> Error() {
    return {
        0x45, 0,    0,    56,   0,    0,    0,    0,   64, 1,  0,    0,    10, 0, 0, 9, 10, 0, 0, 1,  // outer header
        3,    3,    0xAA, 0xBB, 0,    0,    0,    7,                                                  // ICMP header
        0x45, 0x10, 0,    33,   0x12, 0x34, 0x40, 0,   63, 17, 0xCC, 0xDD, 10, 0, 0, 1, 10, 0, 0, 9,  // quoted
        0x12, 0x34, 0,    80,   0,    13,   0xEE, 0xFF};                                              // quoted UDP
}

Endpoint At(uint32_t dwNumber, uint16_t wPort) {
    return {IpFromNumber(dwNumber), wPort};
}

// Sessions of three clients. All but the first have the local port of the datagram in Error.
void AddSessions(CPortForwardOp* pOp) {
    std::shared_ptr<UdpSession>* ppLink = &pOp->m_UdpSessionHead.pNext;
    for (const uint16_t wNumber : {uint16_t{1}, uint16_t{2}, uint16_t{3}}) {
        *ppLink = std::make_shared<UdpSession>();
        (*ppLink)->dwClientIp = IpFromNumber(0x0A000007U + wNumber);
        (*ppLink)->wClientPort = static_cast<uint16_t>(1000 + wNumber);
        (*ppLink)->wLocalPort = wNumber == 1 ? 0x1235 : 0x1234;
        ppLink = &(*ppLink)->pNext;
    }
}

bool IsTaken(size_t nAt, uint8_t bValue) {
    std::vector<uint8_t> packet = Error();
    packet[nAt] = bValue;
    return ReadIcmpError(packet).has_value();
}

}  // namespace

TEST(IcmpPacket, OnlyErrorsAboutIpv4DatagramsAreTaken) {
    const auto quoted = ReadIcmpError(Error());
    ASSERT_TRUE(quoted);
    EXPECT_EQ(quoted->target, At(0x0A000009, 80));
    EXPECT_EQ(quoted->wSourcePort, 0x1234);
    std::vector<uint8_t> cutOff = Error();
    cutOff.resize(55);
    EXPECT_FALSE(ReadIcmpError(cutOff));
    EXPECT_FALSE(ReadIcmpError({}));
    EXPECT_TRUE(IsTaken(20, 4));
    EXPECT_TRUE(IsTaken(20, 11));
    EXPECT_TRUE(IsTaken(21, 200)) << "any code";
    for (const uint8_t bType : std::vector<uint8_t>{0, 5, 8, 12}) EXPECT_FALSE(IsTaken(20, bType));
    EXPECT_FALSE(IsTaken(0, 0x65));
    EXPECT_FALSE(IsTaken(28, 0x65));
    EXPECT_TRUE(IsTaken(0, 0x4F)) << "header lengths are not read";
    EXPECT_TRUE(IsTaken(28, 0x4F));
    EXPECT_TRUE(IsTaken(37, 6)) << "nor is the quoted protocol";
}

TEST(IcmpPacket, TheMessageQuotesTheDatagramThatTheClientSent) {
    const auto message = BuildIcmpMessage(Error(), At(0xC0A80105, 1234), At(0xC0A80101, 5000));
    const std::vector<uint8_t> expected = {3,    3,    0,    0,    0,    0,    0,    7,  // ICMP
                                           0x45, 0x10, 0,    33,   0x12, 0x34, 0x40, 0,   63, 17,
                                           0,    0,    192,  168,  1,    5,    192,  168, 1,  1,  // quoted
                                           0x04, 0xD2, 0x13, 0x88, 0,    13,   0,    0};          // UDP
    std::vector<uint8_t> sent(message.begin(), message.end());
    EXPECT_EQ(InternetChecksum(sent), 0) << "a right checksum makes the sum of all come out as zero";
    EXPECT_EQ(InternetChecksum({sent.data() + 8, 20}), 0);
    sent[2] = sent[3] = sent[18] = sent[19] = 0;
    EXPECT_EQ(sent, expected);
}

TEST(IcmpPacket, ChecksumFoldsItsCarries) {
    const uint8_t rfcExample[] = {0x00, 0x01, 0xF2, 0x03, 0xF4, 0xF5, 0xF6, 0xF7};  // RFC 1071, section 3
    EXPECT_EQ(InternetChecksum(rfcExample), static_cast<uint16_t>(~0xDDF2));
    const std::vector<uint8_t> ones(36, 0xFF);
    EXPECT_EQ(InternetChecksum(ones), 0);
}

TEST(IcmpPacket, TheFirstSessionOfTheDatagramIsTold) {
    CPortForwardOp op;
    AddSessions(&op);
    op.m_settings.m_wRemotePort = 80;
    op.m_settings.m_strRemoteHost = "10.0.0.9";
    const QuotedDatagram quoted = {At(0x0A000009, 80), 0x1234};
    EXPECT_EQ(FindClientOfDatagram(op, quoted), At(0x0A000009, 1002));
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A000009, 81), 0x1234}));
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A000008, 80), 0x1234}));
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A000009, 80), 0x1236}));
    op.m_settings.m_strRemoteHost = " ";
    EXPECT_EQ(FindClientOfDatagram(op, {At(0x0A00000A, 80), 0x1234}), At(0x0A00000A, 1003)) << "its own client's";
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A00000B, 80), 0x1234}));
}
