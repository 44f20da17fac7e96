#include <gtest/gtest.h>

#include <thread>

#include "tests/engine/engine_fixture.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

// One session, open on both sides.
class TcpSessionEnd : public EngineTest {
  protected:
    void Open() {
        m_client = CPeer::ConnectTcp(PortOf(m_op));
        m_far = m_server.Accept();
        WaitForEvents(1);
        EXPECT_EQ(m_op.m_nSessions, 1);
        EXPECT_EQ(m_counters.nSessions, 1);
        EXPECT_EQ(m_op.m_nTotalSessions, 1);
    }
    void ExpectEndedOnce() {
        EXPECT_THAT(WaitForEvents(2), ElementsAre(kAccepted, kEnded));
        ExpectIdle(m_op, 1);
        EXPECT_THAT(Events(), ElementsAre(kAccepted, kEnded));
    }

    CServer m_server;
    CPortForwardOp& m_op = StartTcp(m_server.Port());
    CPeer m_client;
    CPeer m_far;
};

}  // namespace

TEST_F(TcpSessionEnd, ServerCloses) {
    Open();
    m_far.Send("last words");
    m_far.m_hSocket.Close();
    EXPECT_EQ(m_client.Read(100), "last words");
    ExpectEndedOnce();
}

TEST_F(TcpSessionEnd, ClientClosesWithoutAByte) {
    Open();
    m_client.m_hSocket.Close();
    EXPECT_TRUE(m_far.IsClosedByPeer());
    ExpectEndedOnce();
    EXPECT_EQ(m_op.m_dBytesFromClient, 0);
    EXPECT_EQ(m_op.m_dBytesFromServer, 0);
}

TEST_F(TcpSessionEnd, HalfCloseOfTheClientEndsBothDirections) {
    Open();
    m_client.Send("request");
    m_client.m_hSocket.ShutdownSend();
    EXPECT_EQ(m_far.Read(100), "request");
    ExpectEndedOnce();
    EXPECT_TRUE(m_client.IsClosedByPeer());
}

TEST_F(TcpSessionEnd, HalfCloseOfTheServerEndsBothDirections) {
    Open();
    m_far.m_hSocket.ShutdownSend();
    EXPECT_TRUE(m_client.IsClosedByPeer());
    EXPECT_TRUE(m_far.IsClosedByPeer());
    ExpectEndedOnce();
}

TEST_F(TcpSessionEnd, StopWithSessionsOpenEndsEachWithItsEvent) {
    constexpr size_t kSessions = 20;
    std::vector<CPeer> peers;
    for (size_t n = 0; n < kSessions; ++n) {
        peers.push_back(CPeer::ConnectTcp(PortOf(m_op)));
        peers.push_back(m_server.Accept());
    }
    WaitForEvents(kSessions);
    EXPECT_EQ(m_op.m_nSessions, static_cast<int32_t>(kSessions));
    ExpectStopped(m_op);
    EXPECT_EQ(m_op.m_nTotalSessions, static_cast<int32_t>(kSessions));
    for (CPeer& peer : peers) EXPECT_TRUE(peer.IsClosedByPeer());
    const auto events = Events();
    EXPECT_EQ(std::count(events.begin(), events.end(), kEnded), static_cast<ptrdiff_t>(kSessions));
    EXPECT_EQ(events.size(), 2 * kSessions);
}

TEST_F(TcpSessionEnd, StopEndsASessionWhoseClientReadsNothing) {
    Open();
    std::thread flood([this] {
        const std::string strBytes(100'000, 'x');
        while (m_far.m_hSocket.Send(strBytes.data(), strBytes.size()).nBytes > 0) {
        }
    });
    // The relay is blocked in send once nothing moves any more.
    double dLast = -1;
    EXPECT_TRUE(WaitFor([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const double dNow = m_op.m_dBytesFromServer;
        const bool bStands = dNow > 0 && dNow == dLast;
        dLast = dNow;
        return bStands;
    }));
    ExpectStopped(m_op);
    flood.join();
    EXPECT_THAT(Events(), ElementsAre(kAccepted, kEnded));
}

TEST_F(TcpSessionEnd, StopDuringConnectWaitsForItAndLogsNoAcceptance) {
    // A server that accepts nothing leaves connects hanging once its short queue is full.
    CServer full(0);
    CPortForwardOp& op = StartTcp(full.Port());
    std::vector<CPeer> clients;
    const auto hangs = [&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (m_counters.nPendingSetups > 0 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
        return m_counters.nPendingSetups > 0;
    };
    do {
        const int32_t nBefore = op.m_nTotalSessions;
        clients.push_back(CPeer::ConnectTcp(PortOf(op)));
        EXPECT_TRUE(WaitFor([&] { return m_counters.nPendingSetups > 0 || op.m_nTotalSessions > nBefore; }));
    } while (!hangs() && clients.size() < 50);
    ASSERT_GT(m_counters.nPendingSetups, 0);
    const size_t nOpen = clients.size() - 1;
    std::thread stop([&op] {
        op.m_bStopping = 1;
        op.Stop();
    });
    WaitForEvents(2 * nOpen);
    EXPECT_EQ(op.m_bRunning == 0 && op.m_bStopping == 0, false) << "the connect in progress holds the stop up";
    std::vector<CPeer> accepted;
    for (size_t n = 0; n <= nOpen; ++n) accepted.push_back(full.Accept());
    stop.join();
    EXPECT_EQ(op.m_nTotalSessions, static_cast<int32_t>(nOpen + 1));
    const auto events = Events();
    EXPECT_EQ(std::count(events.begin(), events.end(), kAccepted), static_cast<ptrdiff_t>(nOpen));
    EXPECT_EQ(std::count(events.begin(), events.end(), kEnded), static_cast<ptrdiff_t>(nOpen + 1));
    EXPECT_TRUE(clients.back().IsClosedByPeer());
}

TEST_F(TcpSessionEnd, RefusedAndUnresolvableTargetsRaiseOneEventEach) {
    uint16_t wClosed = 0;
    {
        const CServer gone;
        wClosed = gone.Port();
    }
    CPortForwardOp& refused = StartTcp(wClosed);
    CPortForwardOp& unresolved = MakeOp(kProtocolTcp, 1);
    unresolved.m_settings.m_strRemoteHost = "no-such-host.invalid";
    ASSERT_TRUE(unresolved.Start());
    EXPECT_TRUE(CPeer::ConnectTcp(PortOf(refused)).IsClosedByPeer());
    EXPECT_TRUE(CPeer::ConnectTcp(PortOf(unresolved)).IsClosedByPeer());
    EXPECT_TRUE(CPeer::ConnectTcp(PortOf(unresolved)).IsClosedByPeer());
    EXPECT_THAT(WaitForEvents(3), UnorderedElementsAre(kNoConnection, kUnresolved, kUnresolved));
    for (const CPortForwardOp* pOp : {&refused, &unresolved}) {
        ExpectIdle(*pOp, 1);
        EXPECT_EQ(pOp->m_nTotalSessions, 0);
        EXPECT_EQ(pOp->m_bRunning, 1);
    }
}
