#include <gtest/gtest.h>

#include <chrono>

#include "platform/threads/threads_testing.h"
#include "tests/engine/engine_fixture.h"
#include "tests/support/failing_new.h"

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

namespace {

constexpr int32_t kShortTimeoutMs = 300;

class UdpPath : public EngineTest {
  protected:
    ~UdpPath() override { FailNextAllocationOf(0); }

    CPortForwardOp& StartShort() {
        CPortForwardOp& op = MakeOp(kProtocolUdp, m_server.Port());
        op.m_settings.m_nUdpTimeoutMs = kShortTimeoutMs;
        EXPECT_TRUE(op.Start());
        return op;
    }
    static std::shared_ptr<UdpSession> FirstSession(CPortForwardOp& op) {
        const std::scoped_lock lock(op.m_csUdpSessions);
        return op.m_UdpSessionHead.pNext;
    }
    // The client's datagram reaches the server.
    void ExpectPasses(CPeer& client, const std::string& strBytes) {
        client.Send(strBytes);
        EXPECT_EQ(m_server.Datagram(), strBytes);
    }
    void ExpectEchoed(CPeer& client, const std::string& strBytes) {
        ExpectPasses(client, strBytes);
        m_server.SendTo(strBytes + "!", m_server.m_last);
        EXPECT_EQ(client.Datagram(), strBytes + "!");
    }

    CPeer m_server = CPeer::Udp();
};

}  // namespace

TEST_F(UdpPath, EachSourcePairIsASessionAndRepliesLeaveFromTheListener) {
    CPortForwardOp& op = StartUdp(m_server.Port());
    CPeer first = CPeer::ConnectUdp(PortOf(op));  // connected: takes replies from that port only
    CPeer second = CPeer::ConnectUdp(PortOf(op));
    ExpectEchoed(first, "one");
    const Endpoint firstSession = m_server.m_last;
    ExpectEchoed(second, "two");
    EXPECT_NE(m_server.m_last, firstSession);
    ExpectEchoed(first, "one again");
    EXPECT_EQ(m_server.m_last, firstSession);
    EXPECT_EQ(op.m_nTotalSessions, 2);
    EXPECT_EQ(op.m_nThreads, 5) << "the listener, and a relay and a timer each";
    EXPECT_EQ(op.m_dBytesFromClient, 3 + 3 + 9);
    EXPECT_EQ(op.m_dBytesFromServer, 4 + 4 + 10);
    EXPECT_THAT(Log(), ElementsAre("Session accepted|UDP|127.0.0.1|" + std::to_string(first.Port()),
                                   "Session accepted|UDP|127.0.0.1|" + std::to_string(second.Port())));
}

