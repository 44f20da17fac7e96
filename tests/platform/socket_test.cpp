#include "platform/net/socket.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "platform/threads/threads.h"
#include "tests/support/left_over.h"
#include "tests/support/wait.h"

namespace {

Endpoint Loopback(uint16_t wPort = 0) {
    Endpoint endpoint;
    EXPECT_TRUE(ParseIpAddress("127.0.0.1", &endpoint.dwIp));
    endpoint.wPort = wPort;
    return endpoint;
}

Endpoint LocalOf(const CSocket& hSocket) {
    Endpoint local;
    EXPECT_EQ(hSocket.LocalEndpoint(&local), 0);
    return local;
}

CSocket Bound(SocketKind kind) {
    CSocket hSocket;
    EXPECT_EQ(hSocket.Open(kind), 0);
    EXPECT_EQ(hSocket.Bind(Loopback()), 0);
    if (kind == SocketKind::Tcp) {
        EXPECT_EQ(hSocket.Listen(10), 0);
    }
    return hSocket;
}

struct Connection {
    CSocket hNear;
    CSocket hFar;
};

Connection Connected() {
    CSocket hListen = Bound(SocketKind::Tcp);
    Connection connection;
    Endpoint peer;
    EXPECT_EQ(connection.hNear.Open(SocketKind::Tcp), 0);
    EXPECT_EQ(connection.hNear.Connect(LocalOf(hListen)), 0);
    EXPECT_EQ(hListen.Accept(&connection.hFar, &peer), 0);
    EXPECT_EQ(peer, LocalOf(connection.hNear));
    return connection;
}

class Sockets : public testing::Test {
  protected:
    // Runs the call on a thread of its own, interrupts the socket and gives what the call said.
    template <class Call>
    bool FailsWhenInterrupted(CSocket& hSocket, Call call) {
        std::atomic<bool> bGone = false;
        bool bFailed = false;
        std::thread thread([&] {
            bFailed = call();
            bGone = true;
        });
        // Before, while or after the call begins: all of them must end it.
        EndCalls([&] { return hSocket.Interrupt(); }, [&] { return bGone.load(); });
        thread.join();
        return bFailed;
    }

    CWatchdog m_watchdog;
};

}  // namespace

TEST_F(Sockets, InterruptEndsBlockedCallsOfEachKind) {
    for (int n = 0; n < 20; ++n) {
        char buffer[16];
        Endpoint peer;
        CSocket hUdp = Bound(SocketKind::Udp);
        EXPECT_TRUE(
            FailsWhenInterrupted(hUdp, [&] { return hUdp.RecvFrom(buffer, sizeof buffer, &peer).nBytes <= 0; }));
        Connection connection = Connected();
        CSocket& hNear = connection.hNear;
        EXPECT_TRUE(FailsWhenInterrupted(hNear, [&] { return hNear.Recv(buffer, sizeof buffer).nBytes <= 0; }));
        EXPECT_LE(hNear.Recv(buffer, sizeof buffer).nBytes, 0) << "the end of the calls is lasting";
    }
}

TEST_F(Sockets, InterruptEndsASendThatNobodyReads) {
    Connection connection = Connected();
    const std::vector<char> bytes(1 << 20);
    EXPECT_TRUE(FailsWhenInterrupted(connection.hNear, [&] {
        while (connection.hNear.Send(bytes.data(), bytes.size()).nBytes > 0) {
        }
        return true;
    }));
}

TEST_F(Sockets, InterruptEndsAccept) {
    CSocket hListen = Bound(SocketKind::Tcp);
    CSocket hClient;
    Endpoint peer;
    int32_t nError = 0;
    std::atomic<bool> bBegun = false;
    std::atomic<bool> bGone = false;
    std::thread thread([&] {
        bBegun = true;
        nError = hListen.Accept(&hClient, &peer);
        bGone = true;
    });
    EXPECT_TRUE(WaitFor([&] { return bBegun.load(); }));
    EndCalls([&] { return hListen.Interrupt(); }, [&] { return bGone.load(); });
    thread.join();
    EXPECT_NE(nError, 0);
    EXPECT_FALSE(hClient.IsOpen());
}

