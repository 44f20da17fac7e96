// The kinds of load. Each drives its clients through a port, which is the forwarder's, or the server's own when there is
// no forwarder between, and gives figures of the measured window ("done" in "seconds") and of the whole run, warm-up
// included. What goes wrong is thrown, counts of the two ends that do not fit each other too.
#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "bench/servers.h"

using Clock = std::chrono::steady_clock;

struct Figure {
    template <class T>
    Figure(const char* pszFigure, T value) : pszName(pszFigure), dValue(static_cast<double>(value)) {}
    const char* pszName;
    double dValue;
};
using Figures = std::vector<Figure>;

struct Load {
    uint16_t wPort = 0;
    std::vector<uint32_t> numbers;        // as each kind says below
    std::chrono::milliseconds warmUp{0};  // in front of the part of the run that counts
    std::chrono::milliseconds length{0};
};

/// CLIENTS that send as fast as they can into a server that drops everything.
Figures MeasureThroughput(Servers& servers, const Load& load);
/// CLIENTS that again and again connect, have one byte echoed, and close.
Figures MeasureConnections(Servers& servers, const Load& load);
/// One client that sends BYTES and waits for their echo, again and again.
Figures MeasureRoundTrip(Servers& servers, const Load& load);
/// CLIENTS that each keep some datagrams of BYTES (above 8) on their way to the echo and back: IN-FLIGHT. One whose echo
/// has not come within a quarter of a second is counted as lost, and another takes its place. An echo that comes later
/// is ignored: sent = echoed + lost.
Figures MeasureDatagrams(Servers& servers, const Load& load);
/// Connections that are kept open: each line of the standard input says how many in all, and is answered. Each has had
/// 64 bytes echoed, so that the forwarder has it standing on both sides.
Figures HoldSessions(Servers& servers, const Load& load);

void PrintFigures(const Figures& figures, const std::string& strError = "");
