#include "platform/net/breakable_calls.h"

#include <pthread.h>
#include <signal.h>

namespace {

// Ignored by default, so that one which comes late does no harm.
constexpr int kSignal = SIGURG;

// A signal ends a blocking call only if it has a handler that does not restart calls.
void InstallHandler() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigemptyset(&action.sa_mask);
    sigaction(kSignal, &action, nullptr);
}

}  // namespace

void CBreakableCalls::Enter() {
    static std::once_flag s_installed;
    std::call_once(s_installed, InstallHandler);
    const std::scoped_lock lock(m_csThread);
    m_hThread = static_cast<uintptr_t>(pthread_self());
}

void CBreakableCalls::Leave() {
    // Under the lock, so that no signal goes to a thread that has ended.
    const std::scoped_lock lock(m_csThread);
    m_hThread = 0;
    m_bLeft = 1;
}

bool CBreakableCalls::Break(const CSocket& /*hFirst*/, const CSocket& /*hSecond*/) {
    m_bBroken = 1;
    const std::scoped_lock lock(m_csThread);
    if (m_hThread != 0) pthread_kill(static_cast<pthread_t>(m_hThread), kSignal);
    return m_bLeft != 0;
}
