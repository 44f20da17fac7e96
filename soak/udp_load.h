// Both ends of the datagrams of the load.
//
// A request tells who sent it and what its bytes are, and how many replies it wants; each reply tells the same and is
// checked. Datagrams may be lost. They may not come altered, twice, or to a client that did not ask; and of a session that
// nothing disturbed not all may be lost.
#pragma once

#include "soak/load_socket.h"
#include "soak/random.h"
#include "soak/shared_block.h"

/// One client with a socket of its own, for some dozens of datagrams. Blocks. Any thread.
void RunUdpSession(SharedBlock& shared, int nClient, int nOp, CRandom& random);

/// Answers what comes, until bEnd is set.
void ServeUdp(SharedBlock& shared, int nServer, const CLoadSocket& socket);
