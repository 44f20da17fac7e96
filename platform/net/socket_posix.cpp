#include "platform/net/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "platform/net/breakable_calls.h"
#include "platform/net/socket_system.h"

namespace {

int32_t LastErrorIf(bool bFailed) {
    return bFailed ? errno : 0;
}

int Handle(intptr_t hSocket) {
    return static_cast<int>(hSocket);
}

IoResult ToResult(ssize_t nBytes) {
    if (nBytes < 0) return {-1, errno};
    return {static_cast<int32_t>(nBytes), 0};
}

}  // namespace

int32_t CSocket::Open(SocketKind kind) {
    Close();
    const SocketType type = TypeOf(kind);
    const int hSocket = socket(AF_INET, type.nType | SOCK_CLOEXEC, type.nProtocol);
    if (hSocket < 0) return errno;
    SetOptions(hSocket, kind);
    m_hSocket = hSocket;
    return 0;
}

int32_t CSocket::Bind(const Endpoint& local) {
    int nKind = 0;
    socklen_t nSize = sizeof nKind;
    if (getsockopt(Handle(m_hSocket), SOL_SOCKET, SO_TYPE, &nKind, &nSize) != 0) return errno;
    // Connections that this side closed hold a TCP port for a minute here, which on Windows they do not: without this a
    // stop and start of one operation would fail. Two listeners on one port are refused all the same.
    const int nOn = 1;
    if (nKind == SOCK_STREAM) setsockopt(Handle(m_hSocket), SOL_SOCKET, SO_REUSEADDR, &nOn, sizeof nOn);
    const sockaddr_in address = ToSystemAddress(local);
    return LastErrorIf(bind(Handle(m_hSocket), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0);
}

int32_t CSocket::Listen(int32_t nQueue) {
    return LastErrorIf(listen(Handle(m_hSocket), nQueue) != 0);
}

int32_t CSocket::Accept(CSocket* pClient, Endpoint* pPeer) {
    sockaddr_in address = {};
    int hClient = -1;
    do {
        socklen_t nSize = sizeof address;
        hClient = accept4(Handle(m_hSocket), reinterpret_cast<sockaddr*>(&address), &nSize, SOCK_CLOEXEC);
    } while (hClient < 0 && errno == EINTR);
    if (hClient < 0) return errno;
    pClient->Close();
    pClient->m_hSocket = hClient;
    *pPeer = FromSystemAddress(address);
    return 0;
}

int32_t CSocket::Connect(const Endpoint& remote) {
    const sockaddr_in address = ToSystemAddress(remote);
    int nResult = 0;
    do {  // behind a signal the next call goes on waiting for the same connection
        nResult = connect(Handle(m_hSocket), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (nResult != 0 && errno == EINTR);
    return LastErrorIf(nResult != 0);
}

int32_t CSocket::LocalEndpoint(Endpoint* pLocal) const {
    sockaddr_in address = {};
    socklen_t nSize = sizeof address;
    if (getsockname(Handle(m_hSocket), reinterpret_cast<sockaddr*>(&address), &nSize) != 0) return errno;
    *pLocal = FromSystemAddress(address);
    return 0;
}

uint32_t CSocket::LocalAddressToward(uint32_t dwIp) const {
    // Connecting a datagram socket sends nothing: it only chooses the way. The port plays no part in that.
    constexpr uint16_t kAnyPort = 9;
    CSocket hProbe;
    Endpoint local;
    if (hProbe.Open(SocketKind::Udp) != 0 || hProbe.Connect({dwIp, kAnyPort}) != 0) return dwIp;
    return hProbe.LocalEndpoint(&local) == 0 ? local.dwIp : dwIp;
}

IoResult CSocket::Recv(void* pBuffer, size_t nSize, const CBreakableCalls* pCalls) {
    ssize_t nBytes = 0;
    do {
        if (pCalls != nullptr && pCalls->IsBroken()) return {-1, ECANCELED};
        nBytes = recv(Handle(m_hSocket), pBuffer, nSize, 0);
    } while (nBytes < 0 && errno == EINTR);
    return ToResult(nBytes);
}

IoResult CSocket::RecvNow(void* pBuffer, size_t nSize) {
    return ToResult(recv(Handle(m_hSocket), pBuffer, nSize, MSG_DONTWAIT));
}

IoResult CSocket::SendNow(const void* pData, size_t nSize) {
    return ToResult(send(Handle(m_hSocket), pData, nSize, MSG_DONTWAIT | MSG_NOSIGNAL));
}

void CSocket::SetNonBlocking() {
    fcntl(Handle(m_hSocket), F_SETFL, fcntl(Handle(m_hSocket), F_GETFL) | O_NONBLOCK);
}

IoResult CSocket::RecvFrom(void* pBuffer, size_t nSize, Endpoint* pPeer) {
    sockaddr_in address = {};
    ssize_t nBytes = 0;
    do {
        socklen_t nAddressSize = sizeof address;
        nBytes = recvfrom(Handle(m_hSocket), pBuffer, nSize, 0, reinterpret_cast<sockaddr*>(&address), &nAddressSize);
    } while (nBytes < 0 && errno == EINTR);
    if (nBytes >= 0) *pPeer = FromSystemAddress(address);
    return ToResult(nBytes);
}

IoResult CSocket::Send(const void* pData, size_t nSize, const CBreakableCalls* pCalls) {
    const char* const pBytes = static_cast<const char*>(pData);
    size_t nSent = 0;
    int nTries = kSendTries;
    for (;;) {
        if (pCalls != nullptr && pCalls->IsBroken()) return {-1, ECANCELED};
        const ssize_t nBytes = send(Handle(m_hSocket), pBytes + nSent, nSize - nSent, MSG_NOSIGNAL);
        if (nBytes < 0) {
            if (errno == EINTR || (IsEarlierDatagramError(errno) && --nTries > 0)) continue;
            return {-1, errno};
        }
        nSent += static_cast<size_t>(nBytes);
        if (nSent == nSize) return {static_cast<int32_t>(nSent), 0};
    }
}

IoResult CSocket::SendTo(const void* pData, size_t nSize, const Endpoint& peer) {
    const sockaddr_in address = ToSystemAddress(peer);
    int nTries = kSendTries;
    ssize_t nBytes = 0;
    do {
        nBytes = sendto(Handle(m_hSocket), pData, nSize, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
                        sizeof address);
    } while (nBytes < 0 && (errno == EINTR || (IsEarlierDatagramError(errno) && --nTries > 0)));
    return ToResult(nBytes);
}

void CSocket::ShutdownSend() {
    shutdown(Handle(m_hSocket), SHUT_WR);
}

bool CSocket::Interrupt() {
    // Wakes every call in progress, also accept and the calls of an unconnected datagram socket, and is lasting.
    shutdown(Handle(m_hSocket), SHUT_RDWR);
    return true;
}

void CSocket::Close() {
    if (m_hSocket != kNone) close(Handle(m_hSocket));
    m_hSocket = kNone;
}

bool IsNotSocketError(int32_t nError) {
    return nError == EBADF || nError == ENOTSOCK;
}

bool IsWouldBlockError(int32_t nError) {
    return nError == EAGAIN;
}

bool IsConnectionResetError(int32_t nError) {
    return nError == ECONNRESET || nError == ECONNREFUSED;
}

// The socket hands the error to the next call, and that call then does nothing.
bool IsEarlierDatagramError(int32_t nError) {
    return nError == ECONNREFUSED || nError == EHOSTUNREACH || nError == ENETUNREACH || nError == EHOSTDOWN ||
           nError == ENOPROTOOPT || nError == EPROTO;
}

bool IsRawSocketRefusal(int32_t nError) {
    return nError == EPERM;
}

bool IsTemporaryAcceptError(int32_t nError) {
    switch (nError) {
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case ENOMEM:
        // accept also passes on the network errors of the one connection that it would have returned (accept(2)).
        case ECONNABORTED:
        case EPROTO:
        case ENETDOWN:
        case ENOPROTOOPT:
        case EHOSTDOWN:
        case ENONET:
        case EHOSTUNREACH:
        case EOPNOTSUPP:
        case ENETUNREACH:
        case EPERM:
            return true;
        default:
            return false;
    }
}

int32_t StartSocketLayer() {
    return 0;
}

bool ResolveHostName(const std::string& strHost, uint32_t* pdwIp) {
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* pFound = nullptr;
    if (getaddrinfo(strHost.c_str(), nullptr, &hints, &pFound) != 0) return false;
    const bool bFound = pFound != nullptr && pFound->ai_addr != nullptr;
    if (bFound) *pdwIp = reinterpret_cast<const sockaddr_in*>(pFound->ai_addr)->sin_addr.s_addr;
    freeaddrinfo(pFound);
    return bFound;
}
