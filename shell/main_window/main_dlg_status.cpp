// The main window's timers and the status lines that they keep up to date.
#include "log/log_writer.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "shell/main_window/main_dlg.h"
#include "shell/main_window/number_format.h"

void CMainDlg::OnTimer(UINT_PTR nTimer) {
    switch (nTimer) {
        case kTimerCounts:
            RefreshCounts();
            break;
        case kTimerRates:
            RefreshRates();
            break;
        case kTimerTray:
            RepeatTrayIcon();
            break;
        case kTimerLog:
            RequestLogFlush(m_pSettings);
            break;
        case kTimerMinimize:
            KillTimer(kTimerMinimize);
            SendMessage(WM_SYSCOMMAND, SC_MINIMIZE);
            break;
        default:
            break;
    }
    CDialog::OnTimer(nTimer);
}

// The lines are written when a value changes, and the values start at zero.
void CMainDlg::ShowFirstStatus() const {
    for (const int nId : {IDC_MAIN_PROGRAM_THREADS, IDC_MAIN_PROGRAM_SESSIONS, IDC_MAIN_PFO_THREADS,
                          IDC_MAIN_PFO_SESSIONS, IDC_MAIN_PFO_TOTAL}) {
        SetDlgItemInt(nId, 0);
    }
    for (const int nId : {IDC_MAIN_CLIENT_BYTES, IDC_MAIN_SERVER_BYTES}) SetDlgItemText(nId, FormatBytes(0));
}

void CMainDlg::ShowNumber(int nId, int32_t nValue, int32_t* pnShown) const {
    if (nValue == *pnShown) return;
    *pnShown = nValue;
    SetDlgItemInt(nId, nValue);
}

void CMainDlg::ShowBytes(int nId, const std::atomic<double>* pValue, double* pdShown) const {
    if (!pValue) return;
    const double dValue = *pValue;
    if (dValue == *pdShown) return;
    *pdShown = dValue;
    SetDlgItemText(nId, FormatBytes(dValue));
}

void CMainDlg::RefreshCounts() {
    ShowNumber(IDC_MAIN_PROGRAM_THREADS, m_counters.nThreads, &m_shown.nThreads);
    ShowNumber(IDC_MAIN_PROGRAM_SESSIONS, m_counters.nSessions, &m_shown.nSessions);
    // Without a watched operation, or with a part of one, the other lines keep what they show.
    if (m_pStatThreads) ShowNumber(IDC_MAIN_PFO_THREADS, *m_pStatThreads, &m_shown.nPfoThreads);
    if (m_pStatSessions) ShowNumber(IDC_MAIN_PFO_SESSIONS, *m_pStatSessions, &m_shown.nPfoSessions);
    if (m_pStatTotal) ShowNumber(IDC_MAIN_PFO_TOTAL, *m_pStatTotal, &m_shown.nPfoTotal);
    ShowBytes(IDC_MAIN_CLIENT_BYTES, m_pStatFromClient, &m_shown.dFromClient);
    ShowBytes(IDC_MAIN_SERVER_BYTES, m_pStatFromServer, &m_shown.dFromServer);
}

void CMainDlg::RefreshRates() {
    const bool bReset = m_bResetRates != 0;
    CRateLine::Form form;
    form.bBits = m_pSettings->showRateInBits != 0;
    form.bChanged = m_shown.bBitsSetting != m_pSettings->showRateInBits || (bReset && !m_shown.bResetFlag);
    m_shown.bBitsSetting = m_pSettings->showRateInBits;
    m_shown.bResetFlag = m_bResetRates;

    const auto tick = [&](const std::atomic<double>* pTotal, CRateLine* pLine, int nId) {
        const auto strText = pTotal ? pLine->Tick(*pTotal, bReset, form) : CRateLine::TickUnwatched(form);
        if (strText) SetDlgItemText(nId, *strText);
    };
    tick(m_pStatFromClient, &m_rateFromClient, IDC_MAIN_CLIENT_RATE);
    tick(m_pStatFromServer, &m_rateFromServer, IDC_MAIN_SERVER_RATE);
    // With nothing watched the request stands until something is.
    if (m_pStatFromClient) m_bResetRates = 0;
}
