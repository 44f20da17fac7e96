// The main window in the tray: its icon there, and how the window goes away and comes back.
//
// Whether there is an icon, whether it stays while the window is shown, and whether a minimised window leaves the task
// bar are settings. Thread of the window only.
#pragma once

#include "platform/mfc/tray_icon.h"
#include "shell/main_window/main_window.h"

class CMainMenu;

class CTray {
  public:
    /// The icon is the system's.
    CTray(const MainWindow& main, const CMainMenu* pMenu, HICON hIcon) : m_main(main), m_pMenu(pMenu), m_hIcon(hIcon) {}

    /// Puts up the icon if it is to be there all the time.
    void ShowPermanentIcon();
    /// Takes a permanent icon away too with bForce, and asks the system to do so even if there seems to be none.
    void RemoveTrayIcon(bool bForce);
    /// Puts up the icon that is there once more.
    void RepeatIcon() const;
    /// The settings have changed.
    void OnTrayRefresh();
    /// A mouse message on the icon.
    void OnTrayNotify(LPARAM nMouseMessage);

    /// WM_SYSCOMMAND. True when the system is not to see it.
    bool OnSysCommand(WPARAM wParam);
    void Restore() const;

  private:
    TrayIcon Icon() const;
    bool IsPermanent() const;
    void PutTrayIcon();
    bool OnMinimize();
    void AskForTray() const;

    const MainWindow m_main;
    const CMainMenu* const m_pMenu;
    const HICON m_hIcon;
    bool m_bTrayIconShown = false;
    bool m_bTrayMenuOpen = false;
    bool m_bMinimized = false;  // or hidden
    bool m_bWasZoomed = false;  // when it was minimised
};
