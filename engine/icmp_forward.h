// Forwarding of the ICMP errors that the datagrams of a UDP operation meet.
//
// The errors come to this machine, whose session sockets sent the datagrams. One thread of the operation reads all ICMP
// messages from a raw socket, picks out those about its sessions and tells the client.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

#include "engine/icmp_packet.h"
#include "platform/net/socket.h"

class CPortForwardOp;

/// The raw socket and the thread of one started operation. The listener's thread owns it and makes all calls.
class CIcmpForwarder {
  public:
    explicit CIcmpForwarder(CPortForwardOp* pOp) : m_pOp(pOp) {}
    ~CIcmpForwarder() = default;
    CIcmpForwarder(const CIcmpForwarder&) = delete;
    CIcmpForwarder& operator=(const CIcmpForwarder&) = delete;

    /// Opens the raw socket and starts the thread; 0 or the system's code, nothing is left open then. A system wants a
    /// privileged process for it.
    [[nodiscard]] int32_t Start();
    /// Ends the thread and waits for it. Nothing to do without a Start that succeeded.
    void End();

    CPortForwardOp& Op() const { return *m_pOp; }
    CSocket& Socket() { return m_hIcmpSocket; }
    const std::atomic<uint8_t>& Ending() const { return m_bEnd; }
    /// The thread's last touch of this object.
    void SetThreadEnded() { m_bIcmpRunning = 0; }

  private:
    CPortForwardOp* const m_pOp;
    CSocket m_hIcmpSocket;                    // fixed while the thread runs
    std::atomic<uint8_t> m_bEnd = 0;          // set by the listener's thread, read by the thread
    std::atomic<uint8_t> m_bIcmpRunning = 0;  // the thread is alive; set by its creator, cleared by the thread
};

/// A session's client, and what the client knows the operation by.
struct ToldClient {
    Endpoint client;
    uint32_t dwAskedIp = 0;  // see UdpSession
};

/// The client of the first session of the operation that sent the datagram; empty when none did. The name of a fixed
/// destination is looked up anew: blocks until bEnd is set. Any thread.
std::optional<ToldClient> FindClientOfDatagram(CPortForwardOp& op, const QuotedDatagram& quoted,
                                               const std::atomic<uint8_t>& bEnd);

/// Thread procedure; counted by its creator.
void IcmpForwardThread(CIcmpForwarder* pForwarder);
