#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <thread>

#include "bench/load.h"

namespace {

constexpr std::chrono::milliseconds kLostAfter(250);
constexpr std::chrono::milliseconds kLookEvery(20);  // for losses
constexpr int kReadyAtOnce = 64;
constexpr int kSendTries = 3;

struct Sent {
    uint64_t nNumber;
    Clock::time_point time;
};

struct Client {
    CDescriptor hSocket;
    uint64_t nNext = 0;
    std::vector<Sent> out;  // whose echoes are awaited, the oldest first
};

class CDatagramRun {
  public:
    explicit CDatagramRun(const Load& load) : m_load(load), m_message(load.numbers.at(1), 'D') {
        for (uint32_t n = 0; n < load.numbers.at(0); ++n) {
            m_clients.push_back({Connect(SOCK_DGRAM, load.wPort), 0, {}});
            epoll_event event = {.events = EPOLLIN, .data = {.u32 = n}};
            epoll_ctl(m_hPoller.Get(), EPOLL_CTL_ADD, m_clients.back().hSocket.Get(), &event);
        }
    }

    // Afterwards nothing is on its way any more.
    Figures Run(const Servers& servers) {
        for (uint32_t n = 0; n < m_load.numbers.at(2); ++n)
            for (Client& client : m_clients) Send(client);
        double dSeconds = 0;
        for (auto nextLook = m_now; !m_bOver || m_nSent > m_nEchoed + m_nLost;) {
            std::array<epoll_event, kReadyAtOnce> ready = {};
            const int nReady = epoll_wait(m_hPoller.Get(), ready.data(), kReadyAtOnce, kLookEvery.count());
            m_now = Clock::now();
            // The window of a busy machine is longer rather than empty.
            if (!m_bOver && m_now >= m_begin + m_load.length && m_nInWindow > 0) {
                dSeconds = std::chrono::duration<double>(m_now - m_begin).count();
                m_bOver = true;
            }
            if (m_now > m_begin + m_load.length + kStall) throw std::runtime_error("no echo came");
            for (int n = 0; n < nReady; ++n) ReadEchoes(m_clients[ready[static_cast<size_t>(n)].data.u32]);
            if (m_now < nextLook) continue;
            CountLosses();
            nextLook = m_now + kLookEvery;
        }
        CheckSum(m_nEchoed <= servers.nDatagrams && servers.nDatagrams <= m_nSent, m_nEchoed, "datagrams came back",
                 servers.nDatagrams);
        return {{"done", m_nInWindow}, {"seconds", dSeconds}, {"sent", m_nSent},
                {"total", m_nEchoed},  {"lost", m_nLost},     {"foreign", m_nForeign}};
    }

  private:
    // As long as the run is on. A refusal that an earlier datagram met does not keep this one.
    void Send(Client& client) {
        if (m_bOver) return;
        std::memcpy(m_message.data(), &client.nNext, sizeof client.nNext);
        int nTries = kSendTries;
        while (send(client.hSocket.Get(), m_message.data(), m_message.size(), 0) < 0) {
            Require(errno == ECONNREFUSED && --nTries > 0, "sending a datagram");
        }
        client.out.push_back({client.nNext++, m_now});
        ++m_nSent;
    }

    void TakeEcho(Client& client, const char* pEcho, size_t nSize) {
        uint64_t nNumber = client.nNext;
        if (nSize == m_message.size() && pEcho[nSize - 1] == m_message.back())
            std::memcpy(&nNumber, pEcho, sizeof nNumber);
        if (nNumber >= client.nNext) ++m_nForeign;
        const auto sent =
            std::find_if(client.out.begin(), client.out.end(), [&](const Sent& out) { return out.nNumber == nNumber; });
        if (sent == client.out.end()) return;  // also one that was counted as lost
        client.out.erase(sent);
        ++m_nEchoed;
        if (m_now >= m_begin && !m_bOver) ++m_nInWindow;
        Send(client);
    }

    void ReadEchoes(Client& client) {
        char echo[2048];
        // No more than were out, so that one busy client does not keep the loop from the others.
        for (uint32_t n = 0; n < m_load.numbers.at(2); ++n) {
            const ssize_t nSize = recv(client.hSocket.Get(), echo, sizeof echo, MSG_DONTWAIT);
            if (nSize < 0) return;
            TakeEcho(client, echo, static_cast<size_t>(nSize));
        }
    }

    void CountLosses() {
        for (Client& client : m_clients) {
            while (!client.out.empty() && m_now - client.out.front().time >= kLostAfter) {
                client.out.erase(client.out.begin());
                ++m_nLost;
                Send(client);
            }
        }
    }

    const Load m_load;
    std::vector<char> m_message;  // what is sent, the number in front
    std::vector<Client> m_clients;
    const CDescriptor m_hPoller{epoll_create1(EPOLL_CLOEXEC)};
    const Clock::time_point m_begin = Clock::now() + m_load.warmUp;  // of the window
    Clock::time_point m_now = Clock::now();
    bool m_bOver = false;  // nothing more is sent
    uint64_t m_nSent = 0;
    uint64_t m_nEchoed = 0;
    uint64_t m_nInWindow = 0;
    uint64_t m_nLost = 0;
    uint64_t m_nForeign = 0;  // came, and are nothing that was sent
};

}  // namespace

Figures MeasureDatagrams(const Servers& servers, const Load& load) {
    return CDatagramRun(load).Run(servers);
}

Figures MeasureOneWay(const Servers& servers, const Load& load) {
    const CDescriptor hSocket = Connect(SOCK_DGRAM, load.wPort);
    const std::vector<char> message(load.numbers.at(0), 'D');
    const auto begin = Clock::now() + load.warmUp;
    auto now = Clock::now();
    auto from = now;
    uint64_t nSent = 0;
    uint64_t nBefore = 0;
    for (; now < begin + load.length; now = Clock::now()) {
        if (now < begin) {
            nBefore = servers.nDatagrams;
            from = now;
        }
        for (int n = 0; n < kReadyAtOnce; ++n, ++nSent) {
            const bool bSent = send(hSocket.Get(), message.data(), message.size(), 0) >= 0;
            Require(bSent || errno == ECONNREFUSED, "sending a datagram");
        }
    }
    const uint64_t nDone = servers.nDatagrams - nBefore;
    const double dSeconds = std::chrono::duration<double>(now - from).count();
    // What is on its way arrives, so that the forwarder's time is that of all that did.
    for (uint64_t nSeen = ~uint64_t{0}; nSeen != servers.nDatagrams; std::this_thread::sleep_for(kLostAfter)) {
        nSeen = servers.nDatagrams;
    }
    CheckSum(servers.nDatagrams <= nSent, nSent, "datagrams were sent", servers.nDatagrams);
    return {{"done", nDone}, {"seconds", dSeconds}, {"total", servers.nDatagrams.load()}};
}

Figures HoldDatagramSessions(const Servers& /*servers*/, const Load& load) {
    std::vector<CDescriptor> sessions;
    for (size_t nCount = 0; std::cin >> nCount; PrintFigures({})) {
        while (sessions.size() < nCount) {
            sessions.push_back(Connect(SOCK_DGRAM, load.wPort));
            SendAll(sessions.back().Get(), &kByte, 1);
            char chEcho = 0;
            ReceiveAll(sessions.back().Get(), &chEcho, 1);
        }
    }
    return {};
}
