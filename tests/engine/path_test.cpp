// What the two protocols have in common: who is let in, where to, and what a shortage or a stop leaves.
#include "engine/session_event.h"
#include "tests/engine/engine_fixture.h"
#include "tests/support/failing_new.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

class Path : public EngineTest, public testing::WithParamInterface<int32_t> {
  protected:
    ~Path() override { FailNextAllocationOf(0); }
    static bool IsUdp() { return GetParam() == kProtocolUdp; }
    CPortForwardOp& StartPath(const Edit& edit = {}) { return Start(GetParam(), edit); }

    static CPeer Visit(CPortForwardOp& op) {
        CPeer client = ClientOf(op);
        if (IsUdp()) client.Send("x");
        return client;
    }
    // The server's end of a TCP session goes to m_fars.
    CPeer ExpectAccepted(CPortForwardOp& op) {
        CPeer client = Visit(op);
        EXPECT_THAT(Events(1), ElementsAre(kAccepted));
        if (IsUdp()) {
            EXPECT_EQ(m_udp.Datagram(), "x");
        } else {
            m_fars.push_back(m_tcp.Accept());
        }
        return client;
    }
    void ExpectRefused(CPortForwardOp& op, const std::vector<std::string>& events) {
        CPeer client = Visit(op);
        const auto seen = Events(events.size());
        EXPECT_THAT(seen, ElementsAreArray(events));
        EXPECT_TRUE(IsUdp() || client.IsClosedByPeer());
    }

    std::vector<CPeer> m_fars;
};

std::string ProtocolName(const testing::TestParamInfo<int32_t>& info) {
    return ProtocolText(info.param);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Both, Path, testing::Values(kProtocolTcp, kProtocolUdp), ProtocolName);

TEST_P(Path, TheSessionLimitRefusesNewClientsOnly) {
    CPortForwardOp& op = StartPath([](OpSettings& settings) { settings.m_nMaxSessions = 1; });
    {
        CPeer known = ExpectAccepted(op);
        ExpectRefused(op, {kTooManySessions});
        ExpectRefused(op, {kTooManySessions});
        EXPECT_EQ(op.m_nTotalSessions, 1);
        if (IsUdp()) {
            ExpectEchoed(known, "in");
            EXPECT_EQ(op.m_dBytesFromClient, 1 + 2 + 2) << "refused datagrams of new clients count";
            return;
        }
    }
    EXPECT_THAT(Events(1), ElementsAre(kEnded));
    ExpectIdle(op);
    ExpectAccepted(op);
}

TEST_P(Path, TheLimitsOfThreadsAndSetupsAreExact) {
    const auto* pszMany = IsUdp() ? kAccepted : kTooManyThreads;
    for (const auto& [nThreads, nSetups, pszEvent] :  // beside the listener
         {std::tuple{1498, 0, kAccepted},
          {1499, 0, kTooManyThreads},
          {1508, 10, kAccepted},
          {1509, 10, kTooManyThreads},
          {0, 255, kAccepted},
          {0, 256, pszMany}}) {
        SCOPED_TRACE(std::to_string(nThreads) + " threads, " + std::to_string(nSetups) + " set-ups");
        CPortForwardOp& op = StartPath();
        m_counters.nThreads += nThreads;
        m_counters.nPendingSetups += nSetups;
        const CPeer client = Visit(op);
        EXPECT_THAT(Events(1), ElementsAre(pszEvent));
        m_counters.nThreads -= nThreads;
        m_counters.nPendingSetups -= nSetups;
        ExpectStopped(op);
        Events();
    }
}

TEST_P(Path, FiltersAreAskedOnlyWhenTheyAreOn) {
    CPortForwardOp& op = StartPath([](OpSettings& settings) {
        settings.m_blockRanges = {{Loopback().dwIp, Loopback().dwIp}};
    });
    ExpectAccepted(op);
    ExpectStopped(op);
    Events();
    op.m_settings.m_bFiltersEnabled = 1;
    ASSERT_TRUE(op.Start());
    ExpectRefused(op, {kBadIp});
    ExpectRefused(op, {kBadIp});
    for (const bool bLogging : {true, false}) {
        m_bLoggingEnabled = bLogging;
        m_bSuppressBlocked = bLogging;
        ASSERT_TRUE(op.Start());
        CPeer client = Visit(op);
        EXPECT_TRUE(IsUdp() || client.IsClosedByPeer());
        ExpectStopped(op);
        EXPECT_THAT(Events(), IsEmpty());
        EXPECT_EQ(op.m_nTotalSessions, 0);
        EXPECT_EQ(op.m_dBytesFromClient, 0);
    }
}

