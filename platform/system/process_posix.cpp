#include "platform/system/process.h"

#include <unistd.h>

#include <cstdio>

void EndProcess(int32_t nCode) {
    std::fflush(nullptr);
    _exit(nCode);
}
