// What the parts of the load tool share: sockets (loopback only, IPv4, ports in host byte order), the servers, the
// kinds of load. What fails throws. Sockets block, but those of TCP no longer than kStall: what stands still for that
// long is broken.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kStall(20);

/// Owns one descriptor; -1 is none.
class CDescriptor {
  public:
    explicit CDescriptor(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    ~CDescriptor();
    CDescriptor(CDescriptor&& other) noexcept : m_nDescriptor(other.Release()) {}
    CDescriptor& operator=(CDescriptor&&) = delete;

    int Get() const { return m_nDescriptor; }
    int Release() { return std::exchange(m_nDescriptor, -1); }

  private:
    int m_nDescriptor;
};

/// Throws the system's last error unless it is true.
void Require(bool bDone, const char* pszWhat);
/// SOCK_STREAM or SOCK_DGRAM. nSource varies the client's loopback address: each has the system's port range to itself,
/// which closed connections occupy for a while.
CDescriptor Connect(int nType, uint16_t wPort, uint32_t nSource = 0);
/// All of them or none.
void SendAll(int nSocket, const void* pData, size_t nSize);
void ReceiveAll(int nSocket, void* pBuffer, size_t nSize);

/// What the traffic is forwarded to: a TCP server and a UDP echo, in the process of the clients, so that the two ends'
/// counts can be compared. They run until the process ends.
struct Servers {
    uint16_t wTcpPort = 0;
    uint16_t wUdpPort = 0;
    // Sums, written by the servers' threads; no other data hangs on them.
    std::atomic<uint64_t> nStreamBytes = 0;  // that arrived
    std::atomic<uint64_t> nStreamEnds = 0;   // connections read to their ends
    std::atomic<uint64_t> nDatagrams = 0;    // that arrived
};
/// What the servers do with what arrives.
enum class Answer {
    Nothing,  // drop it
    Echo,     // give everything back
    Ends,     // TCP: give back the last byte of what ends with kByte
};
constexpr char kByte = 'E';
/// One thread accepts, and gives the connections in turn to one worker for each processor.
Servers& StartServers(Answer answer);
/// Throws what the clients counted and what arrived unless they fit each other.
void CheckSum(bool bFits, uint64_t nCount, const char* pszWhat, uint64_t nArrived);

struct Figure {
    template <class T>
    Figure(const char* pszFigure, T value) : pszName(pszFigure), dValue(static_cast<double>(value)) {}
    const char* pszName;
    double dValue;
};
using Figures = std::vector<Figure>;
void PrintFigures(const Figures& figures, const std::string& strError = "");

struct Load {
    uint16_t wPort = 0;                   // the forwarder's, or the server's own when there is no forwarder between
    std::vector<uint32_t> numbers;        // as each kind says below
    std::chrono::milliseconds warmUp{0};  // in front of the part of the run that counts
    std::chrono::milliseconds length{0};
};
// Each kind drives its clients through the port, and gives figures of the measured window ("done" in "seconds") and of
// the whole run, warm-up included.

/// CLIENTS that send as fast as they can into a server that drops everything.
Figures MeasureThroughput(const Servers& servers, const Load& load);
/// CLIENTS that again and again connect, have one byte echoed, and close.
Figures MeasureConnections(const Servers& servers, const Load& load);
/// One client that sends BYTES and waits for their echo, again and again.
Figures MeasureRoundTrip(const Servers& servers, const Load& load);
/// CLIENTS that each keep some datagrams of BYTES (above 8) on their way to the echo and back: IN-FLIGHT. One whose
/// echo has not come within a quarter of a second is counted as lost, and another takes its place. An echo that comes
/// later is ignored: sent = echoed + lost.
Figures MeasureDatagrams(const Servers& servers, const Load& load);
/// One client that sends BYTES twice and then waits for one byte, which the server sends behind the second ones.
Figures MeasureTwoWrites(const Servers& servers, const Load& load);
/// CONNECTIONS that one client opens without a pause, then has one byte echoed on each, and closes; again and again.
Figures MeasureConnectBursts(const Servers& servers, const Load& load);
/// One client that sends datagrams of BYTES as fast as it can to a server that drops them: counted where they arrive.
Figures MeasureOneWay(const Servers& servers, const Load& load);
/// Clients that each had a datagram echoed and are silent: each line of the standard input says how many in all.
Figures HoldDatagramSessions(const Servers& servers, const Load& load);
/// Connections that are kept open: each line of the standard input says how many in all, and is answered. Each has had
/// 64 bytes echoed, so that the forwarder has it standing on both sides.
Figures HoldSessions(const Servers& servers, const Load& load);
