#include <process.h>

#include <memory>
#include <new>

#include "platform/threads.h"
#include "platform/threads_system.h"
#include "platform/windows_api.h"

namespace {

struct ThreadBody {
    void (*pfnBody)(void*);
    void* pParam;
};

unsigned __stdcall RunBody(void* pBlock) {
    const std::unique_ptr<ThreadBody> pBody(static_cast<ThreadBody*>(pBlock));
    pBody->pfnBody(pBody->pParam);
    return 0;
}

}  // namespace

int32_t ThreadStartError() {
    return ERROR_NO_SYSTEM_RESOURCES;
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
