#include "engine/udp_session.h"

#include <new>
#include <utility>

namespace {

constexpr size_t kFirstSlots = 16;
constexpr size_t kGrowth = 4;

// Ports count up and addresses differ in few bits: the product spreads them, its upper half best.
size_t HashOf(const Endpoint& client) {
    constexpr uint64_t kOdd = 0x9E3779B97F4A7C15;
    return static_cast<size_t>(((uint64_t{client.dwIp} << 16 | client.wPort) * kOdd) >> 32);
}

}  // namespace

std::unique_ptr<UdpSession>* CUdpSessionTable::SlotOf(Slots* pSlots, const Endpoint& client) {
    return &(*pSlots)[HashOf(client) & (pSlots->size() - 1)];
}

UdpSession* CUdpSessionTable::Find(const Endpoint& client) const {
    if (m_slots.empty()) return nullptr;
    UdpSession* pSession = SlotOf(&m_slots, client)->get();
    while (pSession != nullptr && pSession->Client() != client) pSession = pSession->pNextOfHash.get();
    return pSession;
}

bool CUdpSessionTable::Grow() try {
    Slots slots(m_slots.empty() ? kFirstSlots : m_slots.size() * kGrowth);
    for (std::unique_ptr<UdpSession>& pSlot : m_slots) {
        while (pSlot) {
            std::unique_ptr<UdpSession> pSession = std::move(pSlot);
            pSlot = std::move(pSession->pNextOfHash);
            std::unique_ptr<UdpSession>* const pNewSlot = SlotOf(&slots, pSession->Client());
            pSession->pNextOfHash = std::move(*pNewSlot);
            *pNewSlot = std::move(pSession);
        }
    }
    m_slots.swap(slots);
    return true;
} catch (const std::bad_alloc&) {
    return !m_slots.empty();  // with longer chains it goes on
}

bool CUdpSessionTable::Add(std::unique_ptr<UdpSession> pSession) {
    if (m_nSessions >= m_slots.size() && !Grow()) return false;
    pSession->pEarlier = m_pLast;
    (m_pLast != nullptr ? m_pLast->pLater : m_pFirst) = pSession.get();
    m_pLast = pSession.get();
    std::unique_ptr<UdpSession>* const pSlot = SlotOf(&m_slots, pSession->Client());
    pSession->pNextOfHash = std::move(*pSlot);
    *pSlot = std::move(pSession);
    ++m_nSessions;
    return true;
}

std::unique_ptr<UdpSession> CUdpSessionTable::Take(const UdpSession& session) {
    std::unique_ptr<UdpSession>* pLink = SlotOf(&m_slots, session.Client());
    while (pLink->get() != &session) pLink = &(*pLink)->pNextOfHash;
    std::unique_ptr<UdpSession> pTaken = std::move(*pLink);
    *pLink = std::move(pTaken->pNextOfHash);
    (pTaken->pEarlier != nullptr ? pTaken->pEarlier->pLater : m_pFirst) = pTaken->pLater;
    (pTaken->pLater != nullptr ? pTaken->pLater->pEarlier : m_pLast) = pTaken->pEarlier;
    pTaken->pEarlier = pTaken->pLater = nullptr;
    --m_nSessions;
    return pTaken;
}

void CUdpIdleList::Touch(UdpSession* pSession, int64_t nNowMs) {
    // Of those that were touched in one millisecond the order is of no importance.
    const bool bListed = pSession == m_pStalest || pSession->pStaler != nullptr;
    if (bListed && (pSession->nLastMs == nNowMs || pSession == m_pFreshest)) {
        pSession->nLastMs = nNowMs;
        return;
    }
    if (bListed) Remove(pSession);
    pSession->nLastMs = nNowMs;
    pSession->pStaler = m_pFreshest;
    (m_pFreshest != nullptr ? m_pFreshest->pFresher : m_pStalest) = pSession;
    m_pFreshest = pSession;
}

void CUdpIdleList::Remove(UdpSession* pSession) {
    (pSession->pStaler != nullptr ? pSession->pStaler->pFresher : m_pStalest) = pSession->pFresher;
    (pSession->pFresher != nullptr ? pSession->pFresher->pStaler : m_pFreshest) = pSession->pStaler;
    pSession->pStaler = pSession->pFresher = nullptr;
}
