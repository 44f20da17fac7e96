#include "bench/net.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace {

// As many as a burst of clients can bring before the acceptor runs again.
constexpr int kBacklog = 1024;
// Datagrams that the tool's own side had no time for would count as the forwarder's losses.
constexpr int kDatagramBufferBytes = 4 << 20;

sockaddr_in Loopback(uint16_t wPort, uint32_t nHost) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + nHost);
    address.sin_port = htons(wPort);
    return address;
}

// Each option is one of TCP or of UDP; the other kind of socket has no use for it and refuses.
void SetUp(int nSocket, int nType) {
    const auto set = [nSocket](int nLevel, int nName, const auto& value) {
        setsockopt(nSocket, nLevel, nName, &value, sizeof value);
    };
    if (nType == SOCK_DGRAM) {
        set(SOL_SOCKET, SO_RCVBUF, kDatagramBufferBytes);
        return;
    }
    const timeval longest = {kStall.count(), 0};
    set(IPPROTO_TCP, TCP_NODELAY, 1);
    set(SOL_SOCKET, SO_RCVTIMEO, longest);
    set(SOL_SOCKET, SO_SNDTIMEO, longest);
}

CDescriptor Bound(int nType, uint32_t nHost, bool bPortLater) {
    CDescriptor hSocket(socket(AF_INET, nType | SOCK_CLOEXEC, 0));
    SetUp(hSocket.Get(), nType);
    const int nLater = bPortLater ? 1 : 0;
    setsockopt(hSocket.Get(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &nLater, sizeof nLater);
    const sockaddr_in address = Loopback(0, nHost);
    Require(bind(hSocket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "binding");
    return hSocket;
}

}  // namespace

void Require(bool bDone, const char* pszWhat) {
    if (!bDone) throw std::system_error(errno, std::system_category(), pszWhat);
}

CDescriptor::~CDescriptor() {
    if (m_nDescriptor >= 0) close(m_nDescriptor);
}

CDescriptor Serve(int nType, uint16_t* pwPort) {
    CDescriptor hServer = Bound(nType, 0, false);
    sockaddr_in address = {};
    socklen_t nSize = sizeof address;
    getsockname(hServer.Get(), reinterpret_cast<sockaddr*>(&address), &nSize);
    *pwPort = ntohs(address.sin_port);
    if (nType == SOCK_STREAM) Require(listen(hServer.Get(), kBacklog) == 0, "listening");
    return hServer;
}

CDescriptor Connect(int nType, uint16_t wPort, uint32_t nSource) {
    CDescriptor hSocket = Bound(nType, nSource, true);
    const sockaddr_in address = Loopback(wPort, 0);
    const auto* const pAddress = reinterpret_cast<const sockaddr*>(&address);
    Require(connect(hSocket.Get(), pAddress, sizeof address) == 0, "connecting");
    return hSocket;
}

CDescriptor Accept(const CDescriptor& hListener) {
    CDescriptor hConnection(accept4(hListener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (hConnection.Get() >= 0) SetUp(hConnection.Get(), SOCK_STREAM);
    return hConnection;
}

void SendAll(int nSocket, const void* pData, size_t nSize) {
    for (size_t nDone = 0; nDone < nSize;) {
        const ssize_t nBytes = send(nSocket, static_cast<const char*>(pData) + nDone, nSize - nDone, MSG_NOSIGNAL);
        Require(nBytes > 0, "sending");
        nDone += static_cast<size_t>(nBytes);
    }
}

void ReceiveAll(int nSocket, void* pBuffer, size_t nSize) {
    for (size_t nDone = 0; nDone < nSize;) {
        const ssize_t nBytes = recv(nSocket, static_cast<char*>(pBuffer) + nDone, nSize - nDone, 0);
        if (nBytes == 0) errno = ECONNRESET;
        Require(nBytes > 0, "receiving");
        nDone += static_cast<size_t>(nBytes);
    }
}
