#include "shell/main_window/main_menu.h"

#include "language/slots.h"
#include "resources/resource.h"

namespace {

// Entries whose windows the program does not have yet.
constexpr UINT kMissingCommands[] = {ID_SETTINGS_MISC, ID_SETTINGS_AUTO_LOG, ID_HELP_HELP, ID_HELP_ABOUT};

}  // namespace

void CMainMenu::Append(CMenu* pMenu, UINT nCommand, uint32_t nSlot) const {
    pMenu->Append(nCommand, m_main.Text(nSlot));
}

void CMainMenu::BuildMenuBar() {
    const bool bCreated = m_menuBar.CreateMenu() && m_menuFile.CreatePopupMenu() && m_menuSettings.CreatePopupMenu() &&
                          m_menuPfo.CreatePopupMenu() && m_menuLanguage.CreatePopupMenu() &&
                          m_menuHelp.CreatePopupMenu();
    if (!bCreated) return;
    Append(&m_menuFile, ID_FILE_EXIT, kSlotExit);
    Append(&m_menuSettings, ID_SETTINGS_MISC, kSlotMiscellaneous);
    Append(&m_menuSettings, ID_SETTINGS_AUTO_LOG, kSlotAutoLog);
    Append(&m_menuPfo, ID_PFO_START, kSlotStart);
    Append(&m_menuPfo, ID_PFO_STOP, kSlotStop);
    m_menuPfo.AppendSeparator();
    Append(&m_menuPfo, ID_PFO_START_ALL, kSlotStartAll);
    Append(&m_menuPfo, ID_PFO_STOP_ALL, kSlotStopAll);
    Append(&m_menuLanguage, ID_LANGUAGE_CHANGE, kSlotChangeLanguage);
    Append(&m_menuHelp, ID_HELP_HELP, kSlotHelp);
    Append(&m_menuHelp, ID_HELP_ABOUT, kSlotAbout);
    m_menuBar.AppendPopup(&m_menuFile, m_main.Text(kSlotFileMenu));
    m_menuBar.AppendPopup(&m_menuSettings, m_main.Text(kSlotSettingsMenu));
    m_menuBar.AppendPopup(&m_menuPfo, m_main.Text(kSlotPfoMenu));
    m_menuBar.AppendPopup(&m_menuLanguage, m_main.Text(kSlotLanguageMenu));
    m_menuBar.AppendPopup(&m_menuHelp, m_main.Text(kSlotHelpMenu));
    for (const UINT nCommand : kMissingCommands) m_menuBar.Enable(nCommand, false);
    m_main.pWindow->SetMenu(&m_menuBar);
}

// The menu is tracked without the wrapper, whose own caption is therefore never seen.
void CMainMenu::Track(CMenu* pMenu, POINT point) const {
    CMenu wrapper;
    if (!wrapper.CreateMenu() || !wrapper.AppendPopup(pMenu, "Shiznit")) return;
    pMenu->TrackPopupMenu(TPM_RIGHTBUTTON, point, m_main.pWindow->GetSafeHwnd());
}

void CMainMenu::TrackContextMenu(const CPortForwardOp& operation, POINT point) const {
    CMenu menu;
    if (!menu.CreatePopupMenu()) return;
    Append(&menu, ID_PFO_EDIT, kSlotEdit);
    menu.AppendSeparator();
    Append(&menu, ID_PFO_START, kSlotStart);
    Append(&menu, ID_PFO_STOP, kSlotStop);
    menu.AppendSeparator();
    Append(&menu, ID_PFO_DELETE, kSlotDelete);
    menu.Enable(operation.m_bRunning ? ID_PFO_START : ID_PFO_STOP, false);
    Track(&menu, point);
}

void CMainMenu::TrackTrayMenu() const {
    POINT cursor = {};
    CMenu menu;
    if (!::GetCursorPos(&cursor) || !menu.CreatePopupMenu()) return;
    Append(&menu, ID_HELP_ABOUT, kSlotAbout);
    menu.AppendSeparator();
    Append(&menu, ID_TRAY_RESTORE, kSlotRestore);
    Append(&menu, ID_TRAY_MINIMIZE, kSlotMinimize);
    menu.AppendSeparator();
    Append(&menu, ID_FILE_EXIT, kSlotExit);
    menu.Enable(ID_HELP_ABOUT, false);
    m_main.pWindow->SetForegroundWindow();
    Track(&menu, cursor);
    // Without a message behind it, the system would leave the menu of a background window open.
    m_main.pWindow->PostMessage(WM_NULL);
}
