#include <malloc.h>

#include <algorithm>
#include <vector>

#include "platform/system/windows_api.h"
#include "tests/support/left_over.h"

#include <tlhelp32.h>

namespace {

// As the system lays it out for class 64, SystemExtendedHandleInformation.
struct HandleEntry {
    void* pObject;
    uintptr_t nProcess;
    uintptr_t nHandle;
    uint32_t dwAccess;
    uint16_t wUnused[2];
    uint32_t dwAttributes;
    uint32_t dwReserved;
};
struct HandleTable {
    uintptr_t nCount;
    uintptr_t nReserved;
};
constexpr int kExtendedHandles = 64;
constexpr int32_t kTooSmall = static_cast<int32_t>(0xC0000004);
using QueryProc = int32_t(WINAPI*)(int nClass, void* pBuffer, uint32_t nSize, uint32_t* pnNeeded);

std::vector<HandleEntry> AllHandles() {
    const HMODULE hSystem = GetModuleHandleA("ntdll");
    const auto pfnQuery =
        reinterpret_cast<QueryProc>(reinterpret_cast<void*>(GetProcAddress(hSystem, "NtQuerySystemInformation")));
    std::vector<char> buffer(1 << 16);
    uint32_t nNeeded = 0;
    int32_t nStatus = 0;
    do {
        buffer.resize(buffer.size() * 2);
        nStatus = pfnQuery(kExtendedHandles, buffer.data(), static_cast<uint32_t>(buffer.size()), &nNeeded);
    } while (nStatus == kTooSmall);
    if (nStatus != 0) return {};
    const auto* const pTable = reinterpret_cast<const HandleTable*>(buffer.data());
    const auto* const pEntries = reinterpret_cast<const HandleEntry*>(pTable + 1);
    return {pEntries, pEntries + pTable->nCount};
}

}  // namespace

int32_t CountHandles() {
    return CountHandlesOf(GetCurrentProcessId());
}

// By the list of all handles: for GetProcessHandleCount Wine gives 0, whatever the process holds.
int32_t CountHandlesOf(uint32_t dwProcess) {
    const auto handles = AllHandles();
    return static_cast<int32_t>(std::ranges::count(handles, dwProcess, &HandleEntry::nProcess));
}

int32_t HandlesOfTheLibrary() {
    return 64;
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
