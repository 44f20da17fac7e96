// The system's address record and an Endpoint, one made of the other. Only the halves of the socket layer and tools that
// call the system themselves include this: it brings the system's socket header.
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
