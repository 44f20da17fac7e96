// The vocabulary of the engine's tests: operations that are linked to counters, texts and a log of the test's own, and
// the clients and servers on both sides of them.
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/port_forward_op.h"
#include "platform/net/socket.h"
#include "tests/support/wait.h"

/// 127.0.0.1 with this port (host byte order).
Endpoint Loopback(uint16_t wPort = 0);

/// Ends reads that would block a test for ever are left to the watchdog of the fixture.
class CPeer {
  public:
    CPeer() = default;
    explicit CPeer(CSocket hSocket) : m_hSocket(std::move(hSocket)) {}

    /// A UDP socket on a port of its own.
    static CPeer Udp(uint16_t wPort = 0);
    /// A TCP connection to a port of this machine.
    static CPeer ConnectTcp(uint16_t wPort);
    /// A UDP socket that talks to one port of this machine only.
    static CPeer ConnectUdp(uint16_t wPort);

    void Send(const std::string& strBytes);
    void SendTo(const std::string& strBytes, const Endpoint& peer);
    /// Exactly this many bytes of a TCP connection; fewer if it ends before.
    std::string Read(size_t nBytes);
    /// One datagram; its sender goes to m_last.
    std::string Datagram();
    /// Whether the TCP connection is over; blocks until it is, and drops what still comes.
    bool IsClosedByPeer();
    uint16_t Port() const;

    CSocket m_hSocket;
    Endpoint m_last;
};

/// A listening TCP socket.
class CServer {
  public:
    explicit CServer(int32_t nBacklog = 100);
    CPeer Accept();
    uint16_t Port() const;

    CSocket m_hListen;
    Endpoint m_lastClient;
};

class EngineTest : public testing::Test {
  protected:
    EngineTest();
    ~EngineTest() override;

    /// An operation from a free port of 127.0.0.1 to this port of 127.0.0.1, not started.
    CPortForwardOp& MakeOp(int32_t nProtocol, uint16_t wRemotePort);
    CPortForwardOp& StartTcp(uint16_t wRemotePort);
    CPortForwardOp& StartUdp(uint16_t wRemotePort);
    static uint16_t PortOf(CPortForwardOp& op);

    /// The log lines so far, each "event|protocol|remote host|client's port".
    std::vector<std::string> Log();
    /// The events of the log so far.
    std::vector<std::string> Events();
    /// Waits until this many events have been logged, and gives them.
    std::vector<std::string> WaitForEvents(size_t nCount);
    /// Whether the operation and the program hold no session and no thread beyond those of started listeners.
    void ExpectIdle(const CPortForwardOp& op, int32_t nThreads);
    void ExpectStopped(CPortForwardOp& op);

    CWatchdog m_watchdog;
    SlotTable m_strings;
    EngineCounters m_counters;
    LogQueue m_logQueue;
    std::atomic<uint8_t> m_bLoggingEnabled = 1;
    std::atomic<uint8_t> m_bSuppressBlocked = 0;
    CSharedValue<std::string> m_logFormat{std::string("%G%E|%P|%RHost|%CPort")};
    CSharedValue<std::string> m_dateFormat;
    std::vector<std::string> m_log;
    std::vector<std::unique_ptr<CPortForwardOp>> m_ops;
};

/// The texts of the events, in the order of their slots from 134.
TextTable EventTexts();

inline constexpr char kEnded[] = "Session ended";
inline constexpr char kBadIp[] = "Session rejected - bad IP";
inline constexpr char kTooManyThreads[] = "Session rejected - too many threads";
inline constexpr char kTooManySessions[] = "Session rejected - too many sessions";
inline constexpr char kAllocationFault[] = "Session rejected - allocation fault";
inline constexpr char kUnresolved[] = "Session rejected - unable to resolve remote host";
inline constexpr char kNoConnection[] = "Session rejected - unable to establish remote host connection";
inline constexpr char kAccepted[] = "Session accepted";
