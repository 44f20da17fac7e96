// A socket and the one handle behind it, the same on every system.
//
// CSocket owns the handle: it is closed once, by the destructor or by Close, when no other thread can still be inside a
// call on it. A thread that wants another thread's calls to fail uses Interrupt, never Close. All calls block; IPv4 only.
// Endpoints become the system's address records in the two platform halves and nowhere else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/net/ip_address.h"

/// RawIcmp receives every ICMP message of the machine, with its IPv4 header, and sends ICMP messages without one. Systems
/// want a privileged process for it.
enum class SocketKind { Tcp, Udp, RawIcmp };

/// What a transfer did: the byte count, or -1 and the system's error code.
struct [[nodiscard]] IoResult {
    int32_t nBytes = -1;
    int32_t nError = 0;  // 0 when nBytes is 0 or more
};

class CBreakableCalls;

class CSocket {
  public:
    /// Every system takes this for its own maximum.
    static constexpr int32_t kLongestQueue = INT32_MAX;

    CSocket() = default;
    ~CSocket() { Close(); }
    CSocket(CSocket&& other) noexcept : m_hSocket(std::exchange(other.m_hSocket, kNone)) {}
    CSocket& operator=(CSocket&& other) noexcept {
        CSocket taken(std::move(other));  // first, so that an assignment to itself loses nothing
        std::swap(m_hSocket, taken.m_hSocket);
        return *this;
    }
    CSocket(const CSocket&) = delete;
    CSocket& operator=(const CSocket&) = delete;

    // The calls below return 0 or the system's error code (see the functions under the class).

    /// Takes a new socket of the kind; what the object held is closed first. A TCP socket sends small writes without delay
    /// and probes a silent peer: the first time after a minute, then every ten seconds, and gives it up after six.
    [[nodiscard]] int32_t Open(SocketKind kind);
    /// A port that was only just given up by a TCP listener can be bound again at once on every system.
    [[nodiscard]] int32_t Bind(const Endpoint& local);
    /// So many connections wait for Accept, or as many as the system grants.
    [[nodiscard]] int32_t Listen(int32_t nQueue = kLongestQueue);
    /// Blocks for the next connection. *pClient and *pPeer are set only on success. The connection has the options of the
    /// listening socket.
    [[nodiscard]] int32_t Accept(CSocket* pClient, Endpoint* pPeer);
    [[nodiscard]] int32_t Connect(const Endpoint& remote);
    /// The local address that Bind or Connect gave the socket.
    [[nodiscard]] int32_t LocalEndpoint(Endpoint* pLocal) const;

    /// The local address that the system would send from toward this one; this one itself if it knows no way. Both in
    /// network byte order.
    uint32_t LocalAddressToward(uint32_t dwIp) const;

    /// Blocks for data. 0 bytes is the orderly end of a TCP connection or a datagram without content; a socket that was
    /// interrupted gives 0 or -1, and may first give data that had already arrived.
    /// Calls that another thread has broken give -1.
    IoResult Recv(void* pBuffer, size_t nSize, const CBreakableCalls* pCalls = nullptr);
    IoResult RecvFrom(void* pBuffer, size_t nSize, Endpoint* pPeer);
    /// TCP: blocks until all bytes are handed over. UDP: sends one datagram. An error that belongs to an earlier datagram
    /// (an ICMP message that came back meanwhile) does not keep this one from being sent.
    IoResult Send(const void* pData, size_t nSize, const CBreakableCalls* pCalls = nullptr);
    IoResult SendTo(const void* pData, size_t nSize, const Endpoint& peer);

    /// The same from a local address in network byte order, where the system lets the sender choose; 0 leaves it to the
    /// system. It has to be one of the machine's own.
    IoResult SendFrom(uint32_t dwLocalIp, const void* pData, size_t nSize, const Endpoint& peer);
    /// From here on received datagrams tell which of the machine's addresses they were sent to (platform/net/datagrams.h). False
    /// where the system does not.
    bool TellTargets();

    // POSIX systems only: what can be had without blocking, which for a send may be less than all.
    IoResult RecvNow(void* pBuffer, size_t nSize);
    IoResult SendNow(const void* pData, size_t nSize);

    /// From now on no call blocks: one that would have fails (IsWouldBlockError). No other thread may be in a call.
    void SetNonBlocking();

    /// Ends a TCP connection in the sending direction only: the peer sees its orderly end.
    void ShutdownSend();
    /// Makes the calls on this socket fail, the present and the later ones. Any thread, while the object lives. Returns
    /// true when this one call is enough; false when the system can miss a call that was just beginning, so that the
    /// caller must repeat until the thread concerned has gone (EndCalls does).
    bool Interrupt();
    void Close();

    bool IsOpen() const { return m_hSocket != kNone; }

  private:
    // What waits on the handles of several sockets at once.
    friend class CBreakableCalls;
    friend class CDatagramBatch;
    friend class CPoller;
    friend struct CarryResult CarryQuietly(CSocket& hClient, CSocket& hServer, std::span<uint8_t> buffer,
                                           class IByteCounter& counter);

    static constexpr intptr_t kNone = -1;
    intptr_t m_hSocket = kNone;
};

/// The code of a call on something that is no socket (any more).
bool IsNotSocketError(int32_t nError);
/// The code of a call that would have to wait, where it must not.
bool IsWouldBlockError(int32_t nError);
/// The code by which a datagram socket tells that an earlier datagram found no receiver.
bool IsConnectionResetError(int32_t nError);
/// A code by which a datagram socket tells what an earlier datagram met on its way: it came by ICMP, and the socket is
/// sound. Among them the one above.
bool IsEarlierDatagramError(int32_t nError);
/// The code by which the system keeps a raw socket from a process that has no right to one.
bool IsRawSocketRefusal(int32_t nError);
/// An accept failed for want of handles or memory, or because its one connection was gone again: the listener is sound.
bool IsTemporaryAcceptError(int32_t nError);

/// Starts the process's socket layer. 0 or the system's error code. Once, before any other call here.
[[nodiscard]] int32_t StartSocketLayer();

/// Asks the system's resolver for the first IPv4 address of the name: *pdwIp is in network byte order and is set only on
/// true. Blocks; any thread.
bool ResolveHostName(const std::string& strHost, uint32_t* pdwIp);
/// The IPv4 addresses that the machine's own name stands for, in network byte order and in the resolver's order; empty
/// when the system does not tell. Blocks while the resolver is asked. Windows only.
std::vector<uint32_t> LocalAddresses();
