// Needs a system that answers for its routes and delivers errors to a socket that is waiting: not Wine.
#include <atomic>
#include <thread>

#include "tests/engine/engine_fixture.h"

TEST_F(EngineTest, AClosedRemotePortReachesTheClientsOwnSocket) {
    if (CSocket().Open(SocketKind::RawIcmp) != 0) GTEST_SKIP() << "raw sockets need a privileged process";
    const uint16_t wClosed = CPeer::Server(SocketKind::Udp).Port();
    for (const bool bBounce : {false, true}) {
        CPortForwardOp& op = Start(kProtocolUdp, [&](auto& settings) {
            settings.m_wRemotePort = wClosed;
            settings.m_bForwardIcmp = 1;
            settings.m_bBounce = bBounce ? 1 : 0;
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
