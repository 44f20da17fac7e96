#include "platform/net/poller.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>

namespace {

constexpr int kMostAtOnce = 64;

}  // namespace

struct CPoller::State {
    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() {
        if (hPoll >= 0) close(hPoll);
        if (hWake >= 0) close(hWake);
    }
    int hPoll = -1;
    int hWake = -1;
    std::atomic<bool> bWoken = false;  // the wake is written and not yet seen
};

CPoller::CPoller() : m_pState(std::make_unique<State>()) {}
CPoller::~CPoller() = default;

int32_t CPoller::Open() {
    m_pState->hPoll = epoll_create1(EPOLL_CLOEXEC);
    if (m_pState->hPoll < 0) return errno;
    m_pState->hWake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_pState->hWake < 0) return errno;
    epoll_event event = {};
    event.events = EPOLLIN;
    return epoll_ctl(m_pState->hPoll, EPOLL_CTL_ADD, m_pState->hWake, &event) == 0 ? 0 : errno;
}

int32_t CPoller::Add(const CSocket& hSocket, void* pOwner) {
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.ptr = pOwner;
    return epoll_ctl(m_pState->hPoll, EPOLL_CTL_ADD, static_cast<int>(hSocket.m_hSocket), &event) == 0 ? 0 : errno;
}

void CPoller::Remove(const CSocket& hSocket) {
    epoll_ctl(m_pState->hPoll, EPOLL_CTL_DEL, static_cast<int>(hSocket.m_hSocket), nullptr);
}

size_t CPoller::Wait(int32_t nMilliseconds, std::span<Ready> ready) {
    std::array<epoll_event, kMostAtOnce> events;  // NOLINT(cppcoreguidelines-pro-type-member-init): the call fills them
    const int nMost = static_cast<int>(std::min(ready.size(), events.size()));
    const int nEvents = epoll_wait(m_pState->hPoll, events.data(), nMost, nMilliseconds);
    size_t nReady = 0;
    for (int n = 0; n < nEvents; ++n) {
        const epoll_event& event = events[static_cast<size_t>(n)];
        if (event.data.ptr != nullptr) {
            ready[nReady++] = {event.data.ptr, (event.events & EPOLLHUP) != 0};
            continue;
        }
        uint64_t nWakes = 0;
        static_cast<void>(read(m_pState->hWake, &nWakes, sizeof nWakes));
        m_pState->bWoken = false;
    }
    return nReady;
}

void CPoller::Wake() {
    if (m_pState->bWoken.exchange(true)) return;
    const uint64_t nOne = 1;
    static_cast<void>(write(m_pState->hWake, &nOne, sizeof nOne));
}
