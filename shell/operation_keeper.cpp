#include "shell/operation_keeper.h"

#include <algorithm>

#include "shell/app_settings.h"

bool COperationKeeper::Keep(CPortForwardOp* pOp) {
    m_pSettings->wantedOps.push_back(pOp);
    return Try(pOp);
}

void COperationKeeper::Release(const CPortForwardOp* pOp) {
    std::erase(m_pSettings->wantedOps, pOp);
    std::erase(m_failing, pOp);
}

void COperationKeeper::TryNext() {
    while (m_nTurn < m_pSettings->wantedOps.size()) {
        CPortForwardOp* const pOp = m_pSettings->wantedOps[m_nTurn++];
        if (pOp->m_bRunning != 0) continue;
        Try(pOp);
        return;
    }
    m_nTurn = 0;
    m_next = Clock::now() + m_period;
}

bool COperationKeeper::Try(CPortForwardOp* pOp) {
    const bool bStarted = pOp->Start();
    const bool bTold = std::find(m_failing.begin(), m_failing.end(), pOp) != m_failing.end();
    if (bStarted) {
        std::erase(m_failing, pOp);
    } else if (!bTold) {
        m_failing.push_back(pOp);
    }
    if (bStarted || !bTold) m_report(pOp, bStarted);
    return bStarted;
}
