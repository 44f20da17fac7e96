// Datagrams in batches: received without blocking, and sent with as few calls as the system allows.
//
// For one thread. The bytes stay where they were received; nothing is copied.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "platform/net/socket.h"

struct Datagram {
    uint8_t* pBytes = nullptr;
    size_t nBytes = 0;
    Endpoint peer;  // whom it came from, or goes to
    uint32_t dwLocalIp =
        0;               // network byte order: the address of this machine that it was sent to, or is to leave from;
                         // 0 where that is not told (CSocket::TellTargets), and where the system may choose
    int32_t nError = 0;  // of sending: the system's code; 0: it is on its way
};

class CDatagramBatch {
  public:
    /// Datagrams that it holds, each of any size.
    static constexpr size_t kPlaces = 64;

    /// Takes memory, some megabytes that are used only as far as datagrams fill them: throws std::bad_alloc.
    CDatagramBatch();
    ~CDatagramBatch();
    CDatagramBatch(const CDatagramBatch&) = delete;
    CDatagramBatch& operator=(const CDatagramBatch&) = delete;

    /// Appends what the socket holds, at most so many datagrams and as many as there are free places (at least one has to
    /// be free); nBytes is their number, 0 when nothing waits. An error that belongs to an earlier datagram comes alone.
    IoResult Receive(CSocket& hSocket, size_t nMost);
    std::span<Datagram> Received() { return {m_datagrams.data(), m_nReceived}; }
    size_t FreePlaces() const { return kPlaces - m_nReceived; }
    void Clear() { m_nReceived = 0; }

    /// Sends them (at most kPlaces) in this order: to where the socket is connected, or each to its peer from its local
    /// address. Each one's nError tells how it went. Blocks as long as the system has no room; an error of an earlier
    /// datagram keeps none of them from being sent, and neither does a local address that the system refuses.
    void Send(CSocket& hSocket, std::span<Datagram* const> datagrams);
    void SendTo(CSocket& hSocket, std::span<Datagram* const> datagrams);

  private:
    struct State;
    const std::unique_ptr<State> m_pState;
    std::array<Datagram, kPlaces> m_datagrams;  // the places, those in use first
    size_t m_nReceived = 0;
};
