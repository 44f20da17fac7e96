#include <algorithm>
#include <atomic>
#include <thread>

#include "engine/host_lookup_testing.h"
#include "platform/net/carry.h"
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

TEST_F(EngineTest, StopInterruptsAConnectAndWaitsForNoOtherOperation) {
    // A server that accepts nothing leaves connects hanging once its short queue is full.
    CPeer full = CPeer::Server(SocketKind::Tcp, 0, 0);
    const auto toFull = [&](auto& settings) { settings.m_wRemotePort = full.Port(); };
    CPortForwardOp& op = Start(kProtocolTcp, toFull);
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
    CPortForwardOp& other = Start(kProtocolTcp, toFull);
    clients.push_back(ClientOf(other));
    EXPECT_TRUE(WaitFor([&] { return m_counters.nPendingSetups == 2; }));
    ExpectStopped(other);
    EXPECT_EQ(Events(), Lines{"no connection"});
    ExpectStopped(op);
    EXPECT_EQ(op.m_nTotalSessions, static_cast<int32_t>(nOpen));
    auto lines = Events();
    std::ranges::sort(lines);
    Lines expected(nOpen, "ended");
    expected.emplace_back("no connection");
    EXPECT_EQ(lines, expected);
    for (CPeer& client : clients) EXPECT_TRUE(client.IsClosedByPeer());
}

TEST_F(EngineTest, StopWaitsForNoResolver) {
    CPortForwardOp& op = Start(kProtocolTcp, [](auto& settings) { settings.m_strRemoteHost = "localhost"; });
    HoldNextLookups(1);
    CPeer client = ClientOf(op);
    EXPECT_TRUE(WaitFor([&] { return m_counters.nPendingSetups == 1; }));
    ExpectStopped(op);
    EXPECT_EQ(Events(), Lines{"unresolved"});
    EXPECT_TRUE(client.IsClosedByPeer());
    HoldNextLookups(-1);
}

// Each side in turn sends much and closes while the other one goes on sending: every byte arrives, then an orderly end.
TEST_F(EngineTest, WhatTheClosingSideHadSentArrivesWhileTheOtherSideTalks) {
    constexpr size_t kBytes = 6'000'000;
    CPortForwardOp& op = Start(kProtocolTcp);
    for (const bool bServerCloses : {true, false}) {
        SCOPED_TRACE(bServerCloses);
        CPeer client = ClientOf(op);
        CPeer far = m_tcp.Accept();
        CPeer& closing = bServerCloses ? far : client;
        CPeer& talking = bServerCloses ? client : far;
        std::atomic<bool> bEnd = false;
        std::thread talk([&] {
            while (!bEnd && talking.m_hSocket.Send("talk", 4).nBytes > 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
        std::thread send([&] {
            closing.Send(std::string(kBytes, 'x'));
            closing.m_hSocket.ShutdownSend();
            while (closing.Read(4096).size() == 4096) {
            }
            closing.m_hSocket.Close();
        });
        EXPECT_EQ(talking.Read(kBytes + 1).size(), kBytes);
        bEnd = true;
        talk.join();
        send.join();
        ExpectIdle(op);
    }
}

// A peer that never closes its side keeps nothing of the operation busy, and no longer than a stop.
TEST_F(EngineTest, AStopCutsALingeringCloseShort) {
    CPortForwardOp& op = Start(kProtocolTcp);
    CPeer client = ClientOf(op);
    m_tcp.Accept().Send("last words");
    EXPECT_EQ(client.Read(100), "last words");
    ExpectIdle(op);
    client.Send("still here");
    ExpectStopped(op);
    EXPECT_TRUE(WaitFor([&] { return client.m_hSocket.Send("x", 1).nBytes < 0; })) << "the connection has gone";
}

// Bytes go both ways at once, more than fits into any buffer, and peers wait for each other.
TEST_F(EngineTest, ASessionTurnsBusyInBothDirectionsAtOnce) {
    constexpr size_t kBytes = 20'000'000;
    CPortForwardOp& op = Start(kProtocolTcp);
    CPeer client = ClientOf(op);
    CPeer far = m_tcp.Accept();
    ExpectForwardsBothWays(client, far);
    EXPECT_EQ(op.m_nThreads, 3) << "whatever the system's threads are";
    // Without a second thread one direction at a time is carried on.
    if (kOneThreadCarriesBoth) FailThreadStartsAfter(0);
    std::thread first([&] { client.Send(std::string(kBytes, 'f')); });
    EXPECT_EQ(far.Read(kBytes), std::string(kBytes, 'f'));
    first.join();
    FailThreadStartsAfter(-1);
    std::thread up([&] { client.Send(std::string(kBytes, 'u')); });
    std::thread down([&] { far.Send(std::string(kBytes, 'd')); });
    std::thread read([&] { EXPECT_EQ(far.Read(kBytes), std::string(kBytes, 'u')); });
    EXPECT_EQ(client.Read(kBytes), std::string(kBytes, 'd'));
    for (std::thread* pThread : {&up, &down, &read}) pThread->join();
    EXPECT_EQ(op.m_nThreads, 3);
    client.m_hSocket.Close();
    EXPECT_TRUE(far.IsClosedByPeer());
}
