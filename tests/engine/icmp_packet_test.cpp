#include "engine/icmp_packet.h"
#include "engine/icmp_forward.h"
#include "tests/engine/engine_fixture.h"

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
    const struct {
        size_t nAt;
        std::vector<uint8_t> taken, refused;
    } cases[] = {{0, {0x4F}, {0x65}},  // versions count, header lengths do not
                 {20, {4, 11}, {0, 5, 8, 12}},
                 {21, {200}, {}},  // any code
                 {28, {0x4F}, {0x65}},
                 {37, {6}, {}}};  // any quoted protocol
    for (const auto& [nAt, taken, refused] : cases) {
        for (const uint8_t bValue : taken) EXPECT_TRUE(IsTaken(nAt, bValue)) << nAt;
        for (const uint8_t bValue : refused) EXPECT_FALSE(IsTaken(nAt, bValue)) << nAt;
    }
    std::vector<uint8_t> cutOff = Error();
    cutOff.pop_back();
    EXPECT_FALSE(ReadIcmpError(cutOff));
    EXPECT_FALSE(ReadIcmpError({}));
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
    EXPECT_EQ(InternetChecksum(std::vector<uint8_t>(36, 0xFF)), 0);
}

TEST(IcmpPacket, TheFirstSessionOfTheDatagramIsTold) {
    CPortForwardOp op;
    std::shared_ptr<UdpSession>* ppLink = &op.m_UdpSessionHead.pNext;
    for (const auto& [client, wLocalPort] : {std::pair<Endpoint, uint16_t>{At(0x0A000008, 1001), 0x1235},
                                             {At(0x0A000009, 1002), 0x1234},
                                             {At(0x0A00000A, 1003), 0x1234}}) {
        *ppLink = std::make_shared<UdpSession>();
        (*ppLink)->dwClientIp = client.dwIp;
        (*ppLink)->wClientPort = client.wPort;
        (*ppLink)->wLocalPort = wLocalPort;
        ppLink = &(*ppLink)->pNext;
    }
    op.m_settings.m_wRemotePort = 80;
    op.m_settings.m_strRemoteHost = "10.0.0.9";
    EXPECT_EQ(FindClientOfDatagram(op, {At(0x0A000009, 80), 0x1234}), At(0x0A000009, 1002));
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A000009, 81), 0x1234}));
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A000008, 80), 0x1234}));
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A000009, 80), 0x1236}));
    op.m_settings.m_strRemoteHost = " ";
    EXPECT_EQ(FindClientOfDatagram(op, {At(0x0A00000A, 80), 0x1234}), At(0x0A00000A, 1003)) << "its own client's";
    EXPECT_FALSE(FindClientOfDatagram(op, {At(0x0A00000B, 80), 0x1234}));
}
