#include "platform/net/socket.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <numeric>
#include <vector>

#include "platform/files/file_handle.h"
#include "platform/threads/threads.h"
#include "tests/support/process.h"
#include "tests/support/wait.h"

namespace {

using namespace std::chrono_literals;

const Endpoint kAnyPort = {IpFromNumber(0x7F000001), 0};

Endpoint LocalOf(const CSocket& hSocket) {
    Endpoint local;
    EXPECT_EQ(hSocket.LocalEndpoint(&local), 0);
    return local;
}

// A TCP socket listens. Closed when the system refuses the address.
CSocket Bound(SocketKind kind, const Endpoint& local = kAnyPort) {
    CSocket hSocket;
    if (hSocket.Open(kind) != 0 || hSocket.Bind(local) != 0) return {};
    return kind == SocketKind::Udp || hSocket.Listen() == 0 ? std::move(hSocket) : CSocket();
}

CSocket ConnectedTo(SocketKind kind, const Endpoint& remote) {
    CSocket hSocket;
    EXPECT_TRUE(hSocket.Open(kind) == 0 && hSocket.Connect(remote) == 0);
    return hSocket;
}

struct Connection {
    Connection() { EXPECT_TRUE(hListen.Accept(&hFar, &peer) == 0 && peer == LocalOf(hNear)); }

