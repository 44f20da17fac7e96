#include "tests/soak/engine_host.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/threads.h"
#include "store/settings_image.h"
#include "tests/soak/left_behind.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kOperators = 2;
constexpr uint32_t kPollMs = 20;

class CEngineHost {
  public:
    explicit CEngineHost(SharedBlock& shared);
    /// Everything runs for this long; then everything is stopped.
    void RunFor(std::chrono::milliseconds time, uint64_t nSeed);
    /// What is there when everything has stopped.
    LeftBehind Count();

  private:
    void RunOperator(int nOperator, CRandom random, Clock::time_point end);
    void WaitUntilIdle();
    void CheckCounters();

    SharedBlock& m_shared;
    const int32_t m_nOwnThreads = CountLeftBehindOf(0).nThreads;  // before any was started
    AppSettings m_settings;
    EngineCounters m_counters;
    LogQueue m_logQueue;
    std::vector<std::unique_ptr<CHostOp>> m_ops;
};

CEngineHost::CEngineHost(SharedBlock& shared) : m_shared(shared) {
    SetDefaultSettings(&m_settings);
    m_settings.logQueue = &m_logQueue;
    for (int n = 0; n < kEngineOps; ++n) {
        m_ops.push_back(std::make_unique<CHostOp>(shared, m_settings, m_counters, m_logQueue, n));
    }
}

void CEngineHost::RunFor(std::chrono::milliseconds time, uint64_t nSeed) {
    for (const auto& pOp : m_ops) pOp->Start();
    m_shared.bLoad = true;
    const auto end = Clock::now() + time;
    std::vector<std::thread> operators;
    for (int n = 0; n < kOperators; ++n) {
        operators.emplace_back(
            [this, n, nSeed, end] { RunOperator(n, CRandom(SubSeed(nSeed, static_cast<uint64_t>(n))), end); });
    }
    for (std::thread& thread : operators) thread.join();
    m_shared.bLoad = false;
    WaitUntilIdle();
    for (const auto& pOp : m_ops) pOp->Stop();
    CheckCounters();
}

// Each has operations of its own: an operation is started and stopped by one at a time.
void CEngineHost::RunOperator(int nOperator, CRandom random, Clock::time_point end) {
    while (Clock::now() < end) {
        const size_t nOp = static_cast<size_t>(nOperator) + kOperators * random.Below(kEngineOps / kOperators);
        m_ops[nOp]->Disturb(random);
        const auto pause = Clock::now() + std::chrono::milliseconds(random.Between(500, 3000));
        while (Clock::now() < std::min(end, pause)) Sleep(kPollMs);
    }
}

void CEngineHost::WaitUntilIdle() {
    const auto isBusy = [](const auto& slot) { return slot.nBusy > 0; };
    const auto end = Clock::now() + std::chrono::seconds(300);
    while (std::ranges::any_of(m_shared.clients, isBusy) || std::ranges::any_of(m_shared.servers, isBusy)) {
        if (Clock::now() > end) {
            m_shared.Fail("sessions did not end");
            return;
        }
        Sleep(kPollMs);
    }
}

void CEngineHost::CheckCounters() {
    if (m_counters.nThreads != 0 || m_counters.nSessions != 0 || m_counters.nPendingSetups != 0) {
        m_shared.Fail("counters are left at %d threads, %d sessions, %d set-ups", m_counters.nThreads.load(),
                      m_counters.nSessions.load(), m_counters.nPendingSetups.load());
    }
}

LeftBehind CEngineHost::Count() {
    ReleaseParkedThreads();
    return CountLeftBehind(m_nOwnThreads);
}

}  // namespace

void RunEngineHost(SharedBlock& shared, uint32_t nSeconds) {
    const auto whole = std::chrono::milliseconds(nSeconds * int64_t{1000});
    const auto warmUp = whole / 5;
    CEngineHost host(shared);
    host.RunFor(warmUp, SubSeed(shared.nSeed, 1));
    const LeftBehind before = host.Count();
    host.RunFor(whole - warmUp, SubSeed(shared.nSeed, 2));
    CompareLeftBehind(shared, before, host.Count());
}
