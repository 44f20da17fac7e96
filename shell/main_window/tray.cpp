#include "shell/main_window/tray.h"

#include "language/slots.h"
#include "resources/private_messages.h"
#include "shell/main_window/main_menu.h"

TrayIcon CTray::Icon() const {
    return {m_main.pWindow->GetSafeHwnd(), WM_TRAY_NOTIFY, m_hIcon, kProgramName};
}

bool CTray::IsPermanent() const {
    return m_main.pSettings->showTrayIcon && !m_main.pSettings->trayOnlyWhenMinimized;
}

void CTray::ShowPermanentIcon() {
    if (IsPermanent()) PutTrayIcon();
}

void CTray::PutTrayIcon() {
    if (m_bTrayIconShown) {
        ModifyTrayIcon(Icon());
    } else {
        m_bTrayIconShown = true;
        AddTrayIcon(Icon());
    }
}

void CTray::RemoveTrayIcon(bool bForce) {
    if (!bForce && (IsPermanent() || !m_bTrayIconShown)) return;
    DeleteTrayIcon(m_main.pWindow->GetSafeHwnd());
    m_bTrayIconShown = false;
}

// The task bar may have been restarted, and has then forgotten its icons.
void CTray::RepeatIcon() const {
    if (!m_main.pSettings->showTrayIcon) return;
    if (m_main.pSettings->trayOnlyWhenMinimized && !m_bMinimized) return;
    if (m_bTrayIconShown) AddTrayIcon(Icon());
}

void CTray::OnTrayRefresh() {
    RemoveTrayIcon(false);
    ShowPermanentIcon();
}

void CTray::OnTrayNotify(LPARAM nMouseMessage) {
    if (m_bTrayMenuOpen) return;
    if (nMouseMessage == WM_LBUTTONUP || nMouseMessage == WM_LBUTTONDBLCLK) {
        if (m_bMinimized) Restore();
        RemoveTrayIcon(false);
    } else if (nMouseMessage == WM_RBUTTONDOWN) {
        m_bTrayMenuOpen = true;
        m_pMenu->TrackTrayMenu();
        m_bTrayMenuOpen = false;
    }
}

void CTray::Restore() const {
    m_main.pWindow->SendMessage(WM_SYSCOMMAND, SC_RESTORE);
    if (m_bWasZoomed) m_main.pWindow->SendMessage(WM_SYSCOMMAND, SC_MAXIMIZE);
}

bool CTray::OnSysCommand(WPARAM wParam) {
    if (wParam == SC_MINIMIZE) return OnMinimize();
    if (wParam == SC_RESTORE) {
        m_bMinimized = false;
        RemoveTrayIcon(false);
    }
    return false;
}

bool CTray::OnMinimize() {
    AskForTray();
    m_bMinimized = true;
    if (!m_main.pSettings->showTrayIcon) return false;
    PutTrayIcon();
    m_bWasZoomed = m_main.pWindow->IsZoomed();
    if (!m_main.pSettings->hideTaskbarWhenMinimized) return false;
    m_main.pWindow->ShowWindow(SW_HIDE);
    return true;
}

void CTray::AskForTray() const {
    AppSettings& settings = *m_main.pSettings;
    if (settings.trayPromptDone) return;
    settings.trayPromptDone = 1;
    if (m_main.MessageBox(kSlotHideInTray, kSlotHideInTrayTitle, MB_YESNO | MB_ICONQUESTION) != IDYES) return;
    settings.showTrayIcon = 1;
    settings.hideTaskbarWhenMinimized = 1;
    settings.trayOnlyWhenMinimized = 1;
}
