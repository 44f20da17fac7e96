#include "platform/threads/threads_system.h"

#include <pthread.h>
#include <semaphore.h>
#include <time.h>

#include <cerrno>
#include <memory>
#include <new>

#include "platform/threads/threads.h"

namespace {

// A relay keeps 64 KiB of data on its stack, and the resolver may run on a set-up thread. Pages that are never touched
// cost nothing.
constexpr size_t kStackBytes = size_t{1} << 20;

struct ThreadBody {
    void (*pfnBody)(void*);
    void* pParam;
};

void* RunBody(void* pBlock) {
    const std::unique_ptr<ThreadBody> pBody(static_cast<ThreadBody*>(pBlock));
    pBody->pfnBody(pBody->pParam);
    return nullptr;
}

}  // namespace

void Sleep(uint32_t dwMilliseconds) {
    timespec left = {static_cast<time_t>(dwMilliseconds / 1000), static_cast<long>(dwMilliseconds % 1000) * 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

int32_t ThreadStartError() {
    return EAGAIN;
}

struct CWakeSignal::State {
    sem_t sem = {};
};

CWakeSignal::CWakeSignal() : m_pState(std::make_unique<State>()) {
    sem_init(&m_pState->sem, 0, 0);
}

CWakeSignal::~CWakeSignal() {
    sem_destroy(&m_pState->sem);
}

void CWakeSignal::Set() {
    sem_post(&m_pState->sem);
}

bool CWakeSignal::WaitFor(uint32_t dwMilliseconds) {
    // The call knows only the clock that can be set: when it is, a parked thread just leaves earlier or later.
    timespec until = {};
    clock_gettime(CLOCK_REALTIME, &until);
    until.tv_nsec += static_cast<long>(dwMilliseconds % 1000) * 1'000'000;
    until.tv_sec += static_cast<time_t>(dwMilliseconds / 1000) + until.tv_nsec / 1'000'000'000;
    until.tv_nsec %= 1'000'000'000;
    while (sem_timedwait(&m_pState->sem, &until) != 0) {
        if (errno == ETIMEDOUT) return false;
    }
    return true;
}

void CWakeSignal::Wait() {
    while (sem_wait(&m_pState->sem) != 0) {
    }
}

bool CreateSystemThread(void (*pfnBody)(void*), void* pParam) {
    std::unique_ptr<ThreadBody> pBody(new (std::nothrow) ThreadBody{pfnBody, pParam});
    pthread_attr_t attributes;
    if (!pBody || pthread_attr_init(&attributes) != 0) return false;
    pthread_t thread = 0;
    const bool bStarted = pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED) == 0 &&
                          pthread_attr_setstacksize(&attributes, kStackBytes) == 0 &&
                          pthread_create(&thread, &attributes, RunBody, pBody.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (bStarted) static_cast<void>(pBody.release());
    return bStarted;
}
