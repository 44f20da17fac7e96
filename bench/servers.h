// What the traffic is forwarded to: a TCP server and a UDP echo, in the process of the clients, so that the two ends'
// counts can be compared. They run until the process ends.
#pragma once

#include <atomic>
#include <cstdint>

struct Servers {
    uint16_t wTcpPort = 0;
    uint16_t wUdpPort = 0;
    // Sums, written by the servers' threads; no other data hangs on them.
    std::atomic<uint64_t> nStreamBytes = 0;  // that arrived
    std::atomic<uint64_t> nStreamEnds = 0;   // connections read to their ends
    std::atomic<uint64_t> nDatagrams = 0;    // that arrived
};

/// bEcho: the TCP server gives everything back; else it drops everything. One thread accepts, and gives the connections
/// in turn to one worker for each processor.
Servers& StartServers(bool bEcho);

/// Throws what the clients counted and what arrived unless they fit each other.
void CheckSum(bool bFits, uint64_t nCount, const char* pszWhat, uint64_t nArrived);
