#include <malloc.h>

#include "platform/windows_api.h"
#include "tests/support/left_over.h"

#include <tlhelp32.h>

int32_t CountHandles() {
    DWORD dwCount = 0;
    GetProcessHandleCount(GetCurrentProcess(), &dwCount);
    return static_cast<int32_t>(dwCount);
}

int32_t CountThreads() {
    const HANDLE hSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    int32_t nCount = 0;
    for (BOOL bMore = Thread32First(hSnapshot, &entry); bMore; bMore = Thread32Next(hSnapshot, &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++nCount;
    }
    CloseHandle(hSnapshot);
    return nCount;
}

bool IsHeapSound() {
    return HeapValidate(GetProcessHeap(), 0, nullptr) != 0;
}
