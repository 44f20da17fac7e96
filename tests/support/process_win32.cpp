#include "tests/support/process.h"

#include <cstdio>
#include <vector>

#include "platform/system/process.h"
#include "platform/system/windows_api.h"

#include <winternl.h>

namespace {

// By the list of all processes: for GetProcessHandleCount Wine gives 0, whatever the process holds.
SYSTEM_PROCESS_INFORMATION ThisProcess() {
    std::vector<char> list(1 << 16);
    const auto Size = [&] { return static_cast<ULONG>(list.size()); };
    while (NtQuerySystemInformation(SystemProcessInformation, list.data(), Size(), nullptr) < 0)
        list.resize(2 * Size());
    for (const char* pEntry = list.data();;) {
        const auto* const pProcess = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(pEntry);
        if (HandleToULong(pProcess->UniqueProcessId) == GetCurrentProcessId()) return *pProcess;
        pEntry += pProcess->NextEntryOffset;
    }
}

LONG WINAPI ReportCrash(EXCEPTION_POINTERS* pPointers) {
    const EXCEPTION_RECORD& record = *pPointers->ExceptionRecord;
    std::printf("crash: exception %08lx at %p\n", record.ExceptionCode, record.ExceptionAddress);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 99);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void PrepareTestProcess() {
    SetUnhandledExceptionFilter(ReportCrash);
}

void EndTestProcess(int32_t nCode) {
    // An end through exit would run into threads that a failed test left behind.
    EndProcess(nCode);
}

int32_t CountHandles() {
    return static_cast<int32_t>(ThisProcess().HandleCount);
}

int32_t HandlesOfTheLibrary() {
    return 64;
}

int32_t CountThreads() {
    return static_cast<int32_t>(ThisProcess().NumberOfThreads);
}

bool IsHeapSound() {
    return HeapValidate(GetProcessHeap(), 0, nullptr) != 0;
}
