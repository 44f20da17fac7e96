#include "soak/load_processes.h"

#include <thread>
#include <vector>

#include "platform/threads/threads.h"
#include "soak/tcp_load.h"
#include "soak/udp_load.h"

namespace {

constexpr int kTcpThreads = 10;
constexpr int kUdpThreads = 4;
constexpr uint32_t kIdleMs = 10;
constexpr int kAcceptWaitMs = 100;
constexpr uint32_t kBindWaitMs = 20;
constexpr int kBindTries = 6000;  // two minutes

// One session of the client is counted, and begins only if the load was still on behind that.
void WithinLoad(SharedBlock& shared, int nClient, const auto& session) {
    std::atomic<int32_t>& nBusy = shared.clients[static_cast<size_t>(nClient)].nBusy;
    ++nBusy;
    const bool bLoad = shared.bLoad;
    if (bLoad) session();
    --nBusy;
    if (!bLoad) Sleep(kIdleMs);
}

// An operation of that protocol that has its port; -1 when the chosen one has none.
int ChooseOp(const SharedBlock& shared, CRandom& random, bool bUdp) {
    for (;;) {
        const int nOp = static_cast<int>(random.Below(kOps));
        const OpSlot& op = shared.ops[static_cast<size_t>(nOp)];
        if (op.bUdp == bUdp) return op.wPort == 0 ? -1 : nOp;
    }
}

void RunSessions(SharedBlock& shared, int nClient, bool bUdp, uint64_t nSeed) {
    CRandom random(nSeed);
    while (!shared.bEnd) {
        WithinLoad(shared, nClient, [&] {
            const int nOp = ChooseOp(shared, random, bUdp);
            if (nOp >= 0) (bUdp ? RunUdpSession : RunTcpSession)(shared, nClient, nOp, random);
        });
        if (random.OneIn(4)) Sleep(static_cast<uint32_t>(random.Spread(100)));
    }
}

// The port is the one that the process before this had: another socket may hold it for a moment.
CLoadSocket ServePort(SharedBlock& shared, SocketKind kind, std::atomic<uint16_t>& wPort) {
    for (int nTry = 0; nTry < kBindTries; ++nTry) {
        CLoadSocket socket = CLoadSocket::Serve(kind, {shared.dwServerIp, wPort});
        if (socket.IsOpen()) {
            wPort = socket.LocalPort();
            return socket;
        }
        Sleep(kBindWaitMs);
    }
    shared.Fail("a server could not bind its port %d", wPort.load());
    return {};
}

void ServeTcp(SharedBlock& shared, int nServer, CLoadSocket& listening) {
    std::atomic<int32_t>& nBusy = shared.servers[static_cast<size_t>(nServer)].nBusy;
    while (!shared.bEnd) {
        CLoadSocket connection = listening.Accept(kAcceptWaitMs);
        if (!connection.IsOpen()) continue;
        ++nBusy;
        std::thread([&shared, &nBusy, nServer, connection = std::move(connection)]() mutable {
            ServeTcpSession(shared, nServer, std::move(connection));
            --nBusy;
        }).detach();
    }
}

}  // namespace

void RunClientProcess(SharedBlock& shared, int nClient, uint64_t nSeed) {
    std::vector<std::thread> threads;
    for (int n = 0; n < kTcpThreads + kUdpThreads; ++n) {
        const bool bUdp = n >= kTcpThreads;
        threads.emplace_back(RunSessions, std::ref(shared), nClient, bUdp, SubSeed(nSeed, static_cast<uint64_t>(n)));
    }
    for (std::thread& thread : threads) thread.join();
}

void RunServerProcess(SharedBlock& shared, int nServer) {
    ServerSlot& slot = shared.servers[static_cast<size_t>(nServer)];
    CLoadSocket tcp = ServePort(shared, SocketKind::Tcp, slot.wTcpPort);
    const CLoadSocket udp = ServePort(shared, SocketKind::Udp, slot.wUdpPort);
    slot.bServing = true;
    std::thread datagrams([&] { ServeUdp(shared, nServer, udp); });
    ServeTcp(shared, nServer, tcp);
    datagrams.join();
}
