#include "platform/process.h"

#include <cstdio>

#include "platform/windows_api.h"

void EndProcess(int32_t nCode) {
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(nCode));
    // Not reached: the call does not return for the own process.
    for (;;) Sleep(INFINITE);
}
