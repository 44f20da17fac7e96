#include "shell/main_window/status_lines.h"

#include "resources/resource.h"
#include "shell/main_window/number_format.h"

void CStatusLines::ShowFirst() const {
    for (const int nId : {IDC_MAIN_PROGRAM_THREADS, IDC_MAIN_PROGRAM_SESSIONS, IDC_MAIN_PFO_THREADS,
                          IDC_MAIN_PFO_SESSIONS, IDC_MAIN_PFO_TOTAL}) {
        m_main.pWindow->SetDlgItemInt(nId, 0);
    }
    for (const int nId : {IDC_MAIN_CLIENT_BYTES, IDC_MAIN_SERVER_BYTES}) {
        m_main.pWindow->SetDlgItemText(nId, FormatBytes(0));
    }
}

void CStatusLines::Watch(const CPortForwardOp& operation) {
    const bool bSame =
        m_pStatFromClient == &operation.m_dBytesFromClient && m_pStatFromServer == &operation.m_dBytesFromServer;
    m_pStatThreads = &operation.m_nThreads;
    m_pStatSessions = &operation.m_nSessions;
    m_pStatTotal = &operation.m_nTotalSessions;
    WatchBytes(operation);
    m_bResetRates = bSame ? 0 : 1;
}

void CStatusLines::WatchBytes(const CPortForwardOp& operation) {
    m_pStatFromClient = &operation.m_dBytesFromClient;
    m_pStatFromServer = &operation.m_dBytesFromServer;
    m_bResetRates = 1;
}

void CStatusLines::Unwatch(const CPortForwardOp* pOperation) {
    const auto clear = [pOperation](auto& pStatus, auto CPortForwardOp::*pMember) {
        if (!pOperation || pStatus == &(pOperation->*pMember)) pStatus = nullptr;
    };
    clear(m_pStatThreads, &CPortForwardOp::m_nThreads);
    clear(m_pStatSessions, &CPortForwardOp::m_nSessions);
    clear(m_pStatTotal, &CPortForwardOp::m_nTotalSessions);
    clear(m_pStatFromClient, &CPortForwardOp::m_dBytesFromClient);
    clear(m_pStatFromServer, &CPortForwardOp::m_dBytesFromServer);
    m_bResetRates = 1;
}

void CStatusLines::UnwatchBytes(const CPortForwardOp& operation) {
    if (m_pStatFromClient == &operation.m_dBytesFromClient) m_pStatFromClient = m_pStatFromServer = nullptr;
}

void CStatusLines::ShowNumber(int nId, int32_t nValue, int32_t* pnShown) const {
    if (nValue == *pnShown) return;
    *pnShown = nValue;
    m_main.pWindow->SetDlgItemInt(nId, nValue);
}

void CStatusLines::ShowBytes(int nId, const std::atomic<double>* pValue, double* pdShown) const {
    if (!pValue) return;
    const double dValue = *pValue;
    if (dValue == *pdShown) return;
    *pdShown = dValue;
    m_main.pWindow->SetDlgItemText(nId, FormatBytes(dValue));
}

void CStatusLines::RefreshCounts() {
    ShowNumber(IDC_MAIN_PROGRAM_THREADS, m_main.pCounters->nThreads, &m_shown.nThreads);
    ShowNumber(IDC_MAIN_PROGRAM_SESSIONS, m_main.pCounters->nSessions, &m_shown.nSessions);
    if (m_pStatThreads) ShowNumber(IDC_MAIN_PFO_THREADS, *m_pStatThreads, &m_shown.nPfoThreads);
    if (m_pStatSessions) ShowNumber(IDC_MAIN_PFO_SESSIONS, *m_pStatSessions, &m_shown.nPfoSessions);
    if (m_pStatTotal) ShowNumber(IDC_MAIN_PFO_TOTAL, *m_pStatTotal, &m_shown.nPfoTotal);
    ShowBytes(IDC_MAIN_CLIENT_BYTES, m_pStatFromClient, &m_shown.dFromClient);
    ShowBytes(IDC_MAIN_SERVER_BYTES, m_pStatFromServer, &m_shown.dFromServer);
}

void CStatusLines::RefreshRates() {
    const bool bReset = m_bResetRates != 0;
    const uint8_t bBits = m_main.pSettings->showRateInBits;
    CRateLine::Form form;
    form.bBits = bBits != 0;
    form.bChanged = m_shown.bBitsSetting != bBits || (bReset && !m_shown.bResetFlag);
    m_shown.bBitsSetting = bBits;
    m_shown.bResetFlag = m_bResetRates;

    const auto tick = [&](const std::atomic<double>* pTotal, CRateLine* pLine, int nId) {
        const auto strText = pTotal ? pLine->Tick(*pTotal, bReset, form) : CRateLine::TickUnwatched(form);
        if (strText) m_main.pWindow->SetDlgItemText(nId, *strText);
    };
    tick(m_pStatFromClient, &m_rateFromClient, IDC_MAIN_CLIENT_RATE);
    tick(m_pStatFromServer, &m_rateFromServer, IDC_MAIN_SERVER_RATE);
    // With nothing watched the request stands until something is.
    if (m_pStatFromClient) m_bResetRates = 0;
}