TEST_F(UdpPath, TheLargestDatagramPassesWhole) {
    CPortForwardOp& op = StartUdp(m_server.Port());
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    ExpectEchoed(client, std::string(65'506, 'x'));
}

TEST_F(UdpPath, AnEmptyDatagramOfAClientPassesAndMakesASession) {
    CPortForwardOp& op = StartUdp(m_server.Port());
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    ExpectPasses(client, "");
    ExpectPasses(client, "");
    EXPECT_THAT(WaitForEvents(1), ElementsAre(kAccepted));
    ExpectEchoed(client, "x");
}

TEST_F(UdpPath, AnEmptyReplyEndsTheRepliesButNotTheSession) {
    CPortForwardOp& op = StartShort();
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    ExpectEchoed(client, "both ways");
    m_server.SendTo("", m_server.m_last);
    const auto pSession = FirstSession(op);
    EXPECT_TRUE(WaitFor([&] { return pSession->bRelayLeft != 0; }));
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(2 * kShortTimeoutMs)) {
        ExpectPasses(client, "one way");
        m_server.SendTo("unheard", m_server.m_last);
        std::this_thread::sleep_for(std::chrono::milliseconds(kShortTimeoutMs / 10));
    }
    EXPECT_THAT(WaitForEvents(2), ElementsAre(kAccepted, kEnded));
    EXPECT_EQ(op.m_dBytesFromServer, 10) << "of replies that were not passed on";
}

TEST_F(UdpPath, SilenceBeyondTheTimeoutEndsASession) {
    CPortForwardOp& op = StartShort();
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    ExpectPasses(client, "x");
    const Endpoint session = m_server.m_last;
    auto last = std::chrono::steady_clock::now();
    // Replies alone keep it alive, far beyond the timeout.
    for (int n = 0; n < 8; ++n) {
        std::this_thread::sleep_for(std::chrono::milliseconds(kShortTimeoutMs / 3));
        last = std::chrono::steady_clock::now();
        m_server.SendTo("y", session);
        ASSERT_EQ(client.Datagram(), "y");
    }
    EXPECT_EQ(op.m_nSessions, 1);
    EXPECT_THAT(WaitForEvents(2), ElementsAre(kAccepted, kEnded));
    EXPECT_GE(std::chrono::steady_clock::now() - last, std::chrono::milliseconds(kShortTimeoutMs));
    ExpectIdle(op, 1);
    ExpectPasses(client, "again");
    EXPECT_NE(m_server.m_last, session) << "a new session";
}

TEST_F(UdpPath, AClosedRemotePortLeavesOneWayUntilTheClientIsQuiet) {
    const uint16_t wPort = m_server.Port();
    CPortForwardOp& op = StartShort();
    m_server.m_hSocket.Close();
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    client.Send("lost");
    WaitForEvents(1);
    const auto pSession = FirstSession(op);
    ASSERT_NE(pSession, nullptr);
    EXPECT_TRUE(WaitFor([&] { return pSession->bRelayLeft != 0 || pSession->bClosing != 0; }));
    if (pSession->bClosing != 0) GTEST_SKIP() << "this system does not tell a waiting receive of a closed port";
    m_server = CPeer::Udp(wPort);
    ExpectPasses(client, "heard");
    ExpectPasses(client, "each");
    m_server.SendTo("unheard", m_server.m_last);
    EXPECT_THAT(WaitForEvents(2), ElementsAre(kAccepted, kEnded));
    EXPECT_EQ(op.m_dBytesFromServer, 0);
}

TEST_F(UdpPath, TheSessionLimitRefusesEachDatagramOfANewClientOnly) {
    CPortForwardOp& op = MakeOp(kProtocolUdp, m_server.Port());
    op.m_settings.m_nMaxSessions = 1;
    ASSERT_TRUE(op.Start());
    CPeer known = CPeer::ConnectUdp(PortOf(op));
    CPeer stranger = CPeer::ConnectUdp(PortOf(op));
    ExpectEchoed(known, "in");
    stranger.Send("1234");
    stranger.Send("1234");
    EXPECT_THAT(WaitForEvents(3), ElementsAre(kAccepted, kTooManySessions, kTooManySessions));
    ExpectEchoed(known, "in");
    EXPECT_EQ(op.m_dBytesFromClient, 2 + 8 + 2) << "refused datagrams of new clients count";
}

TEST_F(UdpPath, TheLimitOfThreadsIsExact) {
    CPortForwardOp& op = StartUdp(m_server.Port());
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    const int32_t nOthers = 1499;  // and the listener itself
    m_counters.nThreads += nOthers;
    client.Send("x");
    EXPECT_THAT(WaitForEvents(1), ElementsAre(kTooManyThreads));
    m_counters.nThreads -= 1;
    ExpectEchoed(client, "x");
    m_counters.nThreads -= nOthers - 1;
}

TEST_F(UdpPath, FilteredDatagramsCountNothingAndEachIsTold) {
    CPortForwardOp& op = MakeOp(kProtocolUdp, m_server.Port());
    op.m_settings.m_bFiltersEnabled = 1;
    op.m_settings.m_blockRanges = {{Loopback().dwIp, Loopback().dwIp}};
    ASSERT_TRUE(op.Start());
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    client.Send("1234");
    client.Send("1234");
    EXPECT_THAT(WaitForEvents(2), ElementsAre(kBadIp, kBadIp));
    m_bSuppressBlocked = 1;
    client.Send("1234");
    m_logFormat.Set("marker");
    ExpectStopped(op);
    EXPECT_THAT(Events(), SizeIs(2));
    EXPECT_EQ(op.m_dBytesFromClient, 0);
    EXPECT_EQ(op.m_nTotalSessions, 0);
}

TEST_F(UdpPath, BounceBlankAndUnresolvableHosts) {
    CPortForwardOp& bounce = MakeOp(kProtocolUdp, m_server.Port());
    bounce.m_settings.m_bBounce = 1;
    CPortForwardOp& blank = MakeOp(kProtocolUdp, m_server.Port());
    blank.m_settings.m_strRemoteHost = "";
    CPortForwardOp& unresolved = MakeOp(kProtocolUdp, m_server.Port());
    unresolved.m_settings.m_strRemoteHost = "no-such-host.invalid";
    m_logFormat.Set("%G%E|%RHost");
    for (CPortForwardOp* pOp : {&bounce, &blank, &unresolved}) ASSERT_TRUE(pOp->Start());
    CPeer toBounce = CPeer::ConnectUdp(PortOf(bounce));
    ExpectEchoed(toBounce, "x");
    CPeer toBlank = CPeer::ConnectUdp(PortOf(blank));
    ExpectEchoed(toBlank, "x");
    CPeer toNowhere = CPeer::ConnectUdp(PortOf(unresolved));
    toNowhere.Send("x");
    toNowhere.Send("x");
    WaitForEvents(4);
    EXPECT_THAT(Log(), ElementsAre("Session accepted|~\\_Client_/~", "Session accepted|",
                                   std::string(kUnresolved) + "|no-such-host.invalid",
                                   std::string(kUnresolved) + "|no-such-host.invalid"));
}

TEST_F(UdpPath, StopEndsEverySessionWithItsEvent) {
    constexpr size_t kSessions = 20;
    CPortForwardOp& op = StartUdp(m_server.Port());
    std::vector<CPeer> clients;
    for (size_t n = 0; n < kSessions; ++n) {
        clients.push_back(CPeer::ConnectUdp(PortOf(op)));
        ExpectPasses(clients.back(), "x");
    }
    EXPECT_THAT(WaitForEvents(kSessions), Each(kAccepted));
    ExpectStopped(op);
    const auto events = Events();
    EXPECT_EQ(std::count(events.begin(), events.end(), kEnded), static_cast<ptrdiff_t>(kSessions));
}

TEST_F(UdpPath, AThreadOrBlockThatCannotBeHadGivesTheSessionUp) {
    CPortForwardOp& op = StartUdp(m_server.Port());
    const auto expectGivenUp = [&](const char* pszEvent) {
        const size_t nBefore = Log().size();
        CPeer client = CPeer::ConnectUdp(PortOf(op));
        client.Send("first");
        const auto events = WaitForEvents(nBefore + 2);
        ASSERT_EQ(events.size(), nBefore + 2);
        EXPECT_EQ(events[nBefore], kAccepted);
        EXPECT_EQ(events[nBefore + 1], pszEvent);
        EXPECT_EQ(m_server.Datagram(), "first") << "it left before the relay was needed";
        ExpectIdle(op, 1);
        EXPECT_EQ(FirstSession(op), nullptr);
    };
    FailThreadStartsAfter(0);
    expectGivenUp(kTooManyThreads);
    FailThreadStartsAfter(1);
    expectGivenUp(kTooManyThreads);
    FailThreadStartsAfter(-1);
    FailNextAllocationOf(sizeof(UdpTimerParams));
    expectGivenUp(kAllocationFault);
    FailNextAllocationOf(sizeof(UdpRelayParams));
    CPeer client = CPeer::ConnectUdp(PortOf(op));
    client.Send("x");
    EXPECT_EQ(WaitForEvents(7).back(), kAllocationFault);
    ExpectEchoed(client, "works again");
}
