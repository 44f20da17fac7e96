// The measurements over TCP. Each drives its clients through a port, which is the forwarder's, or the server's own when
// there is no forwarder between, and gives figures of the measured window and sums of the whole run, warm-up included.
#pragma once

#include <chrono>
#include <cstdint>

#include "bench/load_result.h"
#include "bench/load_server.h"

/// The part of the run that counts, behind a warm-up that does not.
struct LoadWindow {
    std::chrono::milliseconds warmUp;
    std::chrono::milliseconds length;
};

struct StreamLoad {
    uint16_t wPort = 0;
    int32_t nClients = 1;
    LoadWindow window;
};

/// Every client sends as fast as it can into the server's sink.
LoadResult MeasureThroughput(CLoadServer& server, const StreamLoad& load);
/// Every client, again and again: connect, one byte to the server and back, close.
LoadResult MeasureConnections(const CLoadServer& server, const StreamLoad& load);
/// One client sends a message of nBytes and waits for its echo, again and again. nClients plays no part.
LoadResult MeasureRoundTrip(const CLoadServer& server, const StreamLoad& load, size_t nBytes);
