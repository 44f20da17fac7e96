#include <memory>

#include "engine/port_forward_op.h"
#include "engine/udp_service.h"

namespace {

// Of one session at a time, so that none keeps the others waiting.
constexpr size_t kRepliesAtOnce = 16;

}  // namespace

void CUdpService::TakeFromServer(UdpSession* pSession) {
    if (pSession->replies != Replies::Relayed) {
        // Until the client's next datagram; the poller would tell of them again and again.
        m_pPoller->Remove(pSession->hSocket);
        pSession->bPolled = false;
        return;
    }
    if (m_batch.FreePlaces() == 0) SendReplies();
    const size_t nFirst = m_batch.Received().size();
    const IoResult received = m_batch.Receive(pSession->hSocket, kRepliesAtOnce);
    if (received.nBytes < 0) {
        if (IsEarlierDatagramError(received.nError)) return PauseReplies(pSession);
        return EndReplies(pSession);
    }
    const auto datagrams = m_batch.Received();
    double dBytes = 0;
    for (size_t n = nFirst; n < datagrams.size() && TakeReply(pSession, &datagrams[n]); ++n) {
        dBytes += static_cast<double>(datagrams[n].nBytes);
        m_sessions[n] = pSession;
        m_replies[m_nReplies++] = n;
    }
    if (dBytes > 0) AddBytes(m_op.m_dBytesFromServer, static_cast<int32_t>(dBytes));
}

// False when it is empty and thereby the last one.
bool CUdpService::TakeReply(UdpSession* pSession, Datagram* pDatagram) {
    if (pDatagram->nBytes == 0) {
        EndReplies(pSession);
        return false;
    }
    m_idle.Touch(pSession, m_nNowMs);
    pDatagram->peer = pSession->Client();
    pDatagram->dwLocalIp = pSession->dwAskedIp.load(std::memory_order_relaxed);
    return true;
}

void CUdpService::SendReplies() {
    std::array<Datagram*, kPlaces> replies{};
    const auto datagrams = m_batch.Received();
    for (size_t n = 0; n < m_nReplies; ++n) replies[n] = &datagrams[m_replies[n]];
    if (m_nReplies > 0) m_batch.SendTo(*m_hListen, std::span(replies).first(m_nReplies));
    for (size_t n = 0; n < m_nReplies; ++n) {
        const int32_t nError = replies[n]->nError;
        UdpSession* const pSession = m_sessions[m_replies[n]];
        if (nError == 0 || pSession->replies == Replies::Ended) continue;
        IsEarlierDatagramError(nError) ? PauseReplies(pSession) : EndReplies(pSession);
    }
    m_nReplies = 0;
    m_batch.Clear();
}

void CUdpService::PauseReplies(UdpSession* pSession) {
    // The socket stays with the poller: mostly the client's next datagram is here before anything else.
    pSession->replies = Replies::Paused;
}

void CUdpService::ResumeReplies(UdpSession* pSession) {
    if (pSession->replies != Replies::Paused) return;
    if (!pSession->bPolled && m_pPoller->Add(pSession->hSocket, pSession) != 0) return;
    pSession->bPolled = true;
    pSession->replies = Replies::Relayed;
}

void CUdpService::EndReplies(UdpSession* pSession) {
    pSession->replies = Replies::Ended;
    if (pSession->bPolled) m_pPoller->Remove(pSession->hSocket);
    pSession->bPolled = false;
}

void CUdpService::EndSilentSessions() {
    // One that is due takes along whoever is over its timeout as well.
    if (!HasSessions() || WaitMs() > 0) return;
    for (UdpSession* pSession = m_idle.Stalest(); pSession != nullptr; pSession = m_idle.Stalest()) {
        if (m_nNowMs - pSession->nLastMs <= pSession->nTimeoutMs) return;
        EndSession(pSession);
    }
}

void CUdpService::EndAllSessions() {
    while (UdpSession* pSession = m_idle.Stalest()) EndSession(pSession);
}

void CUdpService::EndSession(UdpSession* pSession) {
    const Endpoint client = pSession->Client();
    if (pSession->bPolled) m_pPoller->Remove(pSession->hSocket);
    m_idle.Remove(pSession);
    std::unique_ptr<UdpSession> pEnded;  // its end, a call of the system, comes behind the lock
    {
        const std::scoped_lock lock(m_op.m_csUdpSessions);
        pEnded = m_op.m_udpSessions.Take(*pSession);
    }
    pEnded.reset();
    RaiseSessionEvent(m_op, SessionEventSlot::Ended, client);
    m_op.RemoveSession();
    const int32_t nRemoved = m_bLastStays && !HasSessions() ? kThreadsOfUdpSession - 1 : kThreadsOfUdpSession;
    for (int32_t n = 0; n < nRemoved; ++n) m_op.RemoveThread();
}
