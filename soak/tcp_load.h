// Both ends of the TCP sessions of the load, and their judgement of what came through.
#pragma once

#include "soak/load_socket.h"
#include "soak/random.h"
#include "soak/shared_block.h"

/// One session through an operation: begins it, carries it, and holds it to its plan. Blocks until it is over. Any thread.
void RunTcpSession(SharedBlock& shared, int nClient, int nOp, CRandom& random);

/// The server's side of one connection; the same.
void ServeTcpSession(SharedBlock& shared, int nServer, CLoadSocket connection);
