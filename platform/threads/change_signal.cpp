#include "platform/threads/change_signal.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "platform/threads/threads.h"

struct CChangeSignal::State {
    std::mutex csWaiters;
    std::condition_variable changed;
};

CChangeSignal::CChangeSignal() : m_pState(std::make_unique<State>()) {}

CChangeSignal::~CChangeSignal() {
    while (m_nTelling != 0) Sleep(1);
}

void CChangeSignal::WakeAll() {
    // Behind the lock every waiter either sleeps or is about to look at its condition again.
    const std::scoped_lock lock(m_pState->csWaiters);
    m_pState->changed.notify_all();
}

bool CChangeSignal::Block(uint32_t dwMilliseconds, bool (*pfnCondition)(const void*), const void* pCondition) {
    // Counted first: whoever changes something from here on tells, and what was changed before is seen below.
    ++m_nWaiters;
    bool bHolds = false;
    {
        std::unique_lock lock(m_pState->csWaiters);
        bHolds = m_pState->changed.wait_for(lock, std::chrono::milliseconds(dwMilliseconds),
                                            [&] { return pfnCondition(pCondition); });
    }
    --m_nWaiters;
    return bHolds;
}
