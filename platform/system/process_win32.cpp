#include "platform/system/process.h"

#include <array>
#include <cstdio>

#include "platform/system/windows_api.h"

#include <shellapi.h>
#include <tlhelp32.h>

namespace {

constexpr DWORD kModulePathSize = 10000;

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

std::string ModulePath() {
    std::array<char, kModulePathSize> buffer = {};
    const DWORD dwLength = GetModuleFileNameA(GetModuleHandleA(nullptr), buffer.data(), kModulePathSize);
    // A text that fills the buffer has been cut.
    return dwLength < kModulePathSize ? std::string(buffer.data(), dwLength) : std::string();
}

std::string SystemErrorText(int32_t nError) {
    std::array<char, 1024> buffer = {};
    const DWORD dwFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const DWORD dwLength = FormatMessageA(dwFlags, nullptr, static_cast<DWORD>(nError), 0, buffer.data(),
                                          static_cast<DWORD>(buffer.size()), nullptr);
    std::string strText(buffer.data(), dwLength);
    while (!strText.empty() && static_cast<unsigned char>(strText.back()) <= ' ') strText.pop_back();
    return strText.empty() ? "Unknown error " + std::to_string(nError) : strText;
}

void EndProcess(int32_t nCode) {
    std::fflush(nullptr);
    SuspendOtherThreads();
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(nCode));
    // Not reached: the call does not return for the own process.
    for (;;) Sleep(INFINITE);
}

void OpenWebPage(const std::string& strBrowser, const std::string& strUrl) {
    const std::string strQuoted = '"' + strUrl + '"';
    ::ShellExecuteA(nullptr, nullptr, strBrowser.c_str(), strQuoted.c_str(), nullptr, SW_SHOWNORMAL);
}
