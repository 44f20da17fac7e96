// The properties that a fuzz target states. One that does not hold ends the process, and the fuzzer keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Unlike assert, in force in every build.
inline void Check(bool bHolds, const char* pszProperty) {
    if (bHolds) return;
    std::fprintf(stderr, "property does not hold: %s\n", pszProperty);
    std::abort();
}
