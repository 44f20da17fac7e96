#include "platform/net/breakable_calls.h"

#include "platform/system/windows_api.h"

// The system ends calls by their socket and not by their thread.
void CBreakableCalls::Enter() {}

void CBreakableCalls::Leave() {
    m_bLeft = 1;
}

bool CBreakableCalls::Break(const CSocket& hFirst, const CSocket& hSecond) {
    m_bBroken = 1;
    if (m_bLeft != 0) return true;
    CancelIoEx(reinterpret_cast<HANDLE>(hFirst.m_hSocket), nullptr);
    CancelIoEx(reinterpret_cast<HANDLE>(hSecond.m_hSocket), nullptr);
    return false;
}
