#include "platform/threads/threads_system.h"

#include <process.h>

#include <memory>
#include <new>
#include <utility>

#include "platform/system/windows_api.h"
#include "platform/threads/threads.h"

namespace {

struct ThreadBody {
    void (*pfnBody)(void*);
    void* pParam;
};

constexpr uint32_t kLongMs = 3600 * 1000;

unsigned __stdcall RunBody(void* pBlock) {
    const std::unique_ptr<ThreadBody> pBody(static_cast<ThreadBody*>(pBlock));
    pBody->pfnBody(pBody->pParam);
    return 0;
}

}  // namespace

int32_t ThreadStartError() {
    return ERROR_NO_SYSTEM_RESOURCES;
}

struct CWakeSignal::State {
    // Unlike an event these hold no handle and cannot fail.
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
    bool bSet = false;  // guarded by lock
};

CWakeSignal::CWakeSignal() : m_pState(std::make_unique<State>()) {}
CWakeSignal::~CWakeSignal() = default;

void CWakeSignal::Set() {
    AcquireSRWLockExclusive(&m_pState->lock);
    m_pState->bSet = true;
    ReleaseSRWLockExclusive(&m_pState->lock);
    WakeConditionVariable(&m_pState->changed);
}

bool CWakeSignal::WaitFor(uint32_t dwMilliseconds) {
    const uint64_t nEnd = GetTickCount64() + dwMilliseconds;
    AcquireSRWLockExclusive(&m_pState->lock);
    for (uint64_t nNow = GetTickCount64(); !m_pState->bSet && nNow < nEnd; nNow = GetTickCount64()) {
        SleepConditionVariableSRW(&m_pState->changed, &m_pState->lock, static_cast<DWORD>(nEnd - nNow), 0);
    }
    const bool bWoken = std::exchange(m_pState->bSet, false);
    ReleaseSRWLockExclusive(&m_pState->lock);
    return bWoken;
}

void CWakeSignal::Wait() {
    while (!WaitFor(kLongMs)) {
    }
}

bool CreateSystemThread(void (*pfnBody)(void*), void* pParam) {
    std::unique_ptr<ThreadBody> pBody(new (std::nothrow) ThreadBody{pfnBody, pParam});
    if (!pBody) return false;
    const uintptr_t hThread = _beginthreadex(nullptr, 0, RunBody, pBody.get(), 0, nullptr);
    if (hThread == 0) return false;
    static_cast<void>(pBody.release());
    CloseHandle(reinterpret_cast<HANDLE>(hThread));
    return true;
}
