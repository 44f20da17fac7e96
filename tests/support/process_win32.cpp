#include "tests/support/process.h"

#include <cstdio>
#include <vector>

#include "platform/system/process.h"
#include "platform/system/windows_api.h"

#include <winternl.h>

namespace {

// By the list of all processes: for GetProcessHandleCount Wine gives 0, whatever the process holds. All 0 for a process
// that has gone.
SYSTEM_PROCESS_INFORMATION InformationOf(uint32_t dwProcess) {
    std::vector<char> buffer(1 << 16);
    const auto Size = [&] { return static_cast<ULONG>(buffer.size()); };
    while (NtQuerySystemInformation(SystemProcessInformation, buffer.data(), Size(), nullptr) < 0) {
        buffer.resize(buffer.size() * 2);
    }
    for (const char* pEntry = buffer.data();;) {
        const auto* const pInformation = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(pEntry);
        if (HandleToULong(pInformation->UniqueProcessId) == dwProcess) return *pInformation;
        if (pInformation->NextEntryOffset == 0) return {};
        pEntry += pInformation->NextEntryOffset;
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
    return CountHandlesOf(GetCurrentProcessId());
}

int32_t CountHandlesOf(uint32_t dwProcess) {
    return static_cast<int32_t>(InformationOf(dwProcess).HandleCount);
}

int32_t HandlesOfTheLibrary() {
    return 64;
}

int32_t CountThreads() {
    return static_cast<int32_t>(InformationOf(GetCurrentProcessId()).NumberOfThreads);
}

bool IsHeapSound() {
    return HeapValidate(GetProcessHeap(), 0, nullptr) != 0;
}
