// Needs a system that answers for its routes and delivers errors to a socket that is waiting: not Wine.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/engine/engine_fixture.h"

TEST_F(EngineTest, AClosedRemotePortReachesTheClientsOwnSocket) {
    CSocket hProbe;
    if (hProbe.Open(SocketKind::RawIcmp) != 0) GTEST_SKIP() << "raw sockets need a privileged process";
    hProbe.Close();
    const uint16_t wClosed = CPeer::Udp().Port();
    for (const bool bBounce : {false, true}) {
        CPortForwardOp& op = MakeOp(kProtocolUdp, wClosed);
        op.m_settings.m_bForwardIcmp = 1;
        op.m_settings.m_bBounce = bBounce ? 1 : 0;
        ASSERT_TRUE(op.Start()) << op.m_nStartError;
        EXPECT_EQ(op.m_nThreads, 2);
        CPeer client = CPeer::ConnectUdp(PortOf(op));
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
        ExpectStopped(op);
    }
}

TEST_F(EngineTest, AClientWithoutAWayIsItsOwnLocalAddress) {
    CSocket hAny;
    uint32_t dwLoopback = 0;
    ASSERT_TRUE(ParseIpAddress("127.0.0.1", &dwLoopback));
    EXPECT_EQ(hAny.LocalAddressToward(dwLoopback), dwLoopback);
    const uint32_t dwNowhere = 0xFFFFFFFF;  // a datagram socket is refused the broadcast address
    EXPECT_EQ(hAny.LocalAddressToward(dwNowhere), dwNowhere);
}
