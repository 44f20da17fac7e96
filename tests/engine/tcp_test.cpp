#include <thread>

#include "tests/engine/engine_fixture.h"

TEST_F(EngineTest, TcpCarriesBytesUnchangedBothWaysAndCountsThem) {
    CPortForwardOp& op = Start(kProtocolTcp);  // ahead of a change of the language
    TextTable texts;
    texts.SetText(143, "changed");
    m_strings.Replace(std::move(texts));
    CPeer client = ClientOf(op);
    CPeer far = m_tcp.Accept();
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
    EXPECT_EQ(Log(1), Lines{"changed|TCP|127.0.0.1|" + std::to_string(client.Port())});
}

TEST_F(EngineTest, TheEndOfOneDirectionEndsATcpSession) {
    CPortForwardOp& op = Start(kProtocolTcp);
    for (const auto& [bClient, bHalf, strLast] : {std::tuple<bool, bool, std::string>{true, false, "last words"},
                                                  {true, true, "last words"},
                                                  {false, false, "last words"},
                                                  {false, true, "last words"},
                                                  {true, false, ""},
                                                  {false, true, ""}}) {
        SCOPED_TRACE((bClient ? "client " : "server ") + strLast + (bHalf ? " half" : ""));
        CPeer client = ClientOf(op);
        CPeer far = m_tcp.Accept();
        EXPECT_EQ(Events(1), Lines{"accepted"});
        CPeer& first = bClient ? client : far;
        first.Send(strLast);
        bHalf ? first.m_hSocket.ShutdownSend() : first.m_hSocket.Close();
        EXPECT_EQ((bClient ? far : client).Read(100), strLast);
        EXPECT_TRUE(!bHalf || first.IsClosedByPeer());
        ExpectIdle(op);
        EXPECT_EQ(Events(1), Lines{"ended"});
    }
    EXPECT_EQ(op.m_nTotalSessions, 6);
    EXPECT_EQ(op.m_dBytesFromClient, 20);
    EXPECT_EQ(op.m_dBytesFromServer, 20);
}

TEST_F(EngineTest, StopEndsASessionWhoseClientReadsNothing) {
    CPortForwardOp& op = Start(kProtocolTcp);
    const CPeer client = ClientOf(op);
    CPeer far = m_tcp.Accept();
    std::thread flood([&far] {
        const std::string strBytes(100'000, 'x');
        while (far.m_hSocket.Send(strBytes.data(), strBytes.size()).nBytes > 0) {
        }
    });
    // The relay is blocked in send once nothing moves any more.
    EXPECT_TRUE(WaitFor([&] {
        const double dBefore = op.m_dBytesFromServer;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return dBefore > 0 && dBefore == op.m_dBytesFromServer;
    }));
    ExpectStopped(op);
    flood.join();
    EXPECT_EQ(Events(), (Lines{"accepted", "ended"}));
}

TEST_F(EngineTest, StopDuringConnectWaitsForItAndLogsNoAcceptance) {
    // A server that accepts nothing leaves connects hanging once its short queue is full.
    CPeer full = CPeer::Server(SocketKind::Tcp, 0, 0);
    CPortForwardOp& op = Start(kProtocolTcp, [&](auto& settings) { settings.m_wRemotePort = full.Port(); });
    std::vector<CPeer> clients;
    const auto hangs = [&] {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (m_counters.nPendingSetups > 0 && std::chrono::steady_clock::now() < end) std::this_thread::yield();
        return m_counters.nPendingSetups > 0;
    };
    do {
        const int32_t nBefore = op.m_nTotalSessions;
        clients.push_back(ClientOf(op));
        EXPECT_TRUE(WaitFor([&] { return m_counters.nPendingSetups > 0 || op.m_nTotalSessions > nBefore; }));
    } while (!hangs() && clients.size() < 50);
    ASSERT_GT(m_counters.nPendingSetups, 0);
    const size_t nOpen = clients.size() - 1;
    EXPECT_EQ(Events(nOpen), Lines(nOpen, "accepted"));
    std::thread stop([&op] { op.Stop(); });
    EXPECT_EQ(Events(nOpen), Lines(nOpen, "ended"));
    EXPECT_GT(op.m_nThreads, 0) << "the connect in progress holds the stop up";
    std::vector<CPeer> accepted;
    for (size_t n = 0; n <= nOpen; ++n) accepted.push_back(full.Accept());
    stop.join();
    EXPECT_EQ(op.m_nTotalSessions, static_cast<int32_t>(nOpen + 1));
    EXPECT_EQ(Events(), Lines{"ended"});
    EXPECT_TRUE(clients.back().IsClosedByPeer());
}
