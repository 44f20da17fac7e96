// What the two protocols have in common: who is let in, where to, and what a shortage or a stop leaves.
#include "engine/session_event.h"
#include "platform/net/carry.h"
#include "tests/engine/engine_fixture.h"
#include "tests/support/failing_new.h"

namespace {

class Path : public EngineTest, public testing::WithParamInterface<int32_t> {
  protected:
    static bool IsUdp() { return GetParam() == kProtocolUdp; }
    CPortForwardOp& StartPath(const Edit& edit = {}) { return Start(GetParam(), edit); }
    // A new client, which makes these events. The server's end of a TCP session goes to m_fars.
    CPeer Visit(CPortForwardOp& op, const Lines& events) {
        CPeer client = ClientOf(op);
        if (IsUdp()) client.Send("x");
        const Lines seen = Events(events.size());
        EXPECT_EQ(seen, events);
        if (seen != Lines{"accepted"}) {
            EXPECT_TRUE(IsUdp() || client.IsClosedByPeer());
        } else if (IsUdp()) {
            EXPECT_EQ(m_udp.Datagram(), "x");
        } else {
            m_fars.push_back(m_tcp.Accept());
        }
        return client;
    }

    std::vector<CPeer> m_fars;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(TcpUdp, Path, testing::Values(kProtocolTcp, kProtocolUdp));

TEST_P(Path, TheSessionLimitRefusesNewClientsOnly) {
    CPortForwardOp& op = StartPath([](auto& settings) { settings.m_nMaxSessions = 1; });
    CPeer known = Visit(op, {"accepted"});
    Visit(op, {"sessions"});
    Visit(op, {"sessions"});
    EXPECT_EQ(op.m_nTotalSessions, 1);
    if (IsUdp()) {
        ExpectEchoed(known, "in");
        EXPECT_EQ(op.m_dBytesFromClient, 1 + 2 + 2) << "refused datagrams of new clients count";
    } else {
        known.m_hSocket.Close();
        EXPECT_EQ(Events(1), Lines{"ended"});
        ExpectIdle(op);
        Visit(op, {"accepted"});
    }
}

TEST_P(Path, TheLimitsOfThreadsAndSetupsAreExact) {
    const struct {
        int32_t nThreads, nSetups;  // beside the listener
        const char* pszEvent;
    } cases[] = {{1498, 0, "accepted"}, {1499, 0, "threads"}, {1508, 10, "accepted"},
                 {1509, 10, "threads"}, {0, 255, "accepted"}, {0, 256, IsUdp() ? "accepted" : "threads"}};
    for (const auto& [nThreads, nSetups, pszEvent] : cases) {
        SCOPED_TRACE(std::to_string(nThreads) + " threads, " + std::to_string(nSetups) + " set-ups");
        CPortForwardOp& op = StartPath();
        m_counters.nThreads += nThreads;
        m_counters.nPendingSetups += nSetups;
        Visit(op, {pszEvent});
        m_counters.nThreads -= nThreads;
        m_counters.nPendingSetups -= nSetups;
        ExpectStopped(op);
        Events();
    }
}

TEST_P(Path, FiltersAreAskedOnlyWhenTheyAreOn) {
    CPortForwardOp& op = StartPath([](auto& settings) {
        settings.m_blockRanges = {{Loopback().dwIp, Loopback().dwIp}};
    });
    Visit(op, {"accepted"});
    ExpectStopped(op);
    Events();
    op.m_settings.m_bFiltersEnabled = 1;
    ASSERT_TRUE(op.Start());
    Visit(op, {"bad IP"});
    Visit(op, {"bad IP"});
    for (const bool bLogging : {true, false}) {
        m_bLoggingEnabled = m_bSuppressBlocked = bLogging;
        ASSERT_TRUE(op.Start());
        Visit(op, {});
        ExpectStopped(op);
        EXPECT_EQ(Events(), Lines());
        EXPECT_EQ(op.m_nTotalSessions, 0);
        EXPECT_EQ(op.m_dBytesFromClient, 0);
    }
}

TEST_P(Path, EachTargetIsReachedOrTheClientRefused) {
    m_logFormat.Set("%G%E|%RHost");
    const struct {
        bool bBounce;
        std::string strHost, strShown;
    } cases[] = {{true, "no-such-host.invalid", "the client"}, {false, "", ""}, {false, " \t", " \t"}};
    for (const auto& test : cases) {
        CPortForwardOp& op = StartPath([&](auto& settings) {
            settings.m_bBounce = test.bBounce ? 1 : 0;
            settings.m_strRemoteHost = test.strHost;
        });
        ExpectForwards(op);
        ExpectStopped(op);
        EXPECT_EQ(Log(), (Lines{"accepted|" + test.strShown, "ended|" + test.strShown}));
    }
    CPortForwardOp& unresolved = StartPath([](auto& settings) { settings.m_strRemoteHost = "no-such-host.invalid"; });
    CPortForwardOp& closed =
        StartPath([](auto& settings) { settings.m_wRemotePort = CPeer::Server(SocketKind::Tcp).Port(); });
    Visit(unresolved, {"unresolved"});
    Visit(unresolved, {"unresolved"});
    if (!IsUdp()) Visit(closed, {"no connection"});
    for (const CPortForwardOp* pOp : {&unresolved, &closed}) {
        ExpectIdle(*pOp);
        EXPECT_EQ(pOp->m_nTotalSessions, 0);
        EXPECT_EQ(pOp->m_bRunning, 1);
    }
}

TEST_P(Path, StopEndsEverySessionWithItsEvent) {
    constexpr int32_t kSessions = 20;
    CPortForwardOp& op = StartPath();
    std::vector<CPeer> clients;
    for (int32_t n = 0; n < kSessions; ++n) clients.push_back(Visit(op, {"accepted"}));
    EXPECT_EQ(op.m_nSessions, kSessions);
    EXPECT_EQ(m_counters.nSessions, kSessions);
    ExpectStopped(op);
    EXPECT_EQ(op.m_nTotalSessions, kSessions);
    EXPECT_EQ(Events(), Lines(kSessions, "ended"));
    for (CPeer& far : m_fars) EXPECT_TRUE(far.IsClosedByPeer());
    for (CPeer& client : clients) EXPECT_TRUE(IsUdp() || client.IsClosedByPeer());
}

TEST_P(Path, AThreadOrBlockThatCannotBeHadGivesTheSessionUp) {
    CPortForwardOp& op = StartPath();
    // A second thread of the system is needed from the beginning only where one cannot serve both connections.
    const bool bRelayNeedsNothing = !IsUdp() && kOneThreadCarriesBoth;
    struct Shortage {
        int32_t nThreadStarts;
        size_t nAllocation;
        Lines events;
    };
    const Lines noMemory = {"allocation"};
    std::vector<Shortage> cases = {{0, 0, {"threads"}},
                                   {1, 0, {"threads"}},
                                   {-1, sizeof(TcpRelayParams), noMemory},
                                   {-1, sizeof(TcpSessionRequest), noMemory}};
    if (IsUdp()) cases = {{0, sizeof(UdpSession), noMemory}};
    for (const auto& test : cases) {
        if (bRelayNeedsNothing && (test.nThreadStarts == 1 || test.nAllocation == sizeof(TcpRelayParams))) continue;
        SCOPED_TRACE(std::to_string(test.nThreadStarts) + ", " + std::to_string(test.nAllocation));
        FailThreadStartsAfter(test.nThreadStarts);
        FailNextAllocationOf(test.nAllocation);
        Visit(op, test.events);
        FailThreadStartsAfter(-1);
        FailNextAllocationOf(0);
        ExpectIdle(op);
    }
    EXPECT_EQ(op.m_nTotalSessions, 0);
    for (int n = 0; n < 2 && !IsUdp() && !bRelayNeedsNothing; ++n) EXPECT_TRUE(m_tcp.Accept().IsClosedByPeer());
    ExpectForwards(op);
    ExpectStopped(op);
    EXPECT_EQ(Events(), (Lines{"accepted", "ended"}));
    FailNextAllocationOf(sizeof(LogEntry));
    RaiseSessionEvent(op, SessionEventSlot::BadIp, Loopback(1));
    EXPECT_EQ(Events(), Lines()) << "without memory";
}
