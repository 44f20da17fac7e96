// The measurement over UDP: clients that each keep a few datagrams on their way to the echo and back.
#pragma once

#include "bench/stream_load.h"

struct DatagramLoad {
    uint16_t wPort = 0;
    size_t nClients = 1;
    size_t nBytes = 64;      // of each datagram, above 8
    uint32_t nInFlight = 1;  // of each client
    LoadWindow window;
};

/// A datagram whose echo has not come within a quarter of a second is counted as lost, and another takes its place. An
/// echo that comes later than that is counted as late and otherwise ignored: sent = echoed + lost.
LoadResult MeasureDatagrams(const CLoadServer& server, const DatagramLoad& load);
