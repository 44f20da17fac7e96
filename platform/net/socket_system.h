// What the halves of the socket layer share, in the system's own types: its socket header comes in here. Nothing else of
// the program includes this, only tools that call the system themselves.
#pragma once

#ifdef _WIN32
#include "platform/system/windows_api.h"
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#endif

#include "platform/net/socket.h"

inline sockaddr_in ToSystemAddress(const Endpoint& endpoint) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = endpoint.dwIp;
    address.sin_port = htons(endpoint.wPort);
    return address;
}

inline Endpoint FromSystemAddress(const sockaddr_in& address) {
    return {address.sin_addr.s_addr, ntohs(address.sin_port)};
}

/// Bytes of datagrams that a UDP socket asks the system to hold while its thread is busy with others: what arrives beyond
/// them is lost. The system may grant less.
inline constexpr int kDatagramBufferBytes = 1 << 20;

/// What the system's socket call takes for a kind.
struct SocketType {
    int nType;
    int nProtocol;
};

inline SocketType TypeOf(SocketKind kind) {
    if (kind == SocketKind::Tcp) return {SOCK_STREAM, IPPROTO_TCP};
    if (kind == SocketKind::Udp) return {SOCK_DGRAM, IPPROTO_UDP};
    return {SOCK_RAW, IPPROTO_ICMP};
}