TEST_P(Path, EachTargetIsReachedOrTheClientRefused) {
    m_logFormat.Set("%G%E|%RHost");
    const auto start = [this](const char* pszHost, bool bBounce = false) -> CPortForwardOp& {
        return StartPath([&](OpSettings& settings) {
            settings.m_strRemoteHost = pszHost;
            settings.m_bBounce = bBounce ? 1 : 0;
        });
    };
    for (const auto& [pszHost, bBounce, pszShown] :
         {std::tuple{"no-such-host.invalid", true, "~\\_Client_/~"}, {"", false, ""}, {" \t", false, " \t"}}) {
        CPortForwardOp& op = start(pszHost, bBounce);
        ExpectForwards(op);
        ExpectStopped(op);
        EXPECT_THAT(Log(),
                    ElementsAre(std::string("Session accepted|") + pszShown, std::string("Session ended|") + pszShown));
    }
    CPortForwardOp& unresolved = start("no-such-host.invalid");
    ExpectRefused(unresolved, {kUnresolved});
    Visit(unresolved);
    EXPECT_THAT(Log(1), ElementsAre(std::string(kUnresolved) + "|no-such-host.invalid")) << "each client is told of";
    ExpectIdle(unresolved);
    EXPECT_EQ(unresolved.m_nTotalSessions, 0);
    EXPECT_EQ(unresolved.m_bRunning, 1);
}

TEST_P(Path, StopEndsEverySessionWithItsEvent) {
    constexpr int32_t kSessions = 20;
    CPortForwardOp& op = StartPath();
    std::vector<CPeer> clients;
    for (int32_t n = 0; n < kSessions; ++n) clients.push_back(ExpectAccepted(op));
    EXPECT_EQ(op.m_nSessions, kSessions);
    EXPECT_EQ(m_counters.nSessions, kSessions);
    ExpectStopped(op);
    EXPECT_EQ(op.m_nTotalSessions, kSessions);
    EXPECT_THAT(Events(), ElementsAreArray(std::vector<std::string>(kSessions, kEnded)));
    for (CPeer& far : m_fars) EXPECT_TRUE(far.IsClosedByPeer());
    for (CPeer& client : clients) EXPECT_TRUE(IsUdp() || client.IsClosedByPeer());
}

TEST_P(Path, AThreadOrBlockThatCannotBeHadGivesTheSessionUp) {
    CPortForwardOp& op = StartPath();
    const auto expectGivenUp = [&](int32_t nThreadStarts, size_t nAllocation, const std::vector<std::string>& events) {
        SCOPED_TRACE(std::to_string(nThreadStarts) + ", " + std::to_string(nAllocation));
        FailThreadStartsAfter(nThreadStarts);
        FailNextAllocationOf(nAllocation);
        ExpectRefused(op, events);
        FailThreadStartsAfter(-1);
        ExpectIdle(op);
    };
    if (IsUdp()) {
        expectGivenUp(0, 0, {kAccepted, kTooManyThreads});
        expectGivenUp(1, 0, {kAccepted, kTooManyThreads});
        expectGivenUp(-1, sizeof(UdpTimerParams), {kAccepted, kAllocationFault});
        expectGivenUp(-1, sizeof(UdpRelayParams), {kAllocationFault});
        for (int n = 0; n < 3; ++n) EXPECT_EQ(m_udp.Datagram(), "x") << "it left before the relay was needed";
    } else {
        expectGivenUp(0, 0, {kTooManyThreads});
        expectGivenUp(1, 0, {kTooManyThreads});
        expectGivenUp(-1, sizeof(TcpSessionRequest), {kAllocationFault});
        expectGivenUp(-1, sizeof(TcpRelayParams), {kAllocationFault});
        EXPECT_EQ(op.m_nTotalSessions, 0);
        for (int n = 0; n < 2; ++n) EXPECT_TRUE(m_tcp.Accept().IsClosedByPeer());
    }
    ExpectForwards(op);
    ExpectStopped(op);
    EXPECT_THAT(Events(), ElementsAre(kAccepted, kEnded));
    FailNextAllocationOf(sizeof(LogEntry));
    RaiseSessionEvent(op, SessionEventSlot::BadIp, Loopback(1));
    EXPECT_THAT(Events(), IsEmpty()) << "without memory";
}
