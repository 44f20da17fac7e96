#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "engine/host_text.h"
#include "engine/icmp_forward.h"
#include "engine/port_forward_op.h"
#include "engine/udp_service.h"
#include "platform/threads/threads.h"

namespace {

// The session's record; null when there is no memory.
std::unique_ptr<UdpSession> MakeRecord(const CPortForwardOp& op, const Endpoint& client, CSocket hSocket) try {
    auto pSession = std::make_unique<UdpSession>();
    Endpoint local;
    if (hSocket.LocalEndpoint(&local) == 0) pSession->wLocalPort = local.wPort;
    pSession->hSocket = std::move(hSocket);
    pSession->dwClientIp = client.dwIp;
    pSession->wClientPort = client.wPort;
    pSession->nTimeoutMs = op.m_settings.m_nUdpTimeoutMs;
    return pSession;
} catch (const std::bad_alloc&) {
    return nullptr;
}

int32_t OpenService(CPortForwardOp& op, std::optional<CUdpService>* pService) try {
    if (const int32_t nError = op.OpenListenSocket()) return nError;
    const int32_t nError = pService->emplace(op).Open();
    if (nError == 0) op.SetUdpPoller((*pService)->Poller());
    return nError;
} catch (const std::bad_alloc&) {
    return ThreadStartError();
}

void EndListening(CPortForwardOp& op, CIcmpForwarder& icmp) {
    icmp.End();
    // The sessions that are still open keep the socket for their replies.
    op.SetListenSocket(nullptr);
    op.m_bRunning = 0;
}

void RunListener(CPortForwardOp& op) {
    CIcmpForwarder icmp(&op);
    std::optional<CUdpService> service;
    int32_t nError = OpenService(op, &service);
    if (nError == 0 && op.m_settings.m_bForwardIcmp != 0) nError = icmp.Start();
    if (nError != 0) {
        service.reset();
        op.SetListenSocket(nullptr);
        op.FailStart(nError);
        return;
    }
    op.SetStarted();
    service->Serve();
    EndListening(op, icmp);
    if (!service->HasSessions()) return;
    op.RemoveThread();  // the listener's; of the sessions' own the last one is left
    service->ServeSessionsLeft();
}

}  // namespace

void CUdpService::TakeFromClients() {
    m_batch.Clear();
    const IoResult received = m_batch.Receive(*m_hListen, kPlaces);
    if (received.nBytes < 0 && !IsEarlierDatagramError(received.nError)) m_bListening = false;
    const auto datagrams = m_batch.Received();
    FindSessions(datagrams);
    double dBytes = 0;
    for (size_t n = 0; n < datagrams.size(); ++n) {
        if (m_refused[n]) {
            RaiseSessionEvent(m_op, SessionEventSlot::BadIp, datagrams[n].peer);
            continue;
        }
        dBytes += static_cast<double>(datagrams[n].nBytes);
        if (m_sessions[n] == nullptr) TakeFromNewClient(&datagrams[n], n);
    }
    AddBytes(m_op.m_dBytesFromClient, static_cast<int32_t>(dBytes));
    SendToSessions(datagrams);
    m_batch.Clear();
}

// All under the lock once. What becomes of the datagrams is settled behind it, in their order.
void CUdpService::FindSessions(std::span<Datagram> datagrams) {
    const bool bFiltered = m_op.m_settings.m_bFiltersEnabled != 0;
    const std::scoped_lock lock(m_op.m_csUdpSessions);
    for (size_t n = 0; n < datagrams.size(); ++n) {
        m_refused[n] = bFiltered && !m_op.IsClientAllowed(datagrams[n].peer.dwIp);
        m_sessions[n] = m_refused[n] ? nullptr : m_op.m_udpSessions.Find(datagrams[n].peer);
    }
}

UdpSession* CUdpService::FindSession(const Endpoint& client) const {
    const std::scoped_lock lock(m_op.m_csUdpSessions);
    return m_op.m_udpSessions.Find(client);
}

void CUdpService::TakeFromNewClient(Datagram* pDatagram, size_t nIndex) {
    // An earlier datagram of the same batch may have made the session.
    m_sessions[nIndex] = FindSession(pDatagram->peer);
    if (m_sessions[nIndex] != nullptr || m_waiting.Append(*pDatagram)) return;
    if (const Rejection rejection = AdmitClient(pDatagram)) RaiseSessionEvent(m_op, *rejection, pDatagram->peer);
}

// Those of one session together: the order between clients is of no importance.
void CUdpService::SendToSessions(std::span<Datagram> datagrams) {
    std::array<Datagram*, kPlaces> run{};
    for (size_t nFirst = 0; nFirst < datagrams.size(); ++nFirst) {
        UdpSession* const pSession = m_sessions[nFirst];
        if (pSession == nullptr) continue;
        size_t nRun = 0;
        for (size_t n = nFirst; n < datagrams.size(); ++n) {
            if (m_sessions[n] != pSession) continue;
            run[nRun++] = &datagrams[n];
            m_sessions[n] = nullptr;
        }
        SendThroughSession(pSession, std::span(run).first(nRun));
    }
}

