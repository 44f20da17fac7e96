#include <gtest/gtest.h>

#include "engine/session_event.h"
#include "platform/threads/threads_testing.h"
#include "tests/engine/engine_fixture.h"
#include "tests/support/failing_new.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

class TcpPath : public EngineTest {
  protected:
    ~TcpPath() override { FailNextAllocationOf(0); }

    void ExpectRefused(CPortForwardOp& op, const char* pszEvent) {
        const size_t nBefore = Log().size();
        EXPECT_TRUE(CPeer::ConnectTcp(PortOf(op)).IsClosedByPeer());
        const auto events = WaitForEvents(nBefore + 1);
        ASSERT_EQ(events.size(), nBefore + 1);
        EXPECT_EQ(events.back(), pszEvent);
        EXPECT_TRUE(WaitFor([&] { return op.m_nThreads == 1 && m_counters.nPendingSetups == 0; }));
    }
    void ExpectForwards(CPortForwardOp& op) {
        CPeer client = CPeer::ConnectTcp(PortOf(op));
        CPeer far = m_server.Accept();
        client.Send("ping");
        EXPECT_EQ(far.Read(4), "ping");
        far.Send("pong!");
        EXPECT_EQ(client.Read(5), "pong!");
    }

    CServer m_server;
};

}  // namespace

