#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "platform/net/socket.h"
#include "platform/threads/threads.h"
#include "soak/engine_host.h"
#include "soak/load_processes.h"
#include "soak/program_run.h"
#include "soak/random.h"
#include "soak/supervisor.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kPollMs = 10;
constexpr std::chrono::minutes kWordPeriod(1);
constexpr std::chrono::minutes kLongestEnd(10);  // a stop that waits for ever shows by it

// What the processes share; it lasts as long as they do.
SharedBlock& MakeSharedBlock() {
    void* const pMemory = mmap(nullptr, sizeof(SharedBlock), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (pMemory == MAP_FAILED) {
        std::perror("soak: no shared memory");
        std::exit(1);
    }
    return *new (pMemory) SharedBlock;
}

class CSupervisor {
  public:
    explicit CSupervisor(const SoakOptions& options) : m_options(options), m_shared(MakeSharedBlock()) {}
    int Run();

  private:
    void SetUp();
    pid_t Fork(const auto& run);
    void StartServer(int nServer);
    void StartClient(int nClient);
    void KillServer(int nServer);
    void KillClient(int nClient);
    void KillUntilHostEnds(pid_t host);
    void DoSomeHarm();
    void TellProgress();
    void EndLoad();
    void CheckThatItWorked();
    void Report() const;

    const SoakOptions m_options;
    SharedBlock& m_shared;
    const CSurroundings m_surroundings;
    CRandom m_random{m_options.nSeed};
    CProgramRun m_program{m_shared, m_options.strProgram, m_surroundings.Folder()};
    pid_t m_servers[kServers] = {};
    pid_t m_clients[kClients] = {};
};

void CSupervisor::SetUp() {
    m_shared.nSeed = m_options.nSeed;
    // Addresses of this run's own: no other program is likely to hold a port there.
    const uint32_t dwNet = 0x7F000000 | static_cast<uint32_t>(m_random.Between(1, 0xFFFE)) << 8;
    m_shared.dwServerIp = IpFromNumber(dwNet | 1);
    m_shared.dwClientIp = IpFromNumber(dwNet | 2);
    m_shared.dwOpIp = IpFromNumber(dwNet | 3);
    if (m_surroundings.HasHostTable()) m_surroundings.WriteHostTable(true, m_shared.dwServerIp);
    for (int n = 0; n < kOps; ++n) {
        OpSlot& op = m_shared.ops[static_cast<size_t>(n)];
        op.bUdp = n % 4 == 3 || n == kOps - 1;
        op.nServer = n / 2 % kServers;
    }
    m_shared.ops[1].bBounce = true;
    m_shared.ops[7].bBounce = true;
    m_shared.ops[2].bByName = true;
    m_shared.ops[3].bByName = true;
    m_shared.ops[4].bLimited = true;
}

// The child ends with what run gives, and it ends if the supervisor does.
pid_t CSupervisor::Fork(const auto& run) {
    std::fflush(nullptr);
    const pid_t process = fork();
    if (process != 0) return process;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    run();
    std::exit(0);
}

void CSupervisor::StartServer(int nServer) {
    ServerSlot& slot = m_shared.servers[static_cast<size_t>(nServer)];
    m_servers[nServer] = Fork([&] { RunServerProcess(m_shared, nServer); });
    while (!slot.bServing) Sleep(kPollMs);
}

void CSupervisor::StartClient(int nClient) {
    const uint64_t nSeed = m_random.Next();
    m_clients[nClient] = Fork([&] { RunClientProcess(m_shared, nClient, nSeed); });
}

void CSupervisor::KillServer(int nServer) {
    ServerSlot& slot = m_shared.servers[static_cast<size_t>(nServer)];
    CDisturbedTime disturbed;
    for (OpSlot& op : m_shared.ops) {
        if (op.nServer == nServer) disturbed.AddOp(op);
    }
    kill(m_servers[nServer], SIGKILL);
    waitpid(m_servers[nServer], nullptr, 0);
    slot.bServing = false;
    slot.nBusy = 0;
    if (m_random.OneIn(2)) Sleep(static_cast<uint32_t>(m_random.Spread(500)));
    StartServer(nServer);
    m_shared.Add(Tally::ServerKills);
}

void CSupervisor::KillClient(int nClient) {
    ClientSlot& slot = m_shared.clients[static_cast<size_t>(nClient)];
    CDisturbedTime disturbed;
    disturbed.Add(slot.life);
    kill(m_clients[nClient], SIGKILL);
    waitpid(m_clients[nClient], nullptr, 0);
    slot.nBusy = 0;
    StartClient(nClient);
    m_shared.Add(Tally::ClientKills);
}

void CSupervisor::DoSomeHarm() {
    if (m_program.IsWanted() && m_random.OneIn(4)) {
        m_program.Restart();
    } else if (m_random.OneIn(2)) {
        KillServer(static_cast<int>(m_random.Below(kServers)));
    } else {
        KillClient(static_cast<int>(m_random.Below(kClients)));
    }
}

void CSupervisor::KillUntilHostEnds(pid_t host) {
    auto next = Clock::now();
    auto nextWord = next + kWordPeriod;
    auto last = next + std::chrono::seconds(m_options.nSeconds) + kLongestEnd;
    int nStatus = 0;
    while (waitpid(host, &nStatus, WNOHANG) == 0) {
        Sleep(kPollMs);
        if (Clock::now() >= nextWord) {
            TellProgress();
            nextWord += kWordPeriod;
        }
        if (Clock::now() >= last) {
            m_shared.Fail("the engine's process does not end");
            kill(host, SIGKILL);
            last = Clock::time_point::max();
        }
        if (Clock::now() < next) continue;
        next = Clock::now() + std::chrono::milliseconds(m_random.Between(1000, 5000));
        if (m_shared.bLoad) DoSomeHarm();
    }
    if (!WIFEXITED(nStatus) || WEXITSTATUS(nStatus) != 0) m_shared.Fail("the engine's process ended with %#x", nStatus);
}

void CSupervisor::TellProgress() {
    std::printf("%" PRIu64 " connections, %" PRIu64 " replies, %d failures\n", m_shared.Get(Tally::Connections),
                m_shared.Get(Tally::Replies), m_shared.nFailures.load());
    std::fflush(stdout);
}

void CSupervisor::EndLoad() {
    m_shared.bEnd = true;
    for (const pid_t process : m_clients) waitpid(process, nullptr, 0);
    m_program.EndBehindLoad();
    for (const pid_t process : m_servers) waitpid(process, nullptr, 0);
}

// A load that reached nobody would find no fault either.
void CSupervisor::CheckThatItWorked() {
    for (const Tally tally :
         {Tally::HeldWhole, Tally::BytesUp, Tally::BytesDown, Tally::Replies, Tally::LogLinesChecked}) {
        if (m_shared.Get(tally) == 0) m_shared.Fail("nothing counted: %s", TallyName(tally));
    }
}

void CSupervisor::Report() const {
    for (size_t n = 0; n < m_shared.tallies.size(); ++n) {
        const auto tally = static_cast<Tally>(n);
        std::printf("%14" PRIu64 "  %s\n", m_shared.Get(tally), TallyName(tally));
    }
    std::printf("seed %" PRIu64 ": %s, %d failures\n", m_options.nSeed, m_shared.nFailures == 0 ? "passed" : "FAILED",
                m_shared.nFailures.load());
}

int CSupervisor::Run() {
    std::printf("seed %" PRIu64 ", %u seconds\n", m_options.nSeed, m_options.nSeconds);
    SetUp();
    for (int n = 0; n < kServers; ++n) StartServer(n);
    m_program.Start();
    const pid_t host = Fork([&] { RunEngineHost(m_shared, m_surroundings, m_options.nSeconds); });
    for (int n = 0; n < kClients; ++n) StartClient(n);
    KillUntilHostEnds(host);
    EndLoad();
    CheckThatItWorked();
    Report();
    return m_shared.nFailures == 0 ? 0 : 1;
}

}  // namespace

int RunSoak(const SoakOptions& options) {
    return CSupervisor(options).Run();
}
