#include "bench/datagram_load.h"

#include <cstring>
#include <optional>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLostAfter(250);
// How often the losses are looked for.
constexpr int32_t kLookMs = 20;

// One datagram's place among those that are on their way. Numbers of one place differ by nInFlight.
struct Place {
    uint64_t nNumber = 0;
    Clock::time_point sent;
    bool bOut = false;  // its echo is awaited
};

struct Client {
    CDescriptor hSocket;
    std::vector<Place> places;
};

// What has happened since the beginning.
struct Counts {
    uint64_t nSent = 0;
    uint64_t nEchoed = 0;
    uint64_t nLost = 0;
    uint64_t nLate = 0;
    uint64_t nForeign = 0;  // came, and are nothing that was sent
};

struct Mark {
    Clock::time_point time;
    uint64_t nEchoed = 0;
};

class CDatagramRun {
  public:
    explicit CDatagramRun(const DatagramLoad& load) : m_load(load), m_message(load.nBytes, 'D') {}

    // Empty, or what went wrong. Afterwards nothing is on its way any more.
    std::string Run();
    void AddTo(LoadResult* pResult) const;

  private:
    std::string Open();
    void Send(const Client& client, Place* pPlace);
    void SendNext(const Client& client, Place* pPlace);
    void ReadEchoes(Client* pClient);
    void TakeEcho(Client* pClient, const char* pEcho, size_t nSize);
    void CountLosses();
    void SetMarks();
    bool IsSending() const { return !m_end && m_strError.empty(); }

    const DatagramLoad m_load;
    std::vector<char> m_message;  // what is sent, the number in front
    std::vector<Client> m_clients;
    std::vector<size_t> m_clientOf;  // a descriptor's client
    CPoller m_poller;
    Counts m_counts;
    Clock::time_point m_now;
    Clock::time_point m_start;
    std::optional<Mark> m_begin;  // of the window
    std::optional<Mark> m_end;
    uint64_t m_nOut = 0;
    std::string m_strError;
};

std::string CDatagramRun::Open() {
    m_clients.resize(m_load.nClients);
    for (size_t n = 0; n < m_clients.size(); ++n) {
        Client& client = m_clients[n];
        client.hSocket = ConnectDatagram(m_load.wPort);
        if (!client.hSocket.IsOpen() || !m_poller.Add(client.hSocket)) return "no client: " + LastErrorText();
        const auto nDescriptor = static_cast<size_t>(client.hSocket.Get());
        if (m_clientOf.size() <= nDescriptor) m_clientOf.resize(nDescriptor + 1);
        m_clientOf[nDescriptor] = n;
        client.places.resize(m_load.nInFlight);
        for (uint32_t nPlace = 0; nPlace < m_load.nInFlight; ++nPlace) client.places[nPlace].nNumber = nPlace;
    }
    return "";
}

void CDatagramRun::Send(const Client& client, Place* pPlace) {
    std::memcpy(m_message.data(), &pPlace->nNumber, sizeof pPlace->nNumber);
    if (!SendDatagram(client.hSocket, m_message.data(), m_message.size())) {
        m_strError = "sending a datagram failed: " + LastErrorText();
        return;
    }
    pPlace->sent = m_now;
    pPlace->bOut = true;
    ++m_nOut;
    ++m_counts.nSent;
}

// The place is free again: its next datagram goes out, as long as the run is on.
void CDatagramRun::SendNext(const Client& client, Place* pPlace) {
    pPlace->bOut = false;
    --m_nOut;
    pPlace->nNumber += m_load.nInFlight;
    if (IsSending()) Send(client, pPlace);
}

void CDatagramRun::TakeEcho(Client* pClient, const char* pEcho, size_t nSize) {
    uint64_t nNumber = 0;
    if (nSize == m_message.size()) std::memcpy(&nNumber, pEcho, sizeof nNumber);
    Place& place = pClient->places[nNumber % m_load.nInFlight];
    if (nSize != m_message.size() || nNumber > place.nNumber || pEcho[nSize - 1] != m_message.back()) {
        ++m_counts.nForeign;
    } else if (nNumber < place.nNumber || !place.bOut) {
        ++m_counts.nLate;
    } else {
        ++m_counts.nEchoed;
        SendNext(*pClient, &place);
    }
}

void CDatagramRun::ReadEchoes(Client* pClient) {
    char echo[2048];
    // No more than were out, so that one busy client does not keep the loop from the others.
    for (uint32_t n = 0; n < m_load.nInFlight; ++n) {
        const ptrdiff_t nSize = ReceiveNow(pClient->hSocket, echo, sizeof echo);
        if (nSize < 0) return;
        TakeEcho(pClient, echo, static_cast<size_t>(nSize));
    }
}

void CDatagramRun::CountLosses() {
    for (Client& client : m_clients) {
        for (Place& place : client.places) {
            if (!place.bOut || m_now - place.sent < kLostAfter) continue;
            ++m_counts.nLost;
            SendNext(client, &place);
        }
    }
}

void CDatagramRun::SetMarks() {
    m_now = Clock::now();
    if (!m_begin && m_now >= m_start + m_load.window.warmUp) m_begin = Mark{m_now, m_counts.nEchoed};
    if (!m_begin || m_end || m_now < m_begin->time + m_load.window.length) return;
    // The window of a busy machine is longer rather than empty.
    if (m_counts.nEchoed > m_begin->nEchoed) m_end = Mark{m_now, m_counts.nEchoed};
    if (m_now > m_begin->time + m_load.window.length + std::chrono::milliseconds(kStallMs)) {
        m_strError = "no echo came, " + std::to_string(m_counts.nLost) + " datagrams were lost";
    }
}

std::string CDatagramRun::Run() {
    m_strError = Open();
    m_start = m_now = Clock::now();
    for (Client& client : m_clients) {
        for (Place& place : client.places) {
            if (m_strError.empty()) Send(client, &place);
        }
    }
    auto nextLook = m_start;
    while (m_strError.empty() && (!m_end || m_nOut > 0)) {
        const std::vector<int>& ready = m_poller.Wait(kLookMs);
        SetMarks();
        for (const int nDescriptor : ready) ReadEchoes(&m_clients[m_clientOf[static_cast<size_t>(nDescriptor)]]);
        if (m_now < nextLook) continue;
        CountLosses();
        nextLook = m_now + std::chrono::milliseconds(kLookMs);
    }
    return m_strError;
}

void CDatagramRun::AddTo(LoadResult* pResult) const {
    pResult->Add("done", m_end->nEchoed - m_begin->nEchoed);
    pResult->Add("seconds", std::chrono::duration<double>(m_end->time - m_begin->time).count());
    pResult->Add("sent", m_counts.nSent);
    pResult->Add("total", m_counts.nEchoed);
    pResult->Add("lost", m_counts.nLost);
    pResult->Add("late", m_counts.nLate);
    pResult->Add("foreign", m_counts.nForeign);
}

}  // namespace

LoadResult MeasureDatagrams(const CLoadServer& server, const DatagramLoad& load) {
    CDatagramRun run(load);
    const std::string strError = run.Run();
    if (!strError.empty()) return FailedLoad(strError);
    LoadResult result;
    run.AddTo(&result);
    result.Add("arrived", server.Datagrams());
    return result;
}