TEST_F(TcpPath, CarriesBytesUnchangedBothWaysAndCountsThem) {
    CPortForwardOp& op = StartTcp(m_server.Port());
    CPeer client = CPeer::ConnectTcp(PortOf(op));
    CPeer far = m_server.Accept();
    std::string strBytes(300'000, '\0');
    for (size_t n = 0; n < strBytes.size(); ++n) strBytes[n] = static_cast<char>(n * n % 251);
    std::thread sender([&] { client.Send(strBytes); });
    EXPECT_EQ(far.Read(strBytes.size()), strBytes);
    sender.join();
    far.Send("answer");
    EXPECT_EQ(client.Read(6), "answer");
    EXPECT_EQ(op.m_dBytesFromClient, 300'000);
    EXPECT_EQ(op.m_dBytesFromServer, 6);
    EXPECT_EQ(op.m_nThreads, 3);
    EXPECT_EQ(m_counters.nThreads, 3);
    EXPECT_THAT(Log(), ElementsAre("Session accepted|TCP|127.0.0.1|" + std::to_string(client.Port())));
}

TEST_F(TcpPath, TheSessionLimitClosesOneClientMoreAndLetsTheNextInAgain) {
    CPortForwardOp& op = MakeOp(kProtocolTcp, m_server.Port());
    op.m_settings.m_nMaxSessions = 1;
    ASSERT_TRUE(op.Start());
    {
        const CPeer client = CPeer::ConnectTcp(PortOf(op));
        WaitForEvents(1);
        EXPECT_TRUE(CPeer::ConnectTcp(PortOf(op)).IsClosedByPeer());
        EXPECT_THAT(WaitForEvents(2), ElementsAre(kAccepted, kTooManySessions));
    }
    ExpectIdle(op, 1);
    const CPeer third = CPeer::ConnectTcp(PortOf(op));
    EXPECT_EQ(WaitForEvents(4).back(), kAccepted);
    EXPECT_EQ(op.m_nTotalSessions, 2);
}

TEST_F(TcpPath, TheLimitsOfThreadsAndSetupsAreExact) {
    CPortForwardOp& op = StartTcp(m_server.Port());
    const auto admitted = [&] {
        const size_t nBefore = Log().size();
        const CPeer client = CPeer::ConnectTcp(PortOf(op));
        return WaitForEvents(nBefore + 1)[nBefore];
    };
    m_counters.nPendingSetups += 256;
    EXPECT_EQ(admitted(), kTooManyThreads);
    m_counters.nPendingSetups -= 1;
    EXPECT_EQ(admitted(), kAccepted);
    m_counters.nPendingSetups -= 255;
    ExpectIdle(op, 1);
    const int32_t nOthers = 1499;  // and the listener itself
    m_counters.nThreads += nOthers;
    EXPECT_EQ(admitted(), kTooManyThreads);
    m_counters.nThreads -= 1;
    EXPECT_EQ(admitted(), kAccepted);
    ExpectIdle(op, 1);
    m_counters.nThreads -= nOthers - 1;
}

TEST_F(TcpPath, FiltersAreAskedOnlyWhenTheyAreOn) {
    CPortForwardOp& op = MakeOp(kProtocolTcp, m_server.Port());
    op.m_settings.m_blockRanges = {{Loopback().dwIp, Loopback().dwIp}};
    ASSERT_TRUE(op.Start());
    ExpectForwards(op);
    ExpectStopped(op);
    op.m_settings.m_bFiltersEnabled = 1;
    ASSERT_TRUE(op.Start());
    ExpectRefused(op, kBadIp);
    ExpectRefused(op, kBadIp);
    m_bSuppressBlocked = 1;
    const size_t nLogged = Log().size();
    EXPECT_TRUE(CPeer::ConnectTcp(PortOf(op)).IsClosedByPeer());
    m_bSuppressBlocked = 0;
    m_bLoggingEnabled = 0;
    EXPECT_TRUE(CPeer::ConnectTcp(PortOf(op)).IsClosedByPeer());
    ExpectStopped(op);
    EXPECT_EQ(Log().size(), nLogged);
    EXPECT_EQ(op.m_nTotalSessions, 0);
}

TEST_F(TcpPath, BounceAndABlankHostConnectToTheClientItself) {
    CPortForwardOp& bounce = MakeOp(kProtocolTcp, m_server.Port());
    bounce.m_settings.m_bBounce = 1;
    bounce.m_settings.m_strRemoteHost = "no-such-host.invalid";
    CPortForwardOp& blank = MakeOp(kProtocolTcp, m_server.Port());
    blank.m_settings.m_strRemoteHost = " \t";
    m_logFormat.Set("%G%E|%RHost");
    ASSERT_TRUE(bounce.Start());
    ASSERT_TRUE(blank.Start());
    ExpectForwards(bounce);
    ExpectIdle(bounce, 1);
    ExpectForwards(blank);
    ExpectIdle(blank, 1);
    EXPECT_THAT(Log(), UnorderedElementsAre("Session accepted|~\\_Client_/~", "Session ended|~\\_Client_/~",
                                            "Session accepted| \t", "Session ended| \t"));
}

TEST_F(TcpPath, AThreadThatCannotBeCreatedGivesOneEventAndNothingIsLeft) {
    CPortForwardOp& op = StartTcp(m_server.Port());
    for (int32_t nPass = 0; nPass < 2; ++nPass) {  // the set-up, the client's relay
        FailThreadStartsAfter(nPass);
        ExpectRefused(op, kTooManyThreads);
        FailThreadStartsAfter(-1);
        ExpectIdle(op, 1);
        EXPECT_EQ(op.m_nTotalSessions, 0);
        if (nPass > 0) {
            EXPECT_TRUE(m_server.Accept().IsClosedByPeer());
        }
    }
    ExpectForwards(op);
}

TEST_F(TcpPath, AnAllocationThatFailsGivesOneEventAndNothingIsLeft) {
    CPortForwardOp& op = StartTcp(m_server.Port());
    FailNextAllocationOf(sizeof(TcpSessionRequest));
    ExpectRefused(op, kAllocationFault);
    FailNextAllocationOf(sizeof(TcpRelayParams));
    ExpectRefused(op, kAllocationFault);
    EXPECT_TRUE(m_server.Accept().IsClosedByPeer());
    ExpectForwards(op);
    ExpectIdle(op, 1);
    FailNextAllocationOf(sizeof(LogEntry));
    RaiseSessionEvent(op, SessionEventSlot::BadIp, Loopback(1));
    EXPECT_THAT(Events(), UnorderedElementsAre(kAllocationFault, kAllocationFault, kAccepted, kEnded))
        << "without memory";
}

TEST_F(TcpPath, ALanguageChangeReachesTheNextEvent) {
    CPortForwardOp& op = StartTcp(m_server.Port());
    TextTable texts;
    texts.SetText(143, "Sitzung angenommen");
    m_strings.Replace(std::move(texts));
    const CPeer client = CPeer::ConnectTcp(PortOf(op));
    EXPECT_THAT(WaitForEvents(1), ElementsAre("Sitzung angenommen"));
}
