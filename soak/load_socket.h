// The sockets of the load: what clients and servers need beyond platform/net/socket.h - resets, small buffers, chosen source
// addresses, deadlines. Linux only, like all of the soak; the engine under test uses nothing of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "platform/net/socket.h"

/// Owns one descriptor; -1 is none.
class CLoadSocket {
  public:
    CLoadSocket() = default;
    explicit CLoadSocket(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    ~CLoadSocket() { Close(); }
    CLoadSocket(CLoadSocket&& other) noexcept : m_nDescriptor(std::exchange(other.m_nDescriptor, -1)) {}
    CLoadSocket& operator=(CLoadSocket&& other) noexcept;
    CLoadSocket(const CLoadSocket&) = delete;
    CLoadSocket& operator=(const CLoadSocket&) = delete;

    /// Connected from that address to that endpoint, waiting for it; none when that fails.
    static CLoadSocket Connect(SocketKind kind, uint32_t dwFromIp, const Endpoint& to);
    /// Bound, and listening if it is for TCP; none when that fails.
    static CLoadSocket Serve(SocketKind kind, const Endpoint& local);

    bool IsOpen() const { return m_nDescriptor >= 0; }
    int Descriptor() const { return m_nDescriptor; }
    uint16_t LocalPort() const;
    /// The next connection of a listening socket; none when the time is over.
    CLoadSocket Accept(int nMilliseconds);
    /// Takes little at once from then on, so that the sender has to wait.
    void MakeBufferSmall();
    void ShutdownSend();
    /// Closes with a reset instead of an orderly end.
    void Reset();
    void Close();

  private:
    int m_nDescriptor = -1;
};

/// What a wait or a transfer came to. Transfers never block.
enum class Transfer { Done, Again, Ended, Failed };

/// Waits until one of the two that are asked for can be done; false when the time is over.
bool WaitReady(const CLoadSocket& socket, bool bRead, bool bWrite, int nMilliseconds, bool* pbReadable,
               bool* pbWritable);
Transfer ReceiveSome(const CLoadSocket& socket, std::span<uint8_t> block, size_t* pnBytes);
Transfer SendSome(const CLoadSocket& socket, std::span<const uint8_t> bytes, size_t* pnBytes);
/// One datagram and its sender; the socket need not be connected.
Transfer ReceiveDatagram(const CLoadSocket& socket, std::span<uint8_t> block, size_t* pnBytes, Endpoint* pFrom);
void SendDatagram(const CLoadSocket& socket, std::span<const uint8_t> bytes, const Endpoint& to);
