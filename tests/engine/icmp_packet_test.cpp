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
    EXPECT_THAT(BuildIcmpMessage(Error(), At(0xC0A80105, 1234), At(0xC0A80101, 5000)),
                testing::ElementsAre(3, 3, 0xE4, 0x8E, 0, 0, 0, 7,                                      // ICMP
                                     0x45, 0x10, 0, 0x21, 0x12, 0x34, 0x40, 0, 0x3F, 0x11, 0xA6, 0x31,  // quoted
                                     0xC0, 0xA8, 1, 5, 0xC0, 0xA8, 1, 1, 4, 0xD2, 0x13, 0x88, 0, 0x0D, 0, 0));  // UDP
    EXPECT_EQ(InternetChecksum(std::vector<uint8_t>{0xFF, 0xFF, 0xFF, 0xFF, 0, 1}), 0xFFFE) << "two carries";
}

TEST(IcmpPacket, TheFirstSessionOfTheDatagramIsTold) {
    CPortForwardOp op;
    for (const uint16_t wNumber : std::vector<uint16_t>{8, 9, 10}) {
        auto pSession = std::make_unique<UdpSession>();
        pSession->dwClientIp = IpFromNumber(0x0A000000U + wNumber);
        pSession->wClientPort = wNumber;
        pSession->wLocalPort = wNumber == 8 ? 0x1235 : 0x1234;
        ASSERT_TRUE(op.m_udpSessions.Add(std::move(pSession)));
    }
    const auto find = [&op](const Endpoint& target, uint16_t wSourcePort) {
        return FindClientOfDatagram(op, {target, wSourcePort}, false).value_or(ToldClient{}).client;
    };
    constexpr Endpoint kNobody;
    op.m_settings.m_wRemotePort = 80;
    op.m_settings.m_strRemoteHost = "10.0.0.9";
    EXPECT_EQ(find(At(0x0A000009, 80), 0x1234), At(0x0A000009, 9));
    EXPECT_EQ(find(At(0x0A000009, 81), 0x1234), kNobody);
    EXPECT_EQ(find(At(0x0A000008, 80), 0x1234), kNobody);
    EXPECT_EQ(find(At(0x0A000009, 80), 0x1236), kNobody);
    op.m_settings.m_strRemoteHost = " ";
    EXPECT_EQ(find(At(0x0A00000A, 80), 0x1234), At(0x0A00000A, 10)) << "its own client's";
    EXPECT_EQ(find(At(0x0A00000B, 80), 0x1234), kNobody);
}
