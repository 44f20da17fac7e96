#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <thread>

#include "bench/load.h"

namespace {

// As many as a burst of clients can bring before the acceptor runs again.
constexpr int kBacklog = 1024;
// Datagrams that the tool's own side had no time for would count as the forwarder's losses.
constexpr int kDatagramBufferBytes = 4 << 20;
constexpr size_t kBufferBytes = size_t{256} << 10;
constexpr size_t kReadyAtOnce = 64;

template <class T>
void SetOption(int nSocket, int nLevel, int nName, T value) {
    static_cast<void>(setsockopt(nSocket, nLevel, nName, &value, sizeof value));
}

void SetUp(int nSocket, int nType) {
    if (nType == SOCK_DGRAM) {
        SetOption(nSocket, SOL_SOCKET, SO_RCVBUF, kDatagramBufferBytes);
        return SetOption(nSocket, SOL_SOCKET, SO_RCVBUFFORCE, kDatagramBufferBytes);
    }
    SetOption(nSocket, IPPROTO_TCP, TCP_NODELAY, 1);
    SetOption(nSocket, SOL_SOCKET, SO_RCVTIMEO, timeval{kStall.count(), 0});
    SetOption(nSocket, SOL_SOCKET, SO_SNDTIMEO, timeval{kStall.count(), 0});
}

// Binds or connects it.
void NameEnd(const CDescriptor& hSocket, decltype(&connect) pfnName, uint32_t nHost, uint16_t wPort,
             const char* pszWhat) {
    sockaddr_in address = {.sin_family = AF_INET, .sin_port = htons(wPort), .sin_addr = {}, .sin_zero = {}};
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + nHost);
    Require(pfnName(hSocket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, pszWhat);
}

// On a port of the system's choice.
CDescriptor Serve(int nType, uint16_t* pwPort) {
    CDescriptor hServer(socket(AF_INET, nType | SOCK_CLOEXEC, 0));
    SetUp(hServer.Get(), nType);
    NameEnd(hServer, bind, 0, 0, "binding");
    sockaddr_in address = {};
    socklen_t nSize = sizeof address;
    getsockname(hServer.Get(), reinterpret_cast<sockaddr*>(&address), &nSize);
    *pwPort = ntohs(address.sin_port);
    if (nType == SOCK_STREAM) Require(listen(hServer.Get(), kBacklog) == 0, "listening");
    return hServer;
}

// False at the connection's end.
bool ServeStream(Servers& servers, int nConnection, Answer answer, std::vector<char>& buffer) try {
    const ssize_t nBytes = recv(nConnection, buffer.data(), buffer.size(), 0);
    if (nBytes <= 0) return false;
    servers.nStreamBytes.fetch_add(static_cast<uint64_t>(nBytes), std::memory_order_relaxed);
    const bool bEnd = answer == Answer::Ends && buffer[static_cast<size_t>(nBytes) - 1] == kByte;
    if (answer == Answer::Echo) SendAll(nConnection, buffer.data(), static_cast<size_t>(nBytes));
    if (bEnd) SendAll(nConnection, &kByte, 1);
    return true;
} catch (const std::exception&) {
    return false;  // the client's end tells of it
}

// Owns the connections that are registered with the poller.
void RunWorker(Servers& servers, int nPoller, Answer answer) {
    std::vector<char> buffer(kBufferBytes);
    for (std::array<epoll_event, kReadyAtOnce> events = {};;) {
        const int nReady = epoll_wait(nPoller, events.data(), kReadyAtOnce, -1);
        for (int n = 0; n < nReady; ++n) {
            const int nConnection = events[static_cast<size_t>(n)].data.fd;
            if (ServeStream(servers, nConnection, answer, buffer)) continue;
            close(nConnection);
            ++servers.nStreamEnds;
        }
    }
}

void AcceptAll(const CDescriptor& hListener, const std::vector<int>& pollers) {
    for (size_t nNext = 0;; nNext = (nNext + 1) % pollers.size()) {
        CDescriptor hConnection(accept4(hListener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        SetUp(hConnection.Get(), SOCK_STREAM);
        epoll_event event = {.events = EPOLLIN, .data = {.fd = hConnection.Get()}};
        if (epoll_ctl(pollers[nNext], EPOLL_CTL_ADD, event.data.fd, &event) == 0) hConnection.Release();
    }
}

// An empty datagram, with which one of the peers begins a session and by whose echo it would end it, is not answered.
void EchoDatagrams(Servers& servers, const CDescriptor& hServer) {
    std::vector<char> buffer(kBufferBytes);
    for (;;) {
        sockaddr_storage sender = {};
        socklen_t nSize = sizeof sender;
        auto* const pSender = reinterpret_cast<sockaddr*>(&sender);
        const ssize_t nBytes = recvfrom(hServer.Get(), buffer.data(), buffer.size(), 0, pSender, &nSize);
        if (nBytes <= 0) continue;
        ++servers.nDatagrams;
        sendto(hServer.Get(), buffer.data(), static_cast<size_t>(nBytes), 0, pSender, nSize);
    }
}

// Many with one call, so that the server is not what is measured.
void DropDatagrams(Servers& servers, const CDescriptor& hServer) {
    std::vector<char> buffer(kBufferBytes);
    iovec part = {buffer.data(), buffer.size()};
    std::array<mmsghdr, kReadyAtOnce> messages = {};
    for (mmsghdr& message : messages) message.msg_hdr = {nullptr, 0, &part, 1, nullptr, 0, 0};
    for (;;) {
        const int nMessages = recvmmsg(hServer.Get(), messages.data(), kReadyAtOnce, MSG_WAITFORONE, nullptr);
        if (nMessages > 0) servers.nDatagrams += static_cast<uint64_t>(nMessages);
    }
}

}  // namespace

void Require(bool bDone, const char* pszWhat) {
    if (!bDone) throw std::system_error(errno, std::system_category(), pszWhat);
}

CDescriptor::~CDescriptor() {
    if (m_nDescriptor >= 0) close(m_nDescriptor);
}

CDescriptor Connect(int nType, uint16_t wPort, uint32_t nSource) {
    CDescriptor hSocket(socket(AF_INET, nType | SOCK_CLOEXEC, 0));
    SetUp(hSocket.Get(), nType);
    SetOption(hSocket.Get(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, 1);
    NameEnd(hSocket, bind, nSource, 0, "binding");
    NameEnd(hSocket, connect, 0, wPort, "connecting");
    return hSocket;
}

void SendAll(int nSocket, const void* pData, size_t nSize) {
    Require(send(nSocket, pData, nSize, MSG_NOSIGNAL) == static_cast<ssize_t>(nSize), "sending");
}

void ReceiveAll(int nSocket, void* pBuffer, size_t nSize) {
    const ssize_t nBytes = recv(nSocket, pBuffer, nSize, MSG_WAITALL);
    if (nBytes >= 0) errno = ECONNRESET;
    Require(nBytes == static_cast<ssize_t>(nSize), "receiving");
}

Servers& StartServers(Answer answer) {
    static Servers servers;
    static const CDescriptor hListener = Serve(SOCK_STREAM, &servers.wTcpPort);
    static const CDescriptor hDatagrams = Serve(SOCK_DGRAM, &servers.wUdpPort);
    static std::vector<int> pollers;
    for (unsigned n = std::max(std::thread::hardware_concurrency(), 1U); n > 0; --n) {
        pollers.push_back(epoll_create1(EPOLL_CLOEXEC));
        std::thread(RunWorker, std::ref(servers), pollers.back(), answer).detach();
    }
    std::thread([] { AcceptAll(hListener, pollers); }).detach();
    std::thread(answer == Answer::Nothing ? DropDatagrams : EchoDatagrams, std::ref(servers), std::cref(hDatagrams))
        .detach();
    return servers;
}

void CheckSum(bool bFits, uint64_t nCount, const char* pszWhat, uint64_t nArrived) {
    if (bFits) return;
    throw std::runtime_error(std::to_string(nCount) + " " + pszWhat + ", and the server got " +
                             std::to_string(nArrived));
}
