// The menus of the main window: the menu bar, the context menu of a row and the menu of the tray icon.
//
// Each entry's command arrives at the window as WM_COMMAND. Thread of the window only.
#pragma once

#include "platform/mfc/menu.h"
#include "shell/main_window/main_window.h"

class CPortForwardOp;

class CMainMenu {
  public:
    explicit CMainMenu(const MainWindow& main) : m_main(main) {}

    /// Builds the menu bar in the language in force and puts it in the place of the one before.
    void BuildMenuBar();

    // Both return when the menu has gone.

    /// Shows what can be done with the operation, at a point of the screen.
    void TrackContextMenu(const CPortForwardOp& operation, POINT point) const;
    /// Shows the menu of the tray icon at the cursor.
    void TrackTrayMenu() const;

  private:
    void Append(CMenu* pMenu, UINT nCommand, uint32_t nSlot) const;
    void Track(CMenu* pMenu, POINT point) const;

    const MainWindow m_main;
    // The bar is the window's, and the others are the bar's
    CMenu m_menuBar;
    CMenu m_menuFile;
    CMenu m_menuSettings;
    CMenu m_menuPfo;
    CMenu m_menuLanguage;
    CMenu m_menuHelp;
};
