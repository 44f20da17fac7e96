#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "bench/loads.h"
#include "bench/net.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLostAfter(250);
constexpr std::chrono::milliseconds kLookEvery(20);  // for losses
constexpr int kReadyAtOnce = 64;
constexpr int kSendTries = 3;

// One datagram's place among those that are on their way. Numbers of one place differ by the places of a client.
struct Place {
    uint64_t nNumber = 0;
    Clock::time_point sent;
    bool bOut = false;  // its echo is awaited
};

struct Client {
    CDescriptor hSocket;
    std::vector<Place> places;
};

struct Mark {
    Clock::time_point time;
    uint64_t nEchoed = 0;
};

// A refusal that an earlier datagram met does not keep this one.
bool SendDatagram(int nSocket, const std::vector<char>& message) {
    for (int nTry = 0; nTry < kSendTries; ++nTry) {
        if (send(nSocket, message.data(), message.size(), 0) >= 0) return true;
        if (errno != ECONNREFUSED) return false;
    }
    return false;
}

class CDatagramRun {
  public:
    explicit CDatagramRun(const Load& load);
    // Afterwards nothing is on its way any more.
    void Run();
    Figures Result(uint64_t nArrived) const;

  private:
    void Send(const Client& client, Place* pPlace);
    void SendNext(const Client& client, Place* pPlace);
    void ReadEchoes(Client* pClient);
    void TakeEcho(Client* pClient, const char* pEcho, size_t nSize);
    void CountLosses();
    void SetMarks();

    const Load m_load;
    const uint32_t m_nInFlight;
    std::vector<char> m_message;  // what is sent, the number in front
    std::vector<Client> m_clients;
    const CDescriptor m_hPoller{epoll_create1(EPOLL_CLOEXEC)};
    Clock::time_point m_now = Clock::now();
    const Clock::time_point m_start = m_now;
    std::optional<Mark> m_begin;  // of the window
    std::optional<Mark> m_end;
    uint64_t m_nOut = 0;
    uint64_t m_nSent = 0;
    uint64_t m_nEchoed = 0;
    uint64_t m_nLost = 0;
    uint64_t m_nForeign = 0;  // came, and are nothing that was sent
};

CDatagramRun::CDatagramRun(const Load& load)
    : m_load(load), m_nInFlight(load.numbers[2]), m_message(load.numbers[1], 'D') {
    for (uint32_t n = 0; n < load.numbers[0]; ++n) {
        m_clients.push_back({Connect(SOCK_DGRAM, load.wPort), std::vector<Place>(m_nInFlight)});
        epoll_event event = {.events = EPOLLIN, .data = {.u32 = n}};
        epoll_ctl(m_hPoller.Get(), EPOLL_CTL_ADD, m_clients.back().hSocket.Get(), &event);
        for (uint32_t nPlace = 0; nPlace < m_nInFlight; ++nPlace) m_clients.back().places[nPlace].nNumber = nPlace;
    }
}

void CDatagramRun::Send(const Client& client, Place* pPlace) {
    std::memcpy(m_message.data(), &pPlace->nNumber, sizeof pPlace->nNumber);
    Require(SendDatagram(client.hSocket.Get(), m_message), "sending a datagram");
    pPlace->sent = m_now;
    pPlace->bOut = true;
    ++m_nOut;
    ++m_nSent;
}

// The place is free again: its next datagram goes out, as long as the window is on.
void CDatagramRun::SendNext(const Client& client, Place* pPlace) {
    pPlace->bOut = false;
    --m_nOut;
    pPlace->nNumber += m_nInFlight;
    if (!m_end) Send(client, pPlace);
}

void CDatagramRun::TakeEcho(Client* pClient, const char* pEcho, size_t nSize) {
    uint64_t nNumber = 0;
    if (nSize == m_message.size()) std::memcpy(&nNumber, pEcho, sizeof nNumber);
    Place& place = pClient->places[nNumber % m_nInFlight];
    if (nSize != m_message.size() || nNumber > place.nNumber || pEcho[nSize - 1] != m_message.back()) {
        ++m_nForeign;
    } else if (nNumber == place.nNumber && place.bOut) {  // else it was counted as lost
        ++m_nEchoed;
        SendNext(*pClient, &place);
    }
}

void CDatagramRun::ReadEchoes(Client* pClient) {
    char echo[2048];
    // No more than were out, so that one busy client does not keep the loop from the others.
    for (uint32_t n = 0; n < m_nInFlight; ++n) {
        const ssize_t nSize = recv(pClient->hSocket.Get(), echo, sizeof echo, MSG_DONTWAIT);
        if (nSize < 0) return;
        TakeEcho(pClient, echo, static_cast<size_t>(nSize));
    }
}

void CDatagramRun::CountLosses() {
    for (Client& client : m_clients) {
        for (Place& place : client.places) {
            if (!place.bOut || m_now - place.sent < kLostAfter) continue;
            ++m_nLost;
            SendNext(client, &place);
        }
    }
}

void CDatagramRun::SetMarks() {
    m_now = Clock::now();
    if (!m_begin && m_now >= m_start + m_load.warmUp) m_begin = Mark{m_now, m_nEchoed};
    if (!m_begin || m_end || m_now < m_begin->time + m_load.length) return;
    // The window of a busy machine is longer rather than empty.
    if (m_nEchoed > m_begin->nEchoed) m_end = Mark{m_now, m_nEchoed};
    if (m_now < m_begin->time + m_load.length + kStall) return;
    throw std::runtime_error("no echo came, " + std::to_string(m_nLost) + " datagrams were lost");
}

void CDatagramRun::Run() {
    for (Client& client : m_clients) {
        for (Place& place : client.places) Send(client, &place);
    }
    for (auto nextLook = m_start; !m_end || m_nOut > 0;) {
        std::array<epoll_event, kReadyAtOnce> ready = {};
        const int nReady = epoll_wait(m_hPoller.Get(), ready.data(), kReadyAtOnce, kLookEvery.count());
        SetMarks();
        for (int n = 0; n < nReady; ++n) ReadEchoes(&m_clients[ready[static_cast<size_t>(n)].data.u32]);
        if (m_now < nextLook) continue;
        CountLosses();
        nextLook = m_now + kLookEvery;
    }
}

Figures CDatagramRun::Result(uint64_t nArrived) const {
    if (m_nSent != m_nEchoed + m_nLost || nArrived < m_nEchoed || nArrived > m_nSent) {
        throw std::runtime_error("of " + std::to_string(m_nSent) + " datagrams " + std::to_string(nArrived) +
                                 " arrived, " + std::to_string(m_nEchoed) + " came back");
    }
    const auto toDouble = [](uint64_t nValue) { return static_cast<double>(nValue); };
    return {{"done", toDouble(m_end->nEchoed - m_begin->nEchoed)},
            {"seconds", std::chrono::duration<double>(m_end->time - m_begin->time).count()},
            {"sent", toDouble(m_nSent)},
            {"total", toDouble(m_nEchoed)},
            {"lost", toDouble(m_nLost)},
            {"foreign", toDouble(m_nForeign)}};
}

}  // namespace

Figures MeasureDatagrams(Servers& servers, const Load& load) {
    CDatagramRun run(load);
    run.Run();
    return run.Result(servers.nDatagrams);
}
