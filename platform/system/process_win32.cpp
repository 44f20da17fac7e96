#include "platform/system/process.h"

#include <cstdio>

#include "platform/system/windows_api.h"

#include <tlhelp32.h>

namespace {

/// Owns a handle of the kernel; empty is null or INVALID_HANDLE_VALUE.
class CHandle {
  public:
    explicit CHandle(HANDLE hObject) : m_hObject(hObject) {}
    ~CHandle() {
        if (IsValid()) CloseHandle(m_hObject);
    }
    CHandle(const CHandle&) = delete;
    CHandle& operator=(const CHandle&) = delete;

    bool IsValid() const { return m_hObject && m_hObject != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_hObject; }

  private:
    const HANDLE m_hObject;
};

// Wine 8 ends a thread wherever it stands, also inside a lock of the system layer that the end of the process then waits
// for: a process with busy sessions stayed for ever, and its ports with it. A suspended thread stands in no such lock.
// Nothing here may use the heap once the first thread is suspended: that thread may hold the heap's lock.
void SuspendOtherThreads() {
    constexpr DWORD kTimeToArriveMs = 10;
    const CHandle hSnapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    if (!hSnapshot.IsValid()) return;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL bMore = Thread32First(hSnapshot.Get(), &entry); bMore; bMore = Thread32Next(hSnapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID != GetCurrentProcessId() || entry.th32ThreadID == GetCurrentThreadId()) continue;
        const CHandle hThread(OpenThread(THREAD_SUSPEND_RESUME, FALSE, entry.th32ThreadID));
        if (hThread.IsValid()) SuspendThread(hThread.Get());
    }
    Sleep(kTimeToArriveMs);
}

}  // namespace

void EndProcess(int32_t nCode) {
    std::fflush(nullptr);
    SuspendOtherThreads();
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(nCode));
    // Not reached: the call does not return for the own process.
    for (;;) Sleep(INFINITE);
}
