// The process as a whole.
#pragma once

#include <cstdint>

/// Ends the process with this code while other threads may still run: standard output is flushed, and nothing that such
/// a thread could be using is torn down first.
[[noreturn]] void EndProcess(int32_t nCode);