void CUdpService::SendThroughSession(UdpSession* pSession, std::span<Datagram* const> datagrams) {
    m_idle.Touch(pSession, m_nNowMs);
    pSession->dwAskedIp.store(datagrams.back()->dwLocalIp, std::memory_order_relaxed);
    ResumeReplies(pSession);
    m_batch.Send(pSession->hSocket, datagrams);
}

// The limits of the operation and of the program; clients whose host is being looked up count as what they will be.
Rejection CUdpService::CheckRoom() const {
    const auto nWaiting = static_cast<int32_t>(m_waiting.Count());
    const EngineCounters& counters = *m_op.m_pCounters;
    if (m_op.m_nActiveSessions + nWaiting >= m_op.m_settings.m_nMaxSessions) return SessionEventSlot::TooManySessions;
    if (counters.nThreads + kThreadsOfUdpSession * nWaiting >= counters.nPendingSetups + kMaxThreads) {
        return SessionEventSlot::TooManyThreads;
    }
    return {};
}

Rejection CUdpService::AdmitClient(Datagram* pDatagram) try {
    const OpSettings& settings = m_op.m_settings;
    if (const Rejection rejection = CheckRoom()) return rejection;
    uint32_t dwTarget = pDatagram->peer.dwIp;
    if (settings.IsTargetTheClient() || ParseHostAddress(settings.m_strRemoteHost, &dwTarget)) {
        return MakeSession(pDatagram, dwTarget);
    }
    return m_waiting.Add(*pDatagram, settings.m_strRemoteHost);
} catch (const std::bad_alloc&) {
    return SessionEventSlot::AllocationFault;
}

Rejection CUdpService::MakeSession(Datagram* pDatagram, uint32_t dwTarget) {
    CSocket hSocket;
    if (hSocket.Open(SocketKind::Udp) != 0) return SessionEventSlot::NoSocket;
    if (hSocket.Connect({dwTarget, m_op.m_settings.m_wRemotePort}) != 0) return SessionEventSlot::NoConnection;
    auto pRecord = MakeRecord(m_op, pDatagram->peer, std::move(hSocket));
    if (!pRecord) return SessionEventSlot::AllocationFault;
    UdpSession* const pSession = pRecord.get();
    // Ahead of the datagram: its error, which can be here at once, finds the session.
    {
        const std::scoped_lock lock(m_op.m_csUdpSessions);
        if (!m_op.m_udpSessions.Add(std::move(pRecord))) return SessionEventSlot::AllocationFault;
    }
    if (m_pPoller->Add(pSession->hSocket, pSession) != 0) {
        const std::scoped_lock lock(m_op.m_csUdpSessions);
        m_op.m_udpSessions.Take(*pSession);
        return SessionEventSlot::AllocationFault;
    }
    pSession->bPolled = true;
    SendThroughSession(pSession, std::span(&pDatagram, 1));
    m_op.AddSession();
    for (int32_t n = 0; n < kThreadsOfUdpSession; ++n) m_op.AddThread();
    RaiseSessionEvent(m_op, SessionEventSlot::Accepted, pSession->Client());
    return {};
}

void CUdpService::FinishLookups() {
    while (auto waiting = m_waiting.TakeFinished()) FinishLookup(*std::move(waiting));
}

// What the client has sent meanwhile goes out, or each datagram of it is told to have been rejected.
void CUdpService::FinishLookup(WaitingClient waiting) {
    std::array<Datagram, kPlaces> datagrams;
    size_t nDatagrams = 0;
    for (auto& bytes : waiting.datagrams) {
        datagrams[nDatagrams++] = {
            .pBytes = bytes.data(), .nBytes = bytes.size(), .peer = waiting.client, .dwLocalIp = waiting.dwAskedIp};
    }
    Rejection rejection = SessionEventSlot::Unresolved;
    if (waiting.pLookup->Result() == LookupResult::Found) rejection = CheckRoom();
    if (!rejection) rejection = MakeSession(datagrams.data(), waiting.pLookup->Address());
    if (rejection) {
        for (size_t n = 0; n < nDatagrams; ++n) RaiseSessionEvent(m_op, *rejection, waiting.client);
        return;
    }
    UdpSession* const pSession = FindSession(waiting.client);
    for (size_t n = 1; n < nDatagrams; ++n) {
        Datagram* const pDatagram = &datagrams[n];
        SendThroughSession(pSession, std::span(&pDatagram, 1));
    }
}

void UdpListenerThread(CPortForwardOp* pOp) {
    RunListener(*pOp);
    pOp->SetUdpPoller(nullptr);
    pOp->RemoveThread();
}
