// What goes over one TCP connection of the load, and how it is checked.
//
// The client sends a header that tells the whole plan, then bytes that the plan's seed gives. The server answers with a
// greeting as soon as it is reached, bytes of its own, and in an exchange with a last mark that says that it has got
// everything. A session of the forwarder ends as a whole when either side closes, so only in an exchange can both
// directions be held to arrive whole; a push is one-way, and its sender's end must come behind its last byte.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "soak/random.h"

enum class StreamKind : uint8_t {
    Exchange,         // both ways, whole
    ClientPush,       // to the server, which gets all of it and then the orderly end
    ServerPush,       // the same the other way
    ClientHalfClose,  // the client ends its direction in the middle: what comes is a beginning
    ServerHalfClose,
    ClientReset,
    ServerReset,
    Count
};

inline constexpr size_t kHeaderBytes = 32;
inline constexpr std::array<uint8_t, 8> kGreeting = {'r', 'e', 'a', 'c', 'h', 'e', 'd', '\n'};
inline constexpr std::array<uint8_t, 8> kAllReceived = {'a', 'l', 'l', ' ', 'g', 'o', 't', '\n'};

/// The header, in the order of its bytes; little endian, behind four bytes that mark it.
struct StreamPlan {
    StreamKind kind = StreamKind::Exchange;
    uint8_t nOp = 0;
    uint8_t nClient = 0;
    uint8_t bSlowServer = 0;  // the server reads with pauses
    uint32_t nOpToken = 0;    // of Disturbance, taken before the client began
    uint32_t nClientToken = 0;
    uint32_t nSeed = 0;
    uint32_t nUp = 0;       // bytes behind the header
    uint32_t nDown = 0;     // bytes between greeting and mark
    uint32_t nBreakAt = 0;  // bytes after which the breaking side breaks

    bool operator==(const StreamPlan&) const = default;
    bool IsBroken() const { return kind >= StreamKind::ClientHalfClose; }
    uint64_t UpSeed() const { return SubSeed(nSeed, 1); }
    uint64_t DownSeed() const { return SubSeed(nSeed, 2); }
};

std::vector<uint8_t> CodeHeader(const StreamPlan& plan);
/// Empty when the bytes are no header.
std::optional<StreamPlan> ReadHeader(std::span<const uint8_t, kHeaderBytes> bytes);

/// One direction as bytes by their place: a head, random bytes, a tail.
class CStreamBytes {
  public:
    CStreamBytes(std::span<const uint8_t> head, uint64_t nSeed, uint64_t nBody, std::span<const uint8_t> tail)
        : m_head(head.begin(), head.end()), m_nSeed(nSeed), m_nBody(nBody), m_tail(tail.begin(), tail.end()) {}

    uint64_t Size() const { return TailAt() + m_tail.size(); }
    uint64_t BodyAt() const { return m_head.size(); }
    uint64_t TailAt() const { return m_head.size() + m_nBody; }
    /// Fills the block with what stands from this place on; how many bytes there were.
    size_t Fill(uint64_t nOffset, std::span<uint8_t> block) const;
    /// Whether these bytes are what stands there.
    bool Matches(uint64_t nOffset, std::span<const uint8_t> bytes) const;

  private:
    std::vector<uint8_t> m_head;
    uint64_t m_nSeed;
    uint64_t m_nBody;
    std::vector<uint8_t> m_tail;
};
