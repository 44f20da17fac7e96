// Bytes carried both ways between two TCP connections by one thread, as long as little moves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/net/socket.h"

/// Whether this system can serve both connections with one thread. Where it cannot, CarryQuietly returns at once.
#ifdef _WIN32
inline constexpr bool kOneThreadCarriesBoth = false;
#else
inline constexpr bool kOneThreadCarriesBoth = true;
#endif

/// Is told of all bytes that have come in, before they go out.
class IByteCounter {
  public:
    virtual ~IByteCounter() = default;
    virtual void OnReceived(bool bFromServer, int32_t nBytes) = 0;
};

/// Why CarryQuietly has returned.
struct CarryResult {
    bool bEnded = false;       // the connection that the bytes come from has ended or failed; otherwise: much moves
    bool bFromServer = false;  // of the direction concerned: whether its bytes come from the server
    size_t nRest = 0;          // received in that direction and not sent yet: they stand at the buffer's front
};

/// Carries bytes both ways until a connection ends, or one direction has become busy: the receiver takes no more for now,
/// or several buffers came in full. Then blocking calls on two threads are faster. Interrupt on either socket ends it.
CarryResult CarryQuietly(CSocket& hClient, CSocket& hServer, std::span<uint8_t> buffer, IByteCounter& counter);
