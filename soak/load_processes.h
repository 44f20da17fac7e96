// What the processes of the load run: each is forked from the supervisor, which has one thread, and may be killed at any
// moment.
#pragma once

#include <cstdint>

#include "soak/shared_block.h"

/// Sessions through all operations, on several threads, while bLoad is set; returns when bEnd is.
void RunClientProcess(SharedBlock& shared, int nClient, uint64_t nSeed);

/// Serves one TCP and one UDP port, the ones that the process before it had, until bEnd is set.
void RunServerProcess(SharedBlock& shared, int nServer);
