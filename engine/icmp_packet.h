// ICMP errors as bytes: what one that came in says of a datagram, and the one that the client is sent in its place.
//
// Both IPv4 headers are taken to be 20 bytes long. Addresses are in network byte order, ports in host byte order. Pure
// functions; any thread.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/net/ip_address.h"

/// The least that is looked at: outer header, ICMP header, quoted header and quoted UDP header.
inline constexpr size_t kIcmpErrorBytes = 56;
/// What is sent: an ICMP header and the two quoted ones. The system adds the outer header.
inline constexpr size_t kIcmpMessageBytes = 36;

/// The datagram that an error is about: where it went, and the local port that it left from.
struct QuotedDatagram {
    Endpoint target;
    uint16_t wSourcePort = 0;
};

/// Empty unless the packet, as a raw socket gives it, is an error of type 3, 4 or 11 about an IPv4 datagram.
std::optional<QuotedDatagram> ReadIcmpError(std::span<const uint8_t> packet);

/// The same error (a packet that ReadIcmpError took) about the datagram as the client sent it: from its own address and
/// port to `listener`, the address by which this machine reaches it and the operation's port.
std::array<uint8_t, kIcmpMessageBytes> BuildIcmpMessage(std::span<const uint8_t> packet, const Endpoint& client,
                                                        const Endpoint& listener);

/// The Internet checksum (RFC 1071) of an even number of bytes, as a number.
uint16_t InternetChecksum(std::span<const uint8_t> bytes);
