#include "soak/engine_host.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "language/language_store.h"
#include "log/log_writer.h"
#include "platform/threads/threads.h"
#include "soak/host_faults.h"
#include "soak/host_op.h"
#include "soak/left_behind.h"
#include "store/settings_image.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint64_t kOperators = 2;
constexpr uint32_t kPollMs = 20;

void PauseUntil(Clock::time_point end, uint64_t nMilliseconds) {
    end = std::min(end, Clock::now() + std::chrono::milliseconds(nMilliseconds));
    while (Clock::now() < end) Sleep(kPollMs);
}

// A sanitizer's library may have threads of its own, from the first one that the program starts.
int32_t CountOwnThreads() {
    std::thread([] {}).join();
    Sleep(kPollMs);  // the system still lists a joined thread for a moment
    return CountLeftBehindOf(0).nThreads;
}

class CEngineHost {
  public:
    CEngineHost(SharedBlock& shared, const CSurroundings& surroundings);
    /// Everything runs for this long; then everything is stopped.
    void RunFor(std::chrono::milliseconds time, uint64_t nSeed);
    /// What is there when everything has stopped.
    LeftBehind Count();

  private:
    void RunOperator(uint64_t nOperator, CRandom random, Clock::time_point end);
    void RunFaults(CRandom random, Clock::time_point end);
    void RunLogTimer();
    void EndLogWriter();
    void WaitUntilIdle();
    void CheckCounters();

    SharedBlock& m_shared;
    const int32_t m_nOwnThreads = CountOwnThreads();  // before any was started
    const CSurroundings& m_surroundings;
    AppSettings m_settings;
    EngineCounters m_counters;
    CLogWriter m_logWriter{m_settings};
    std::atomic<int32_t> m_nLogWriters = 0;  // kept out of the counters, which are to come back to nothing
    std::atomic<bool> m_bTimerEnd = false;
    std::vector<std::unique_ptr<CHostOp>> m_ops;
    CHostFaults m_faults{m_shared, m_settings, m_counters, m_surroundings};
};

CEngineHost::CEngineHost(SharedBlock& shared, const CSurroundings& surroundings)
    : m_shared(shared), m_surroundings(surroundings) {
    ApplyLanguage(&m_settings);
    SetDefaultSettings(&m_settings);
    m_faults.SetUpLog();
    for (int n = 0; n < kEngineOps; ++n) {
        m_ops.push_back(std::make_unique<CHostOp>(shared, m_settings, m_counters, m_logWriter.Queue(), n,
                                                  surroundings.HasHostTable()));
    }
}

void CEngineHost::RunFor(std::chrono::milliseconds time, uint64_t nSeed) {
    const bool bWriter = m_logWriter.Start(&m_nLogWriters);
    if (!bWriter) m_shared.Fail("the log writer did not start");
    std::thread timer([this] { RunLogTimer(); });
    for (const auto& pOp : m_ops) pOp->Start();
    m_shared.bLoad = true;
    const auto end = Clock::now() + time;
    std::vector<std::thread> threads;
    for (uint64_t n = 0; n < kOperators; ++n) {
        threads.emplace_back([this, n, nSeed, end] { RunOperator(n, CRandom(SubSeed(nSeed, n)), end); });
    }
    threads.emplace_back([this, nSeed, end] { RunFaults(CRandom(SubSeed(nSeed, kOperators)), end); });
    for (std::thread& thread : threads) thread.join();
    m_shared.bLoad = false;
    WaitUntilIdle();
    for (const auto& pOp : m_ops) pOp->Stop();
    m_bTimerEnd = true;
    timer.join();
    if (bWriter) EndLogWriter();
    CheckCounters();
}

// Each has operations of its own: an operation is started and stopped by one at a time.
void CEngineHost::RunOperator(uint64_t nOperator, CRandom random, Clock::time_point end) {
    while (Clock::now() < end) {
        m_ops[nOperator + kOperators * random.Below(kEngineOps / kOperators)]->Disturb(random);
        PauseUntil(end, random.Between(500, 3000));
    }
}

void CEngineHost::RunFaults(CRandom random, Clock::time_point end) {
    while (Clock::now() < end) {
        m_faults.PlayOne(random);
        PauseUntil(end, random.Between(100, 1500));
    }
}

void CEngineHost::RunLogTimer() {
    while (!m_bTimerEnd) {
        m_logWriter.RequestFlush();
        Sleep(kPollMs);
    }
    m_bTimerEnd = false;
}

void CEngineHost::EndLogWriter() {
    while (!m_logWriter.End(kPollMs)) {
    }
    FreeLogEntries(m_logWriter.Queue().TakeAll());
    m_faults.CheckLastLog();
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

void RunEngineHost(SharedBlock& shared, const CSurroundings& surroundings, uint32_t nSeconds) {
    const auto whole = std::chrono::milliseconds(nSeconds * int64_t{1000});
    const auto warmUp = whole / 5;
    CEngineHost host(shared, surroundings);
    host.RunFor(warmUp, SubSeed(shared.nSeed, 1));
    const LeftBehind before = host.Count();
    host.RunFor(whole - warmUp, SubSeed(shared.nSeed, 2));
    CompareLeftBehind(shared, before, host.Count());
}
