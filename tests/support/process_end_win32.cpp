#include <cstdio>

#include "platform/system/windows_api.h"
#include "tests/support/process_end.h"

namespace {

LONG WINAPI ReportCrash(EXCEPTION_POINTERS* pPointers) {
    std::printf("crash: exception %08lx at %p\n", pPointers->ExceptionRecord->ExceptionCode,
                pPointers->ExceptionRecord->ExceptionAddress);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 99);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

void PrepareTestProcess() {
    SetUnhandledExceptionFilter(ReportCrash);
}

void EndTestProcess(int nCode) {
    std::fflush(nullptr);
    // An end through exit would run into threads that a failed test left behind.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(nCode));
    for (;;) {
    }
}
