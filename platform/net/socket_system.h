// What the halves of the socket layer share, in the system's own types: its socket header comes in here. Nothing else of
// the program includes this, only tools that call the system themselves.
#pragma once

#ifdef _WIN32
#include "platform/system/windows_api.h"
// The compiler's headers lack the numbers; Windows knows them since version 10.
#define TCP_KEEPIDLE 3
#define TCP_KEEPCNT 16
#define TCP_KEEPINTVL 17
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

/// A call on a datagram socket that an earlier datagram's error met is repeated: more than one such error can wait, and a
/// last one that stays is the answer to the call itself.
inline constexpr int kSendTries = 3;

/// How a TCP connection whose peer has vanished is noticed.
inline constexpr int kFirstProbeSeconds = 60;
inline constexpr int kProbeSeconds = 10;
inline constexpr int kProbes = 6;

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

/// The options that a socket of the kind begins with. A system that does not know one goes on without it.
template <class SystemSocket>
void SetOptions(SystemSocket hSocket, SocketKind kind) {
    const auto set = [hSocket](int nLevel, int nOption, int nValue) {
        static_cast<void>(setsockopt(hSocket, nLevel, nOption, reinterpret_cast<const char*>(&nValue), sizeof nValue));
    };
    if (kind == SocketKind::Udp) set(SOL_SOCKET, SO_RCVBUF, kDatagramBufferBytes);
#ifdef SO_RCVBUFFORCE
    // What the system grants everybody is less; a privileged process gets all of it.
    if (kind == SocketKind::Udp) set(SOL_SOCKET, SO_RCVBUFFORCE, kDatagramBufferBytes);
#endif
    if (kind != SocketKind::Tcp) return;
    set(IPPROTO_TCP, TCP_NODELAY, 1);
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
    set(IPPROTO_TCP, TCP_KEEPIDLE, kFirstProbeSeconds);
    set(IPPROTO_TCP, TCP_KEEPINTVL, kProbeSeconds);
    set(IPPROTO_TCP, TCP_KEEPCNT, kProbes);
}
