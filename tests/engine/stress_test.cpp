// The engine under load: everything at once, and at the end nothing left over.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/threads/threads_testing.h"
#include "tests/engine/engine_fixture.h"
#include "tests/support/process.h"

namespace {

// The load ends when this many visits have been echoed, or after this time: where a connection is dear, fewer do.
constexpr int kEchoes = 3000;
constexpr std::chrono::seconds kLongest(10);
constexpr int kClientsEach = 4;

// Answers each connection's bytes with the same bytes until it is told to end.
class CEchoServer {
  public:
    CEchoServer() : m_thread([this] { Run(); }) {}
    ~CEchoServer() {
        m_bEnd = true;
        CPeer::ConnectTcp(m_server.Port());
        m_thread.join();
    }
    uint16_t Port() const { return m_server.Port(); }

  private:
    void Run() {
        while (!m_bEnd) {
            CPeer client = m_server.Accept();
            char buffer[64];
            const IoResult received = client.m_hSocket.Recv(buffer, sizeof buffer);
            if (received.nBytes > 0) {
                static_cast<void>(client.m_hSocket.Send(buffer, static_cast<size_t>(received.nBytes)));
            }
        }
    }

    CServer m_server;
    std::atomic<bool> m_bEnd = false;
    std::thread m_thread;
};

// A short session, which a stop or a refusal may end at any moment. Whether the bytes came back.
bool VisitTcp(uint16_t wPort) {
    CSocket hSocket;
    if (hSocket.Open(SocketKind::Tcp) != 0 || hSocket.Connect(Loopback(wPort)) != 0) return false;
    char buffer[8];
    return hSocket.Send("12345678", 8).nBytes == 8 && hSocket.Recv(buffer, sizeof buffer).nBytes == 8;
}

void VisitUdp(uint16_t wPort) {
    CSocket hSocket;
    if (hSocket.Open(SocketKind::Udp) != 0 || hSocket.Connect(Loopback(wPort)) != 0) return;
    static_cast<void>(hSocket.Send("12345678", 8));
}

}  // namespace

TEST_F(EngineTest, ShortSessionsStopsFailuresAndReloadsLeaveNothingBehind) {
    VisitTcp(1);  // whatever the system sets up once is there before the count
    ReleaseParkedThreads();
    const int32_t nHandles = CountHandles() + HandlesOfTheLibrary();
    const int32_t nThreads = CountThreads();
    {
        CEchoServer server;
        CPortForwardOp& tcp = StartTcp(server.Port());
        CPortForwardOp& second = StartTcp(server.Port());
        CPortForwardOp& udp = StartUdp(server.Port());
        second.m_settings.m_strRemoteHost = "";
        const std::vector<uint16_t> ports = {PortOf(tcp), PortOf(second), PortOf(udp)};
        for (size_t n = 0; n < ports.size(); ++n) m_ops[n]->m_settings.m_wLocalPort = ports[n];
        std::atomic<bool> bDone = false;
        std::atomic<int> nEchoes = 0;
        const auto end = std::chrono::steady_clock::now() + kLongest;
        std::vector<std::thread> clients;
        for (int n = 0; n < kClientsEach; ++n) {
            clients.emplace_back([&] {
                for (int nVisit = 0; nEchoes < kEchoes && std::chrono::steady_clock::now() < end; ++nVisit) {
                    if (VisitTcp(ports[static_cast<size_t>(nVisit) % 2])) ++nEchoes;
                    if (nVisit % 8 == 0) VisitUdp(ports[2]);
                }
            });
        }
        std::thread reloads([&] {
            while (!bDone) {
                m_strings.Replace(EventTexts());
                m_logFormat.Set("%E %DAT %CIP");
                Log();
                std::this_thread::yield();
            }
        });
        std::vector<std::thread> stops;
        for (const auto& pOp : m_ops) {
            stops.emplace_back([&, pOp = pOp.get()] {
                while (!bDone) {
                    pOp->m_bStopping = 1;
                    pOp->Stop();
                    pOp->Start();
                    for (int n = 0; n < 20 && !bDone; ++n) Sleep(5);
                }
            });
        }
        std::thread failures([&] {
            for (int32_t n = 0; !bDone; ++n) {
                FailThreadStartsAfter(n % 5);
                Sleep(3);
                FailThreadStartsAfter(-1);
                Sleep(40);
            }
        });
        for (std::thread& thread : clients) thread.join();
        bDone = true;
        for (std::thread& thread : stops) thread.join();
        reloads.join();
        failures.join();
        FailThreadStartsAfter(-1);
        EXPECT_GT(nEchoes, 0);
        for (const auto& pOp : m_ops) ExpectStopped(*pOp);
        m_ops.clear();
    }
    Log();
    EXPECT_FALSE(m_log.empty());
    EXPECT_EQ(m_counters.nThreads, 0);
    EXPECT_EQ(m_counters.nSessions, 0);
    EXPECT_EQ(m_counters.nPendingSetups, 0);
    ReleaseParkedThreads();
    EXPECT_TRUE(WaitFor([&] { return CountThreads() <= nThreads; })) << CountThreads() << " of " << nThreads;
    EXPECT_TRUE(WaitFor([&] { return CountHandles() <= nHandles; })) << CountHandles() << " of " << nHandles;
}
