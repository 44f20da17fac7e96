// The sockets of the load tool: loopback only, IPv4, ports in host byte order.
//
// A CDescriptor owns what the system gave; a function that opens one returns it empty on failure, and LastErrorText
// tells why as long as no other call came between. Calls block, but those on a TCP connection no longer than kStallMs:
// what stands still for that long is broken, and the call fails. Any thread may call; one descriptor serves one thread
// at a time, save that Interrupt comes from anywhere.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

constexpr int32_t kStallMs = 20'000;

class CDescriptor {
  public:
    CDescriptor() = default;
    explicit CDescriptor(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    ~CDescriptor() { Close(); }
    CDescriptor(CDescriptor&& other) noexcept : m_nDescriptor(other.Release()) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept;
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;

    void Close();
    int Get() const { return m_nDescriptor; }
    bool IsOpen() const { return m_nDescriptor >= 0; }

  private:
    int Release();

    int m_nDescriptor = -1;
};

std::string LastErrorText();

// Both on a port of the system's choice.
[[nodiscard]] CDescriptor OpenStreamServer(uint16_t* pwPort);
[[nodiscard]] CDescriptor OpenDatagramServer(uint16_t* pwPort);

[[nodiscard]] CDescriptor Accept(const CDescriptor& hListener);
/// nSource varies the client's loopback address (from 0): each address has the system's port range to itself, which
/// closed connections occupy for a while.
[[nodiscard]] CDescriptor ConnectStream(uint16_t wPort, int32_t nSource);
[[nodiscard]] CDescriptor ConnectDatagram(uint16_t wPort);

/// Blocks for data: the byte count, 0 at the end of a connection, -1 on a failure.
ptrdiff_t Receive(const CDescriptor& hSocket, void* pBuffer, size_t nSize);
/// The same, and -1 when nothing is there.
ptrdiff_t ReceiveNow(const CDescriptor& hSocket, void* pBuffer, size_t nSize);
/// All of them, in as many calls as it takes.
[[nodiscard]] bool ReceiveAll(const CDescriptor& hSocket, void* pBuffer, size_t nSize);
[[nodiscard]] bool SendAll(const CDescriptor& hSocket, const void* pData, size_t nSize);
/// One datagram. A refusal that an earlier datagram met does not keep this one.
[[nodiscard]] bool SendDatagram(const CDescriptor& hSocket, const void* pData, size_t nSize);
void ShutdownSend(const CDescriptor& hSocket);
/// Makes the calls on a listener or a datagram server return.
void Interrupt(const CDescriptor& hSocket);

/// Gives one datagram back to its sender, counted before it leaves. An empty one, with which one of the peers begins a
/// session and by whose echo it would end it, is neither counted nor answered. False when the socket was interrupted.
[[nodiscard]] bool EchoDatagram(const CDescriptor& hSocket, std::vector<char>& buffer, std::atomic<uint64_t>& nCount);

/// Tells which of many sockets have something to read. One thread waits; any thread adds.
class CPoller {
  public:
    CPoller();
    [[nodiscard]] bool Add(const CDescriptor& hSocket);
    /// Wakes the waiter only when the socket is interrupted.
    [[nodiscard]] bool AddForInterrupt(const CDescriptor& hListener);
    /// The descriptors that are ready; empty when the time is over. nTimeoutMs -1 waits for ever.
    const std::vector<int>& Wait(int32_t nTimeoutMs);

  private:
    CDescriptor m_hPoller;
    std::vector<int> m_ready;  // the waiting thread only
};
