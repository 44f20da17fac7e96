// The main window's menus and captions.
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "shell/main_window/main_dlg.h"
#include "shell/main_window/main_dlg_slots.h"

namespace {

struct Caption {
    int nId;
    uint32_t nSlot;
};

constexpr Caption kCaptions[] = {
    {IDC_MAIN_LIST_LABEL, kSlotListLabel},
    {IDC_MAIN_PROGRAM_GROUP, kSlotProgramGroup},
    {IDC_MAIN_PROGRAM_THREADS_LABEL, kSlotThreads},
    {IDC_MAIN_PROGRAM_SESSIONS_LABEL, kSlotSessions},
    {IDC_MAIN_PFO_GROUP, kSlotPfoGroup},
    {IDC_MAIN_PFO_THREADS_LABEL, kSlotThreads},
    {IDC_MAIN_PFO_SESSIONS_LABEL, kSlotSessions},
    {IDC_MAIN_PFO_TOTAL_LABEL, kSlotTotalSessions},
    {IDC_MAIN_CLIENT_BYTES_LABEL, kSlotClientBytes},
    {IDC_MAIN_SERVER_BYTES_LABEL, kSlotServerBytes},
    {IDC_MAIN_CLIENT_RATE_LABEL, kSlotClientRate},
    {IDC_MAIN_SERVER_RATE_LABEL, kSlotServerRate},
    {ID_PFO_NEW, kSlotNew},
    {ID_PFO_EDIT, kSlotEdit},
    {ID_PFO_DELETE, kSlotDelete},
    {ID_PFO_START, kSlotStart},
    {ID_PFO_STOP, kSlotStop},
};

// Entries whose windows the program does not have yet.
constexpr UINT kMissingCommands[] = {ID_SETTINGS_MISC, ID_SETTINGS_AUTO_LOG, ID_HELP_HELP, ID_HELP_ABOUT};

// The menu is tracked without the wrapper, whose own caption is therefore never seen.
void Track(CMenu* pMenu, POINT point, HWND hWnd) {
    CMenu wrapper;
    if (!wrapper.CreateMenu() || !wrapper.AppendPopup(pMenu, "Shiznit")) return;
    pMenu->TrackPopupMenu(TPM_RIGHTBUTTON, point, hWnd);
}

}  // namespace

void CMainDlg::RelabelWindow() {
    BuildMenuBar();
    for (const Caption& caption : kCaptions) SetDlgItemText(caption.nId, Text(caption.nSlot));
    for (uint32_t i = 0; i < kColumnCount; ++i) {
        List().SetColumnText(static_cast<int>(i), Text(kSlotStatusHeader + i));
    }
}

void CMainDlg::BuildMenuBar() {
    const bool bCreated = m_menuBar.CreateMenu() && m_menuFile.CreatePopupMenu() && m_menuSettings.CreatePopupMenu() &&
                          m_menuPfo.CreatePopupMenu() && m_menuLanguage.CreatePopupMenu() &&
                          m_menuHelp.CreatePopupMenu();
    if (!bCreated) return;
    m_menuFile.Append(ID_FILE_EXIT, Text(kSlotExit));
    m_menuSettings.Append(ID_SETTINGS_MISC, Text(kSlotMiscellaneous));
    m_menuSettings.Append(ID_SETTINGS_AUTO_LOG, Text(kSlotAutoLog));
    m_menuPfo.Append(ID_PFO_START, Text(kSlotStart));
    m_menuPfo.Append(ID_PFO_STOP, Text(kSlotStop));
    m_menuPfo.AppendSeparator();
    m_menuPfo.Append(ID_PFO_START_ALL, Text(kSlotStartAll));
    m_menuPfo.Append(ID_PFO_STOP_ALL, Text(kSlotStopAll));
    m_menuLanguage.Append(ID_LANGUAGE_CHANGE, Text(kSlotChangeLanguage));
    m_menuHelp.Append(ID_HELP_HELP, Text(kSlotHelp));
    m_menuHelp.Append(ID_HELP_ABOUT, Text(kSlotAbout));
    m_menuBar.AppendPopup(&m_menuFile, Text(kSlotFileMenu));
    m_menuBar.AppendPopup(&m_menuSettings, Text(kSlotSettingsMenu));
    m_menuBar.AppendPopup(&m_menuPfo, Text(kSlotPfoMenu));
    m_menuBar.AppendPopup(&m_menuLanguage, Text(kSlotLanguageMenu));
    m_menuBar.AppendPopup(&m_menuHelp, Text(kSlotHelpMenu));
    for (const UINT nCommand : kMissingCommands) m_menuBar.Enable(nCommand, false);
    SetMenu(&m_menuBar);
}

void CMainDlg::OnContextMenu(POINT point) {
    const CPortForwardOp* const pOperation = SelectedOperation();
    CMenu menu;
    if (!pOperation || !menu.CreatePopupMenu()) return;
    menu.Append(ID_PFO_EDIT, Text(kSlotEdit));
    menu.AppendSeparator();
    menu.Append(ID_PFO_START, Text(kSlotStart));
    menu.Append(ID_PFO_STOP, Text(kSlotStop));
    menu.AppendSeparator();
    menu.Append(ID_PFO_DELETE, Text(kSlotDelete));
    menu.Enable(pOperation->m_bRunning ? ID_PFO_START : ID_PFO_STOP, false);
    Track(&menu, point, GetSafeHwnd());
}

void CMainDlg::OnContextMenuAtItem() {
    const CListCtrl list = List();
    const int nRow = list.GetSelectionMark();
    if (OperationOfRow(nRow)) OnContextMenu(list.ClientToScreen(list.GetItemPosition(nRow)));
}

void CMainDlg::OnTrayMenu() {
    POINT cursor = {};
    CMenu menu;
    if (!::GetCursorPos(&cursor) || !menu.CreatePopupMenu()) return;
    menu.Append(ID_HELP_ABOUT, Text(kSlotAbout));
    menu.AppendSeparator();
    menu.Append(ID_TRAY_RESTORE, Text(kSlotRestore));
    menu.Append(ID_TRAY_MINIMIZE, Text(kSlotMinimize));
    menu.AppendSeparator();
    menu.Append(ID_FILE_EXIT, Text(kSlotExit));
    menu.Enable(ID_HELP_ABOUT, false);
    SetForegroundWindow();
    Track(&menu, cursor, GetSafeHwnd());
    // Without a message behind it, the system would leave the menu of a background window open.
    PostMessage(WM_NULL);
}
