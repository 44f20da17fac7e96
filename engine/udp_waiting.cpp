#include "engine/udp_waiting.h"

#include <algorithm>
#include <new>
#include <utility>

namespace {

constexpr size_t kMostDatagrams = 16;
constexpr size_t kMostBytes = 65536;

// Throws std::bad_alloc.
void Keep(WaitingClient* pClient, const Datagram& datagram) {
    pClient->dwAskedIp = datagram.dwLocalIp;
    if (pClient->datagrams.size() >= kMostDatagrams || pClient->nBytes + datagram.nBytes > kMostBytes) return;
    pClient->datagrams.emplace_back(datagram.pBytes, datagram.pBytes + datagram.nBytes);
    pClient->nBytes += datagram.nBytes;
}

}  // namespace

bool CWaitingClients::Append(const Datagram& datagram) try {
    const auto found = std::find_if(m_clients.begin(), m_clients.end(),
                                    [&](const WaitingClient& waiting) { return waiting.client == datagram.peer; });
    if (found == m_clients.end()) return false;
    Keep(&*found, datagram);
    return true;
} catch (const std::bad_alloc&) {
    return true;  // it is lost, as one too many is
}

Rejection CWaitingClients::Add(const Datagram& datagram, const std::string& strHost) try {
    WaitingClient waiting;
    waiting.client = datagram.peer;
    Keep(&waiting, datagram);
    m_clients.reserve(m_clients.size() + 1);
    waiting.pLookup = CHostLookup::Start(strHost, m_told);
    if (!waiting.pLookup) return SessionEventSlot::TooManyThreads;
    m_clients.push_back(std::move(waiting));
    return {};
} catch (const std::bad_alloc&) {
    return SessionEventSlot::AllocationFault;
}

std::optional<WaitingClient> CWaitingClients::TakeFinished() {
    const auto found = std::find_if(m_clients.begin(), m_clients.end(), [](const WaitingClient& waiting) {
        return waiting.pLookup->Result() != LookupResult::Pending;
    });
    if (found == m_clients.end()) return {};
    std::optional<WaitingClient> taken = std::move(*found);
    m_clients.erase(found);
    return taken;
}
