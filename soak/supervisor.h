// The first process of a soak: it has one thread, forks all others, kills some of them and puts new ones in their place,
// and tells at the end what came of it.
#pragma once

#include <cstdint>
#include <string>

struct SoakOptions {
    uint32_t nSeconds = 60;
    uint64_t nSeed = 0;
    std::string strProgram;  // the program to run beside the engine; empty: none
};

/// The exit code of the soak: 0 when nothing failed.
int RunSoak(const SoakOptions& options);
