#include <chrono>

#include "tests/engine/engine_fixture.h"

namespace {

constexpr int32_t kTimeoutMs = 2000;
constexpr int32_t kNotForLong = -1'000'000;  // an idle time that only a datagram sets to 0

class UdpPath : public EngineTest {
  protected:
    std::shared_ptr<UdpSession> FirstSession() {
        const std::scoped_lock lock(m_op.m_csUdpSessions);
        return m_op.m_UdpSessionHead.pNext;
    }

    CPortForwardOp& m_op = Start(kProtocolUdp, [](auto& settings) { settings.m_nUdpTimeoutMs = kTimeoutMs; });
    CPeer m_client = ClientOf(m_op);
};

}  // namespace

TEST_F(EngineTest, EachSourcePairIsASessionAndRepliesLeaveFromTheListener) {
    CPortForwardOp& op = Start(kProtocolUdp);
    CPeer first = ClientOf(op);  // connected: takes replies from that port only
    CPeer second = ClientOf(op);
    ExpectEchoed(first, "one");
    const Endpoint firstSession = m_udp.m_last;
    ExpectPasses(second, "");
    EXPECT_EQ(Log(2), (Lines{"accepted|UDP|127.0.0.1|" + std::to_string(first.Port()),
                             "accepted|UDP|127.0.0.1|" + std::to_string(second.Port())}));
    ExpectPasses(second, "");
    ExpectEchoed(second, "two");
    EXPECT_NE(m_udp.m_last, firstSession);
    ExpectEchoed(first, std::string(65'506, 'x'));
    EXPECT_EQ(m_udp.m_last, firstSession);
    EXPECT_EQ(op.m_nTotalSessions, 2);
    EXPECT_EQ(op.m_nThreads, 5) << "the listener, and a relay and a timer each";
    EXPECT_EQ(op.m_dBytesFromClient, 3 + 3 + 65'506);
    EXPECT_EQ(op.m_dBytesFromServer, 4 + 4 + 65'507);
}

TEST_F(UdpPath, SilenceBeyondTheTimeoutEndsASession) {
    const auto begin = std::chrono::steady_clock::now();
    ExpectPasses(m_client, "x");
    const Endpoint session = m_udp.m_last;
    EXPECT_EQ(Events(2), (Lines{"accepted", "ended"}));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(kTimeoutMs));
    ExpectIdle(m_op);
    ExpectPasses(m_client, "again");
    EXPECT_NE(m_udp.m_last, session) << "a new session";
    EXPECT_EQ(Events(1), Lines{"accepted"});
    const auto pSession = FirstSession();
    ASSERT_NE(pSession, nullptr);
    pSession->nIdleMs = kNotForLong;
    m_udp.Reply("y");
    EXPECT_EQ(m_client.Datagram(), "y");
    EXPECT_GE(pSession->nIdleMs, 0) << "a reply alone keeps it alive";
}

TEST_F(UdpPath, WithoutRepliesASessionLivesUntilItsClientIsQuiet) {
    const uint16_t wPort = m_udp.Port();
    for (const bool bClosed : {false, true}) {  // the server's port; else an empty reply ends the replies
        SCOPED_TRACE(bClosed);
        if (bClosed) {
            m_udp.m_hSocket.Close();
            m_client.Send("lost");
        } else {
            ExpectPasses(m_client, "x");
            m_udp.Reply("");
        }
        EXPECT_EQ(Events(1), Lines{"accepted"});
        const auto pSession = FirstSession();
        ASSERT_NE(pSession, nullptr);
        EXPECT_TRUE(WaitFor([&] { return pSession->bRelayLeft != 0 || pSession->bClosing != 0; }));
        if (bClosed && pSession->bClosing != 0) GTEST_SKIP() << "here a waiting receive is not told of a closed port";
        pSession->nIdleMs = kNotForLong;
        if (bClosed) m_udp = CPeer::Server(SocketKind::Udp, wPort);
        ExpectPasses(m_client, "heard");
        EXPECT_GE(pSession->nIdleMs, 0) << "a datagram of the client keeps it alive";
        m_udp.Reply("unheard");
        EXPECT_EQ(Events(1), Lines{"ended"});
        EXPECT_EQ(m_op.m_dBytesFromServer, 0) << "of replies that were not passed on";
        ExpectIdle(m_op);
    }
}
