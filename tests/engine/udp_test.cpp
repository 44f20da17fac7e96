#include <algorithm>
#include <chrono>

#include "engine/host_lookup_testing.h"
#include "tests/engine/engine_fixture.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTimeout(600);

class UdpPath : public EngineTest {
  protected:
    // Sends again and again for longer than two timeouts: the session lives on. (Or this very thread stood still.)
    template <class Send>
    void ExpectKeptAlive(Send send) {
        const auto begin = Clock::now();
        auto last = begin;
        Clock::duration longest{0};
        while (last < begin + 2 * kTimeout) {
            send();
            Sleep(20);
            const auto now = Clock::now();
            longest = std::max(longest, now - last);
            last = now;
        }
        EXPECT_TRUE(m_op.m_nSessions == 1 || longest > kTimeout / 2);
    }

    CPortForwardOp& m_op = Start(kProtocolUdp, [](auto& settings) { settings.m_nUdpTimeoutMs = kTimeout.count(); });
    CPeer m_client = ClientOf(m_op);
};

class UdpLookups : public EngineTest {
  protected:
    ~UdpLookups() override { HoldNextLookups(-1); }
    void StartToward(const std::string& strHost) {
        m_pOp = &Start(kProtocolUdp, [&](auto& settings) {
            settings.m_strRemoteHost = strHost;
            settings.m_nMaxSessions = 2;
        });
    }
    // A client that sends these and waits for its look-up.
    CPeer WaitingClient(const Lines& datagrams) {
        CPeer client = ClientOf(*m_pOp);
        HoldNextLookups(1);
        double dBytes = m_pOp->m_dBytesFromClient;
        for (const std::string& strDatagram : datagrams) {
            client.Send(strDatagram);
            dBytes += static_cast<double>(strDatagram.size());
        }
        EXPECT_TRUE(WaitFor([&] { return m_pOp->m_dBytesFromClient == dBytes; }));
        return client;
    }

    CPortForwardOp* m_pOp = nullptr;
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
    const auto begin = Clock::now();
    ExpectPasses(m_client, "x");
    const Endpoint session = m_udp.m_last;
    EXPECT_EQ(Events(2), (Lines{"accepted", "ended"}));
    EXPECT_GE(Clock::now() - begin, kTimeout);
    ExpectIdle(m_op);
    ExpectPasses(m_client, "again");
    EXPECT_NE(m_udp.m_last, session) << "a new session";
    ExpectKeptAlive([&] { m_udp.Reply("a reply alone"); });
    ExpectKeptAlive([&] { m_client.Send("a datagram alone"); });
}

TEST_F(UdpPath, AnEmptyReplyIsTheLastOne) {
    ExpectPasses(m_client, "x");
    m_udp.Reply("");
    m_udp.Reply("unheard");
    ExpectPasses(m_client, "heard");
    m_udp.Reply("unheard");
    ExpectKeptAlive([&] { m_client.Send("y"); });
    EXPECT_EQ(Events(2), (Lines{"accepted", "ended"}));
    EXPECT_EQ(m_op.m_dBytesFromServer, 0) << "of replies that were not passed on";
    ExpectIdle(m_op);
}

TEST_F(UdpPath, ASessionComesBackWithItsServer) {
    ExpectEchoed(m_client, "x");
    const uint16_t wPort = m_udp.Port();
    for (int n = 0; n < 3; ++n) {
        m_udp.m_hSocket.Close();
        m_client.Send("lost");
        m_client.Send("lost too");
        EXPECT_TRUE(WaitFor([&] { return m_op.m_dBytesFromClient == 1 + (n + 1) * 12 + n * 4; }));
        m_udp = CPeer::Server(SocketKind::Udp, wPort);
        m_client.Send("back");
        // Bytes count ahead of their send: a datagram that was to be lost can still find the new server.
        while (m_udp.Datagram() != "back") {
        }
        m_udp.Reply("back!");
        EXPECT_EQ(m_client.Datagram(), "back!");
    }
    EXPECT_EQ(Events(), Lines{"accepted"}) << "one session all the time";
}

TEST_F(UdpLookups, ASlowOneDelaysItsOwnClientOnly) {
    StartToward("localhost");
    {
        CPeer waiting = WaitingClient({"lost", "with the stop"});
        CPeer other = ClientOf(*m_pOp);
        ExpectEchoed(other, "past it");
        ClientOf(*m_pOp).Send("one too many");
        EXPECT_EQ(Events(2), (Lines{"accepted", "sessions"}));
        ExpectStopped(*m_pOp);
        EXPECT_EQ(Events(), Lines{"ended"});
    }
    ASSERT_TRUE(m_pOp->Start());
    CPeer waiting = WaitingClient({"first", "", "third"});
    EXPECT_EQ(m_pOp->m_nThreads, 1) << "look-ups are in no count";
    HoldNextLookups(-1);
    for (const char* pszExpected : {"first", "", "third"}) EXPECT_EQ(m_udp.Datagram(), pszExpected);
    m_udp.Reply("found");
    EXPECT_EQ(waiting.Datagram(), "found");
    EXPECT_EQ(Events(), Lines{"accepted"});
}

TEST_F(UdpLookups, OneThatFailsIsToldForEachDatagramThatWaited) {
    StartToward("no-such-host.invalid");
    WaitingClient({"one", "two"});
    const CPeer flooding = WaitingClient(Lines(100, "x"));
    HoldNextLookups(-1);
    const Lines events = Events(18);
    EXPECT_EQ(events, Lines(18, "unresolved")) << "of one hundred at once 16 are kept";
    EXPECT_EQ(m_pOp->m_nTotalSessions, 0);
}