    CSocket hListen = Bound(SocketKind::Tcp);
    CSocket hNear = ConnectedTo(SocketKind::Tcp, LocalOf(hListen));
    CSocket hFar;
    Endpoint peer;
};

// Runs the call on a thread of its own and interrupts the socket: before, while or after the call begins. All of them
// must end it. What the call said.
template <class Call>
bool IsEnded(CSocket* phSocket, Call call) {
    auto result = std::async(std::launch::async, call);
    EndCalls([&] { return phSocket->Interrupt(); }, [&] { return result.wait_for(0s) == std::future_status::ready; });
    return result.get();
}

TEST(Sockets, InterruptEndsBlockedCallsOfEachKind) {
    const CWatchdog watchdog;
    std::vector<char> bytes(size_t{64} << 20);  // more than the system takes while nobody reads
    for (int n = 0; n < 20; ++n) {
        Connection pair;
        CSocket hUdp = Bound(SocketKind::Udp);
        EXPECT_TRUE(IsEnded(&hUdp, [&] { return hUdp.RecvFrom(bytes.data(), 16, &pair.peer).nBytes <= 0; }));
        EXPECT_TRUE(IsEnded(&pair.hNear, [&] { return pair.hNear.Send(bytes.data(), bytes.size()).nBytes < 0; }));
        EXPECT_LT(pair.hNear.Send("x", 1).nBytes, 0) << "the end of the calls is lasting";
        Connection silent;
        EXPECT_TRUE(IsEnded(&silent.hNear, [&] { return silent.hNear.Recv(bytes.data(), 16).nBytes <= 0; }));
        EXPECT_LE(silent.hNear.Recv(bytes.data(), 16).nBytes, 0) << "the end of the calls is lasting";
        EXPECT_TRUE(IsEnded(&pair.hListen, [&] { return pair.hListen.Accept(&hUdp, &pair.peer) != 0; }));
    }
}

TEST(Sockets, ALargeSendArrivesWhole) {
    Connection pair;
    std::vector<char> sent(size_t{16} << 20);
    std::iota(sent.begin(), sent.end(), char{});
    auto received = std::async(std::launch::async, [&] {
        std::vector<char> bytes;
        char part[65536];
        for (int32_t nBytes = 1; nBytes > 0; Sleep(1)) {  // slowly: the sender has to wait
            nBytes = pair.hFar.Recv(part, sizeof part).nBytes;
            bytes.insert(bytes.end(), part, part + std::max(nBytes, 0));
        }
        return bytes;
    });
    EXPECT_EQ(pair.hNear.Send(sent.data(), sent.size()).nBytes, static_cast<int32_t>(sent.size()));
    pair.hNear.Close();
    EXPECT_TRUE(received.get() == sent);
}

TEST(Sockets, ATcpPortCanBeBoundAgainRightAfterItsConnectionsWereClosed) {
    Connection pair;
    const Endpoint local = LocalOf(pair.hListen);
    pair.hFar.Close();
    pair.hListen.Close();
    char ch = 0;
    EXPECT_EQ(pair.hNear.Recv(&ch, 1).nBytes, 0);
    const CSocket hAgain = Bound(SocketKind::Tcp, local);
    EXPECT_TRUE(hAgain.IsOpen());
    EXPECT_FALSE(Bound(SocketKind::Tcp, local).IsOpen()) << "two listeners on one port";
    const CSocket hUdp = Bound(SocketKind::Udp);
    EXPECT_FALSE(Bound(SocketKind::Udp, LocalOf(hUdp)).IsOpen());
}

TEST(Sockets, AnErrorOfAnEarlierDatagramKeepsNoLaterOneBack) {
    const CWatchdog watchdog;
    const Endpoint target = LocalOf(Bound(SocketKind::Udp));  // nobody's any more
    CSocket hSender = ConnectedTo(SocketKind::Udp, target);
    static_cast<void>(hSender.Send("lost", 4));
    CSocket hReceiver = Bound(SocketKind::Udp, target);
    EXPECT_EQ(hSender.Send("kept", 4).nBytes, 4);
    char buffer[16];
    Endpoint peer;
    EXPECT_EQ(hReceiver.RecvFrom(buffer, sizeof buffer, &peer).nBytes, 4);
    EXPECT_EQ(peer, LocalOf(hSender));
    EXPECT_EQ(hReceiver.SendTo("answer", 6, peer).nBytes, 6);
    EXPECT_EQ(hSender.Recv(buffer, sizeof buffer).nBytes, 6);
}

// The first one's handle goes with the assignment. At the end the second one's is left, in the result.
template <class Owner>
Owner PassAround(Owner first, Owner second) {
    first = std::move(second);
    Owner& same = first;
    first = std::move(same);
    Owner third(std::move(first));
    EXPECT_TRUE(third.IsOpen() && !first.IsOpen() && !second.IsOpen());
    return third;
}

TEST(HandleOwners, GiveEachHandleBackOnce) {
    int32_t nBefore = 0;
    for (int32_t nRound = 0; nRound <= 20; ++nRound) {
        EXPECT_EQ(PassAround(Bound(SocketKind::Udp), Bound(SocketKind::Tcp)).Listen(), 0) << "the TCP socket";
        EXPECT_EQ(PassAround(CFileHandle::OpenToAppend("owned"), CFileHandle::OpenToAppend("owned")).Close(), 0);
        // Behind the first round, so that whatever the system sets up once is there.
        if (nRound == 0) nBefore = CountHandles();
    }
    // Wine keeps a few of its own between two calls; a fault here would leave one a round.
    EXPECT_LT(CountHandles(), nBefore + 20);
}

TEST(Addresses, AreReadWrittenAndOrderedAsNumbers) {
    uint32_t dwIp = 0;
    EXPECT_TRUE(ParseIpAddress("0x7f.0.1", &dwIp));
    EXPECT_EQ(FormatIpAddress(dwIp), "127.0.0.1");
    EXPECT_EQ(IpToNumber(dwIp), 0x7F000001U);
    EXPECT_EQ(IpFromNumber(0x7F000001U), dwIp);
    EXPECT_FALSE(ParseIpAddress("255.255.255.255", &dwIp));
    EXPECT_FALSE(ParseIpAddress("localhost", &dwIp));
    EXPECT_FALSE(ResolveHostName("no-such-host.invalid", &dwIp));
    EXPECT_TRUE(ResolveHostName("localhost", &dwIp));
    EXPECT_EQ(FormatIpAddress(dwIp), "127.0.0.1");
}

}  // namespace
