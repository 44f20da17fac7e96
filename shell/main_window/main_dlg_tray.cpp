// The main window in the tray, its layout, and the close that ends the program.
#include <algorithm>

#include "platform/mfc/tray_icon.h"
#include "platform/system/process.h"
#include "platform/threads/threads.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "shell/main_window/main_dlg.h"
#include "shell/main_window/main_dlg_slots.h"

namespace {

constexpr uint32_t kPollMs = 10;
// The log writer ends within a tenth of a second, unless the disk holds it up or its thread is gone.
constexpr uint32_t kLogWriterEndMs = 5000;

TrayIcon IconOf(HWND hWnd, HICON hIcon) {
    return {hWnd, WM_TRAY_NOTIFY, hIcon, kProgramName};
}

}  // namespace

void CMainDlg::PutTrayIcon() {
    const TrayIcon icon = IconOf(GetSafeHwnd(), m_hIcon);
    if (m_bTrayIconShown) {
        ModifyTrayIcon(icon);
    } else {
        m_bTrayIconShown = true;
        AddTrayIcon(icon);
    }
}

void CMainDlg::RemoveTrayIcon(bool bForce) {
    const bool bPermanent = m_bTrayIconShown && m_pSettings->showTrayIcon && !m_pSettings->trayOnlyWhenMinimized;
    if (!bForce && (bPermanent || !m_bTrayIconShown)) return;
    DeleteTrayIcon(GetSafeHwnd());
    m_bTrayIconShown = false;
}

// The task bar may have been restarted, and has then forgotten its icons.
void CMainDlg::RepeatTrayIcon() const {
    if (!m_pSettings->showTrayIcon) return;
    if (m_pSettings->trayOnlyWhenMinimized && !m_bMinimized) return;
    if (m_bTrayIconShown) AddTrayIcon(IconOf(GetSafeHwnd(), m_hIcon));
}

void CMainDlg::OnTrayRefresh() {
    RemoveTrayIcon(false);
    if (m_pSettings->showTrayIcon && !m_pSettings->trayOnlyWhenMinimized) PutTrayIcon();
}

void CMainDlg::OnTrayNotify(LPARAM lParam) {
    if (m_bTrayMenuOpen) return;
    if (lParam == WM_LBUTTONUP || lParam == WM_LBUTTONDBLCLK) {
        if (m_bMinimized) Restore();
        RemoveTrayIcon(false);
    } else if (lParam == WM_RBUTTONDOWN) {
        m_bTrayMenuOpen = true;
        OnTrayMenu();
        m_bTrayMenuOpen = false;
    }
}

void CMainDlg::Restore() const {
    SendMessage(WM_SYSCOMMAND, SC_RESTORE);
    if (m_bWasZoomed) SendMessage(WM_SYSCOMMAND, SC_MAXIMIZE);
}

/// True when the system is not to see the command.
bool CMainDlg::OnSysCommand(WPARAM wParam) {
    if (wParam == SC_MINIMIZE) return OnMinimize();
    if (wParam == SC_RESTORE) {
        m_bMinimized = false;
        RemoveTrayIcon(false);
    }
    return false;
}

bool CMainDlg::OnMinimize() {
    AskForTray();
    m_bMinimized = true;
    if (!m_pSettings->showTrayIcon) return false;
    PutTrayIcon();
    m_bWasZoomed = IsZoomed();
    if (!m_pSettings->hideTaskbarWhenMinimized) return false;
    ShowWindow(SW_HIDE);
    return true;
}

void CMainDlg::AskForTray() {
    if (m_pSettings->trayPromptDone) return;
    m_pSettings->trayPromptDone = 1;
    if (MessageBox(Text(kSlotHideInTray), Text(kSlotHideInTrayTitle), MB_YESNO | MB_ICONQUESTION) != IDYES) return;
    m_pSettings->showTrayIcon = 1;
    m_pSettings->hideTaskbarWhenMinimized = 1;
    m_pSettings->trayOnlyWhenMinimized = 1;
}

// The list keeps its left and top and takes the rest of the window. The client area is the window without frame,
// caption and menu bar, also where the system draws a wider frame than its metrics tell or the menu bar takes two
// lines.
void CMainDlg::LayOutList() const {
    if (m_nLayoutReady != kLayoutReady || IsIconic()) return;
    const RECT client = GetClientRect();
    const LONG nWidth = std::max(client.right - m_rcList.left, 0L);
    const LONG nHeight = std::max(client.bottom - m_rcList.top, 0L);
    GetDlgItem(IDC_MAIN_LIST).MoveWindow(m_rcList.left, m_rcList.top, nWidth, nHeight);
}

void CMainDlg::PaintIcon() const {
    PAINTSTRUCT paint = {};
    const HDC hDc = ::BeginPaint(GetSafeHwnd(), &paint);
    if (!hDc) return;
    SendMessage(WM_ICONERASEBKGND, reinterpret_cast<WPARAM>(hDc));
    const RECT client = GetClientRect();
    const int nLeft = (client.right - ::GetSystemMetrics(SM_CXICON) + 1) / 2;
    const int nTop = (client.bottom - ::GetSystemMetrics(SM_CYICON) + 1) / 2;
    ::DrawIcon(hDc, nLeft, nTop, m_hIcon);
    ::EndPaint(GetSafeHwnd(), &paint);
}

void CMainDlg::OnClose() {
    if (m_pSettings->minimizeOnClose && !m_bExitChosen && !*m_pServiceStop) {
        SendMessage(WM_SYSCOMMAND, SC_MINIMIZE);
        return;
    }
    StoreWindowPlace();
    SaveSettings();
    EndLogWriter();
    RemoveTrayIcon(true);
    if (!*m_pServiceStop) EndProcess(0);
    CDialog::OnClose();
}

void CMainDlg::StoreWindowPlace() {
    if (IsIconic()) ShowWindow(SW_SHOWNORMAL);
    m_pSettings->windowFlags = IsZoomed() ? 1 : 0;
    if (IsZoomed()) SendMessage(WM_SYSCOMMAND, SC_RESTORE);
    const RECT rect = GetWindowRect();
    m_pSettings->windowRect = {rect.left, rect.top, rect.right, rect.bottom};
}

// Without a last flush: what the timer has not yet passed on is not written.
void CMainDlg::EndLogWriter() {
    if (!m_bLogWriter) return;
    m_bLogWriter = false;
    m_pSettings->logWriterStop = 1;
    for (uint32_t nWaited = 0; m_pSettings->logWriterStop && nWaited < kLogWriterEndMs; nWaited += kPollMs)
        Sleep(kPollMs);
}

// The running operations are not stopped: they are saved as running, and their sockets go with the process.
void CMainDlg::OnExit() {
    m_bExitChosen = true;
    OnClose();
    EndProcess(0);
}
