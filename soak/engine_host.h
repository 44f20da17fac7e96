// The process that holds the engine under test: its operations, the log writer, and what is done to them while the load
// runs.
//
// It runs the load twice, a short time to warm up and then the whole time. Behind each everything is stopped and counted;
// the second count must be the first.
#pragma once

#include <cstdint>

#include "soak/shared_block.h"
#include "soak/surroundings.h"

/// Runs the whole of it; the failures stand in the shared block.
void RunEngineHost(SharedBlock& shared, const CSurroundings& surroundings, uint32_t nSeconds);
