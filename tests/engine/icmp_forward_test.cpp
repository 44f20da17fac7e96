// What a UDP operation tells its clients of, and from which address. Needs a system that answers for its routes, delivers
// errors to a socket that is waiting and lets a sender choose its address: not Wine.
#include <sys/resource.h>

#include <atomic>
#include <thread>

#include "tests/engine/engine_fixture.h"

namespace {

// Another address of this machine.
CPeer ClientOfSecondAddress(CPortForwardOp& op) {
    CPeer client;
    EXPECT_EQ(client.m_hSocket.Open(SocketKind::Udp), 0);
    EXPECT_EQ(client.m_hSocket.Connect({IpFromNumber(0x7F000002), op.ListenPort()}), 0);
    return client;
}

// Of all threads of the process.
int64_t CountWakes() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

}  // namespace

TEST_F(EngineTest, RepliesLeaveFromTheAddressThatTheClientAskedLast) {
    CPortForwardOp& op = Start(kProtocolUdp, [](auto& settings) { settings.m_dwLocalIp = 0; });
    CPeer connected = ClientOfSecondAddress(op);
    ExpectEchoed(connected, "hears that address only");
    CPeer free = CPeer::Server(SocketKind::Udp);
    for (const uint32_t dwNumber : {0x7F000002U, 0x7F000001U, 0x7F000003U}) {
        const Endpoint asked = {IpFromNumber(dwNumber), op.ListenPort()};
        EXPECT_EQ(free.m_hSocket.SendTo("?", 1, asked).nBytes, 1);
        EXPECT_EQ(m_udp.Datagram(), "?");
        for (int n = 0; n < 3; ++n) m_udp.Reply("!");
        for (int n = 0; n < 3; ++n) EXPECT_EQ(free.Datagram(), "!");
        EXPECT_EQ(free.m_last, asked);
    }
    EXPECT_EQ(op.m_nTotalSessions, 2);
}

TEST_F(EngineTest, SilentSessionsWakeNobody) {
    constexpr int32_t kSessions = 50;
    CPortForwardOp& op = Start(kProtocolUdp);
    std::vector<CPeer> clients;
    for (int32_t n = 0; n < kSessions; ++n) ExpectEchoed(clients.emplace_back(ClientOf(op)), "x");
    const int64_t nBefore = CountWakes();
    Sleep(1000);
    EXPECT_LT(CountWakes() - nBefore, kSessions);
    EXPECT_EQ(op.m_nThreads, 1 + 2 * kSessions);
}

TEST_F(EngineTest, AListenerThatFailsLeavesItsSessionsUntilTheyAreStopped) {
    CPortForwardOp& op = Start(kProtocolUdp);
    CPeer client = ClientOf(op);
    ExpectEchoed(client, "x");
    op.ListenSocket()->Interrupt();
    EXPECT_TRUE(WaitFor([&] { return op.m_nThreads == 2; })) << "the session's";
    EXPECT_EQ(op.m_bRunning + op.m_bStopping, 0);
    EXPECT_EQ(op.m_nSessions, 1);
    ASSERT_TRUE(op.Start());
    EXPECT_EQ(Events(), (Lines{"accepted", "ended"}));
    EXPECT_EQ(op.m_nThreads, 1);
    ExpectForwards(op);
}

TEST_F(EngineTest, AClosedRemotePortReachesTheClientsOwnSocket) {
    if (CSocket().Open(SocketKind::RawIcmp) != 0) GTEST_SKIP() << "raw sockets need a privileged process";
    const uint16_t wClosed = CPeer::Server(SocketKind::Udp).Port();
    // To the client's own address or a fixed one; the client asks the one address that is served, or the second of all.
    for (const auto& [bBounce, bAll] : {std::pair{false, false}, {true, false}, {false, true}}) {
        CPortForwardOp& op = Start(kProtocolUdp, [&, bBack = bBounce, bEvery = bAll](auto& settings) {
            settings.m_wRemotePort = wClosed;
            settings.m_bForwardIcmp = 1;
            settings.m_bBounce = bBack ? 1 : 0;
            if (bEvery) settings.m_dwLocalIp = 0;
        });
        EXPECT_EQ(op.m_nThreads, 2);
        CPeer client = ClientOf(op);
        std::atomic<bool> bTold = false;
        // The error can come back ahead of the record of its session, so that the first one finds nobody to tell.
        std::thread sender([&] {
            WaitFor([&] {
                static_cast<void>(client.m_hSocket.Send("into the void", 13));
                return bTold.load();
            });
        });
        char ch;
        const IoResult received = client.m_hSocket.Recv(&ch, 1);
        bTold = true;
        sender.join();
        EXPECT_EQ(received.nBytes, -1);
        EXPECT_TRUE(IsConnectionResetError(received.nError)) << received.nError;
    }
}

TEST(LocalAddress, AClientWithoutAWayIsItsOwn) {
    const uint32_t dwNowhere = 0xFFFFFFFF;  // a datagram socket is refused the broadcast address
    for (const uint32_t dwIp : {Loopback().dwIp, dwNowhere}) EXPECT_EQ(CSocket().LocalAddressToward(dwIp), dwIp);
}
