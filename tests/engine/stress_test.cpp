// The engine under load: everything at once, and at the end nothing left over.
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/engine/engine_fixture.h"

namespace {

// The load ends when this many visits have been echoed, or after this time: where a connection is dear, fewer do.
constexpr int kEchoes = 3000;
constexpr std::chrono::seconds kLongest(10);
constexpr int kClientsEach = 4;

// A short session, which a stop or a refusal may end at any moment. Whether the bytes came back.
bool Visit(SocketKind kind, uint16_t wPort) {
    CSocket hSocket;
    if (hSocket.Open(kind) != 0 || hSocket.Connect(Loopback(wPort)) != 0) return false;
    char buffer[8];
    return hSocket.Send("12345678", 8).nBytes == 8 && kind == SocketKind::Tcp &&
           hSocket.Recv(buffer, sizeof buffer).nBytes == 8;
}

// Does the step on a thread of its own again and again until it is told to end.
std::thread Repeat(const std::atomic<bool>& bEnd, std::function<void()> step) {
    return std::thread([&bEnd, step = std::move(step)] {
        while (!bEnd) step();
    });
}

}  // namespace

TEST_F(EngineTest, ShortSessionsStopsFailuresAndReloadsLeaveNothingBehind) {
    Visit(SocketKind::Tcp, 1);  // whatever the system sets up once is there before the count
    ReleaseParkedThreads();
    // Every thread here and every lock that is fought for is one of the library's; a handle lost a session would be more.
    const int32_t nHandles = CountHandles() + 4 * HandlesOfTheLibrary();
    const int32_t nThreads = CountThreads();
    std::vector<uint16_t> ports;
    for (CPortForwardOp* pOp : {&Start(kProtocolTcp), &Start(kProtocolTcp), &Start(kProtocolUdp)}) {
        ports.push_back(pOp->ListenPort());
        pOp->m_settings.m_wLocalPort = ports.back();
    }
    m_ops[1]->m_settings.m_strRemoteHost = "";
    std::atomic<bool> bDone = false;
    std::atomic<bool> bEchoDone = false;
    std::atomic<int> nEchoes = 0;
    const auto end = std::chrono::steady_clock::now() + kLongest;
    std::thread echo = Repeat(bEchoDone, [&] {
        CPeer client = m_tcp.Accept();
        const std::string strBytes = client.Read(8);
        static_cast<void>(client.m_hSocket.Send(strBytes.data(), strBytes.size()));
    });
    std::vector<std::thread> clients;
    for (int n = 0; n < kClientsEach; ++n) {
        clients.emplace_back([&] {
            for (size_t nVisit = 0; nEchoes < kEchoes && std::chrono::steady_clock::now() < end; ++nVisit) {
                if (Visit(SocketKind::Tcp, ports[nVisit % 2])) ++nEchoes;
                if (nVisit % 8 == 0) Visit(SocketKind::Udp, ports[2]);
            }
        });
    }
    std::vector<std::thread> troubles;
    size_t nLogged = 0;
    troubles.push_back(Repeat(bDone, [&] {
        m_strings.Replace(EventTexts());
        m_logFormat.Set("%E %DAT %CIP");
        nLogged += Log().size();
        std::this_thread::yield();
    }));
    for (const auto& pOp : m_ops) {
        troubles.push_back(Repeat(bDone, [&bDone, pOp = pOp.get()] {
            pOp->m_bStopping = 1;
            pOp->Stop();
            pOp->Start();
            for (int n = 0; n < 20 && !bDone; ++n) Sleep(5);
        }));
    }
    troubles.push_back(Repeat(bDone, [n = 0]() mutable {
        FailThreadStartsAfter(n++ % 5);
        Sleep(3);
        FailThreadStartsAfter(-1);
        Sleep(40);
    }));
    for (std::thread& thread : clients) thread.join();
    bDone = true;
    for (std::thread& thread : troubles) thread.join();
    for (const auto& pOp : m_ops) ExpectStopped(*pOp);
    m_ops.clear();
    bEchoDone = true;
    CPeer::Client(SocketKind::Tcp, m_tcp.Port());
    echo.join();
    EXPECT_GT(nEchoes, 0);
    EXPECT_GT(nLogged + Log().size(), 0u);
    // Some threads that count nowhere, as that of the lingering closes, still park behind the stops.
    const auto haveGone = [&] {
        ReleaseParkedThreads();
        return CountThreads() <= nThreads;
    };
    EXPECT_TRUE(WaitFor(haveGone)) << CountThreads() << " of " << nThreads;
    EXPECT_TRUE(WaitFor([&] { return CountHandles() <= nHandles; })) << CountHandles() << " of " << nHandles;
}