TEST_F(Sockets, OwnsItsHandleOnce) {
    constexpr int32_t kRounds = 20;
    Bound(SocketKind::Udp);  // whatever the system sets up once is there before the count
    const int32_t nBefore = CountHandles();
    for (int32_t nRound = 0; nRound < kRounds; ++nRound) {
        CSocket hFirst = Bound(SocketKind::Udp);
        CSocket hSecond = Bound(SocketKind::Udp);
        const Endpoint second = LocalOf(hSecond);
        const Endpoint first = LocalOf(hFirst);
        hFirst = std::move(hSecond);
        EXPECT_FALSE(hSecond.IsOpen());
        EXPECT_EQ(LocalOf(hFirst), second);
        CSocket hAgain;
        ASSERT_EQ(hAgain.Open(SocketKind::Udp), 0);
        EXPECT_EQ(hAgain.Bind(first), 0) << "the assignment closed what the target held";
        CSocket& hSelf = hFirst;
        hFirst = std::move(hSelf);
        EXPECT_TRUE(hFirst.IsOpen());
    }
    // Wine keeps a few of its own between two calls; a fault here would leave one a round.
    EXPECT_LT(CountHandles(), nBefore + kRounds);
}

TEST_F(Sockets, ATcpPortCanBeBoundAgainRightAfterItsConnectionsWereClosed) {
    CSocket hListen = Bound(SocketKind::Tcp);
    const Endpoint local = LocalOf(hListen);
    CSocket hClient;
    CSocket hServer;
    Endpoint peer;
    ASSERT_EQ(hClient.Open(SocketKind::Tcp), 0);
    ASSERT_EQ(hClient.Connect(local), 0);
    ASSERT_EQ(hListen.Accept(&hServer, &peer), 0);
    hServer.Close();
    hListen.Close();
    char ch;
    EXPECT_EQ(hClient.Recv(&ch, 1).nBytes, 0);
    CSocket hAgain;
    ASSERT_EQ(hAgain.Open(SocketKind::Tcp), 0);
    EXPECT_EQ(hAgain.Bind(local), 0);
    EXPECT_EQ(hAgain.Listen(10), 0);
    CSocket hSecond;
    ASSERT_EQ(hSecond.Open(SocketKind::Tcp), 0);
    EXPECT_FALSE(hSecond.Bind(local) == 0 && hSecond.Listen(10) == 0) << "two listeners on one port";
}

TEST_F(Sockets, AnErrorOfAnEarlierDatagramKeepsNoLaterOneBack) {
    CSocket hReceiver = Bound(SocketKind::Udp);
    const Endpoint target = LocalOf(hReceiver);
    hReceiver.Close();
    CSocket hSender;
    ASSERT_EQ(hSender.Open(SocketKind::Udp), 0);
    ASSERT_EQ(hSender.Connect(target), 0);
    static_cast<void>(hSender.Send("lost", 4));
    ASSERT_EQ(hReceiver.Open(SocketKind::Udp), 0);
    ASSERT_EQ(hReceiver.Bind(target), 0);
    EXPECT_EQ(hSender.Send("kept", 4).nBytes, 4);
    char buffer[16];
    Endpoint peer;
    EXPECT_EQ(hReceiver.RecvFrom(buffer, sizeof buffer, &peer).nBytes, 4);
}

TEST(Addresses, AreReadWrittenAndOrderedAsNumbers) {
    uint32_t dwIp = 0;
    EXPECT_TRUE(ParseIpAddress("10.0.1", &dwIp));
    EXPECT_EQ(FormatIpAddress(dwIp), "10.0.0.1");
    EXPECT_TRUE(ParseIpAddress("0x7f000001", &dwIp));
    EXPECT_EQ(FormatIpAddress(dwIp), "127.0.0.1");
    EXPECT_EQ(IpToNumber(dwIp), 0x7F000001u);
    EXPECT_EQ(IpFromNumber(0x7F000001u), dwIp);
    EXPECT_FALSE(ParseIpAddress("255.255.255.255", &dwIp));
    EXPECT_FALSE(ParseIpAddress("localhost", &dwIp));
    EXPECT_TRUE(ResolveHostName("localhost", &dwIp));
    EXPECT_EQ(FormatIpAddress(dwIp), "127.0.0.1");
    EXPECT_FALSE(ResolveHostName("no-such-host.invalid", &dwIp));
}
