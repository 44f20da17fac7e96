#include <algorithm>
#include <atomic>
#include <new>
#include <vector>

#include "platform/net/poller.h"
#include "platform/net/socket_system.h"
#include "platform/system/windows_api.h"

namespace {

// Wine no longer tells a call in progress of a socket that has met an error; a call that begins sees what it holds.
constexpr uint32_t kLookMs = 100;
// The poller's own socket, and a first one that has no peer and thereby no error.
constexpr size_t kWithoutSessions = 2;

}  // namespace

// The first place of both lists is the poller's own: a datagram socket that is connected to itself, for the wakes.
struct CPoller::State {
    // Whether a socket is ready, or becomes so in this time or a part of it; below zero: for ever.
    bool Look(int32_t nMilliseconds) {
        const bool bSessions = polled.size() > kWithoutSessions;
        const auto dwMost = static_cast<uint32_t>(nMilliseconds);  // below zero: the longest
        const auto nSlice = static_cast<int>(bSessions ? std::min(dwMost, kLookMs) : dwMost);
        return WSAPoll(polled.data(), static_cast<ULONG>(polled.size()), nSlice) > 0;
    }

    CSocket hWake;
    std::vector<WSAPOLLFD> polled;
    std::vector<void*> owners;
    std::atomic<bool> bWoken = false;  // the wake is sent and not yet seen
};

CPoller::CPoller() : m_pState(std::make_unique<State>()) {}
CPoller::~CPoller() = default;

int32_t CPoller::Open() {
    CSocket& hWake = m_pState->hWake;
    Endpoint self;
    int32_t nError = hWake.Open(SocketKind::Udp);
    if (nError == 0) nError = hWake.Bind({IpFromNumber(INADDR_LOOPBACK), 0});
    if (nError == 0) nError = hWake.LocalEndpoint(&self);
    if (nError == 0) nError = hWake.Connect(self);
    return nError == 0 ? Add(hWake, nullptr) : nError;
}

int32_t CPoller::Add(const CSocket& hSocket, void* pOwner) try {
    const auto hSystem = static_cast<SOCKET>(hSocket.m_hSocket);
    unsigned long nOn = 1;
    if (ioctlsocket(hSystem, FIONBIO, &nOn) != 0) return WSAGetLastError();
    m_pState->owners.reserve(m_pState->owners.size() + 1);
    m_pState->polled.push_back({hSystem, POLLRDNORM, 0});
    m_pState->owners.push_back(pOwner);
    return 0;
} catch (const std::bad_alloc&) {
    return WSAENOBUFS;
}

void CPoller::Remove(const CSocket& hSocket) {
    auto& polled = m_pState->polled;
    const auto found = std::find_if(polled.begin(), polled.end(), [&](const WSAPOLLFD& entry) {
        return entry.fd == static_cast<SOCKET>(hSocket.m_hSocket);
    });
    if (found == polled.end()) return;
    m_pState->owners[static_cast<size_t>(found - polled.begin())] = m_pState->owners.back();
    *found = polled.back();
    m_pState->owners.pop_back();
    polled.pop_back();
}

size_t CPoller::Wait(int32_t nMilliseconds, std::span<Ready> ready) {
    auto& polled = m_pState->polled;
    for (uint64_t nEnd = GetTickCount64() + static_cast<uint64_t>(std::max(nMilliseconds, 0));
         !m_pState->Look(nMilliseconds);) {
        const uint64_t nNow = GetTickCount64();
        if (nMilliseconds >= 0 && nNow >= nEnd) return 0;
        if (nMilliseconds >= 0) nMilliseconds = static_cast<int32_t>(nEnd - nNow);
    }
    if (polled[0].revents != 0) {
        char wake[16];
        static_cast<void>(m_pState->hWake.Recv(wake, sizeof wake));
        m_pState->bWoken = false;
    }
    size_t nReady = 0;
    for (size_t n = 1; n < polled.size() && nReady < ready.size(); ++n) {
        if (polled[n].revents == 0) continue;
        ready[nReady++] = {m_pState->owners[n], (polled[n].revents & (POLLHUP | POLLNVAL)) != 0};
    }
    // Whoever found no room stands in front the next time.
    if (nReady == ready.size() && polled.size() > 2) {
        std::rotate(polled.begin() + 1, polled.begin() + 1 + static_cast<ptrdiff_t>(nReady), polled.end());
        std::rotate(m_pState->owners.begin() + 1, m_pState->owners.begin() + 1 + static_cast<ptrdiff_t>(nReady),
                    m_pState->owners.end());
    }
    return nReady;
}

void CPoller::Wake() {
    if (!m_pState->bWoken.exchange(true)) static_cast<void>(m_pState->hWake.Send("", 1));
}
