// IPv4 addresses as the program holds them: 32-bit values in network byte order, ports in host byte order.
//
// Plain values and their texts: any thread, no socket layer needed. Names are resolved in platform/net/socket.h.
#pragma once

#include <cstdint>
#include <string>

/// One end of a connection or the sender of a datagram.
struct Endpoint {
    uint32_t dwIp = 0;   // network byte order; 0 means every interface when it is bound to
    uint16_t wPort = 0;  // host byte order; 0 means that the system chooses when it is bound to

    bool operator==(const Endpoint&) const = default;
};

/// Reads a numeric IPv4 address in every form that inet_addr takes (dotted, hexadecimal, octal, one to four parts).
/// *pdwIp is in network byte order and is set only on true. 255.255.255.255 is not taken, as with inet_addr.
bool ParseIpAddress(const std::string& strText, uint32_t* pdwIp);
/// "a.b.c.d" of an address in network byte order.
std::string FormatIpAddress(uint32_t dwIp);
/// An address in network byte order as a number whose most significant byte is the address's first, and back.
uint32_t IpToNumber(uint32_t dwIp);
uint32_t IpFromNumber(uint32_t dwNumber);
