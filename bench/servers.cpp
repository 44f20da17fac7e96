#include "bench/servers.h"

#include <arpa/inet.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/net.h"

namespace {

constexpr size_t kBufferBytes = size_t{256} << 10;
constexpr size_t kReadyAtOnce = 64;

// False at the connection's end.
bool ServeStream(Servers& servers, int nConnection, bool bEcho, std::vector<char>& buffer) try {
    const ssize_t nBytes = recv(nConnection, buffer.data(), buffer.size(), 0);
    if (nBytes <= 0) return false;
    servers.nStreamBytes.fetch_add(static_cast<uint64_t>(nBytes), std::memory_order_relaxed);
    if (bEcho) SendAll(nConnection, buffer.data(), static_cast<size_t>(nBytes));
    return true;
} catch (const std::exception&) {
    return false;  // the client's end tells of it
}

// Owns the connections that are registered with the poller.
void RunWorker(Servers& servers, int nPoller, bool bEcho) {
    std::vector<char> buffer(kBufferBytes);
    for (std::array<epoll_event, kReadyAtOnce> events = {};;) {
        const int nReady = epoll_wait(nPoller, events.data(), kReadyAtOnce, -1);
        for (int n = 0; n < nReady; ++n) {
            const int nConnection = events[static_cast<size_t>(n)].data.fd;
            if (ServeStream(servers, nConnection, bEcho, buffer)) continue;
            close(nConnection);
            ++servers.nStreamEnds;
        }
    }
}

void AcceptAll(const CDescriptor& hListener, const std::vector<int>& pollers) {
    for (size_t nNext = 0;; nNext = (nNext + 1) % pollers.size()) {
        CDescriptor hConnection = Accept(hListener);
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

}  // namespace

Servers& StartServers(bool bEcho) {
    static Servers servers;
    static const CDescriptor hListener = Serve(SOCK_STREAM, &servers.wTcpPort);
    static const CDescriptor hDatagrams = Serve(SOCK_DGRAM, &servers.wUdpPort);
    static std::vector<int> pollers;
    for (unsigned n = std::max(std::thread::hardware_concurrency(), 1U); n > 0; --n) {
        pollers.push_back(epoll_create1(EPOLL_CLOEXEC));
        std::thread(RunWorker, std::ref(servers), pollers.back(), bEcho).detach();
    }
    std::thread([] { AcceptAll(hListener, pollers); }).detach();
    std::thread([] { EchoDatagrams(servers, hDatagrams); }).detach();
    return servers;
}

void CheckSum(bool bFits, uint64_t nCount, const char* pszWhat, uint64_t nArrived) {
    if (bFits) return;
    throw std::runtime_error(std::to_string(nCount) + " " + pszWhat + ", and the server got " +
                             std::to_string(nArrived));
}
