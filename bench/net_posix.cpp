#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "bench/net.h"

namespace {

// As many as a burst of clients can bring before the acceptor runs again.
constexpr int kBacklog = 1024;
// Datagrams that the tool's own side had no time for would count as the forwarder's losses.
constexpr int kDatagramBufferBytes = 4 << 20;
constexpr int kSendTries = 3;
constexpr size_t kReadyAtOnce = 64;

sockaddr_in Loopback(uint16_t wPort, int32_t nHost = 0) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + static_cast<uint32_t>(nHost));
    address.sin_port = htons(wPort);
    return address;
}

const sockaddr* System(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

void SetOption(const CDescriptor& hSocket, int nLevel, int nName, int nValue) {
    setsockopt(hSocket.Get(), nLevel, nName, &nValue, sizeof nValue);
}

void LimitWaits(const CDescriptor& hSocket) {
    const timeval limit = {kStallMs / 1000, 0};
    setsockopt(hSocket.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(hSocket.Get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

bool BindAnyPort(const CDescriptor& hSocket, uint16_t* pwPort) {
    sockaddr_in address = Loopback(0);
    socklen_t nSize = sizeof address;
    if (bind(hSocket.Get(), System(address), sizeof address) != 0) return false;
    if (getsockname(hSocket.Get(), reinterpret_cast<sockaddr*>(&address), &nSize) != 0) return false;
    *pwPort = ntohs(address.sin_port);
    return true;
}

}  // namespace

CDescriptor& CDescriptor::operator=(CDescriptor&& other) noexcept {
    if (this != &other) {
        Close();
        m_nDescriptor = other.Release();
    }
    return *this;
}

void CDescriptor::Close() {
    if (IsOpen()) close(Release());
}

int CDescriptor::Release() {
    const int nDescriptor = m_nDescriptor;
    m_nDescriptor = -1;
    return nDescriptor;
}

std::string LastErrorText() {
    return std::system_category().message(errno);
}

CDescriptor OpenStreamServer(uint16_t* pwPort) {
    CDescriptor hListener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!BindAnyPort(hListener, pwPort) || listen(hListener.Get(), kBacklog) != 0) return {};
    return hListener;
}

CDescriptor OpenDatagramServer(uint16_t* pwPort) {
    CDescriptor hServer(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    SetOption(hServer, SOL_SOCKET, SO_RCVBUF, kDatagramBufferBytes);
    if (!BindAnyPort(hServer, pwPort)) return {};
    return hServer;
}

CDescriptor Accept(const CDescriptor& hListener) {
    CDescriptor hClient(accept4(hListener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!hClient.IsOpen()) return {};
    SetOption(hClient, IPPROTO_TCP, TCP_NODELAY, 1);
    LimitWaits(hClient);
    return hClient;
}

CDescriptor ConnectStream(uint16_t wPort, int32_t nSource) {
    CDescriptor hSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    SetOption(hSocket, IPPROTO_TCP, TCP_NODELAY, 1);
    SetOption(hSocket, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, 1);
    LimitWaits(hSocket);
    const sockaddr_in local = Loopback(0, nSource);
    const sockaddr_in remote = Loopback(wPort);
    if (bind(hSocket.Get(), System(local), sizeof local) != 0) return {};
    if (connect(hSocket.Get(), System(remote), sizeof remote) != 0) return {};
    return hSocket;
}

CDescriptor ConnectDatagram(uint16_t wPort) {
    CDescriptor hSocket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    SetOption(hSocket, SOL_SOCKET, SO_RCVBUF, kDatagramBufferBytes);
    const sockaddr_in remote = Loopback(wPort);
    if (connect(hSocket.Get(), System(remote), sizeof remote) != 0) return {};
    return hSocket;
}

ptrdiff_t Receive(const CDescriptor& hSocket, void* pBuffer, size_t nSize) {
    return recv(hSocket.Get(), pBuffer, nSize, 0);
}

ptrdiff_t ReceiveNow(const CDescriptor& hSocket, void* pBuffer, size_t nSize) {
    return recv(hSocket.Get(), pBuffer, nSize, MSG_DONTWAIT);
}

bool ReceiveAll(const CDescriptor& hSocket, void* pBuffer, size_t nSize) {
    char* pNext = static_cast<char*>(pBuffer);
    while (nSize > 0) {
        const ptrdiff_t nBytes = Receive(hSocket, pNext, nSize);
        if (nBytes <= 0) return false;
        pNext += nBytes;
        nSize -= static_cast<size_t>(nBytes);
    }
    return true;
}

bool SendAll(const CDescriptor& hSocket, const void* pData, size_t nSize) {
    const char* pNext = static_cast<const char*>(pData);
    while (nSize > 0) {
        const ptrdiff_t nBytes = send(hSocket.Get(), pNext, nSize, MSG_NOSIGNAL);
        if (nBytes < 0) return false;
        pNext += nBytes;
        nSize -= static_cast<size_t>(nBytes);
    }
    return true;
}

bool SendDatagram(const CDescriptor& hSocket, const void* pData, size_t nSize) {
    for (int nTry = 0; nTry < kSendTries; ++nTry) {
        if (send(hSocket.Get(), pData, nSize, 0) >= 0) return true;
        if (errno != ECONNREFUSED) return false;
    }
    return false;
}

void ShutdownSend(const CDescriptor& hSocket) {
    shutdown(hSocket.Get(), SHUT_WR);
}

void Interrupt(const CDescriptor& hSocket) {
    shutdown(hSocket.Get(), SHUT_RDWR);
}

bool EchoDatagram(const CDescriptor& hSocket, std::vector<char>& buffer, std::atomic<uint64_t>& nCount) {
    sockaddr_in sender = {};
    socklen_t nSenderSize = sizeof sender;
    const ptrdiff_t nBytes =
        recvfrom(hSocket.Get(), buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&sender), &nSenderSize);
    // An interrupted socket gives an empty datagram without a sender.
    if (nBytes < 0 || nSenderSize == 0) return false;
    if (nBytes == 0) return true;
    nCount.fetch_add(1);
    sendto(hSocket.Get(), buffer.data(), static_cast<size_t>(nBytes), 0, System(sender), sizeof sender);
    return true;
}

CPoller::CPoller() : m_hPoller(epoll_create1(EPOLL_CLOEXEC)) {}

bool CPoller::Add(const CDescriptor& hSocket) {
    epoll_event event = {.events = EPOLLIN, .data = {.fd = hSocket.Get()}};
    return epoll_ctl(m_hPoller.Get(), EPOLL_CTL_ADD, hSocket.Get(), &event) == 0;
}

bool CPoller::AddForInterrupt(const CDescriptor& hListener) {
    // A hang-up is told of whatever is asked for.
    epoll_event event = {.events = 0, .data = {.fd = hListener.Get()}};
    return epoll_ctl(m_hPoller.Get(), EPOLL_CTL_ADD, hListener.Get(), &event) == 0;
}

const std::vector<int>& CPoller::Wait(int32_t nTimeoutMs) {
    std::array<epoll_event, kReadyAtOnce> events = {};
    const int nReady = epoll_wait(m_hPoller.Get(), events.data(), static_cast<int>(events.size()), nTimeoutMs);
    m_ready.clear();
    for (int i = 0; i < nReady; ++i) m_ready.push_back(events[static_cast<size_t>(i)].data.fd);
    return m_ready;
}
