#include "shell/main_window/main_dlg.h"

#include "language/language_choice.h"
#include "language/slots.h"
#include "platform/mfc/dialog.h"
#include "platform/system/process.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/auto_start.h"
#include "store/settings_file.h"

namespace {

constexpr uint32_t kCountsPeriodMs = 20;
constexpr uint32_t kRatesPeriodMs = 500;
constexpr uint32_t kTrayPeriodMs = 1000;
constexpr uint32_t kMinimizePeriodMs = 10;

// The run loop and the thread of the window; the log writer comes on top.
constexpr int32_t kThreadsAtStart = 2;

// The log writer ends within a tenth of a second, unless the disk holds it up or its thread is gone.
constexpr uint32_t kLogWriterEndMs = 5000;

constexpr struct {
    int nId;
    uint32_t nSlot;
} kCaptions[] = {
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

}  // namespace

CMainDlg::CMainDlg(AppSettings* pSettings, std::atomic<HWND>* phMainWnd, const std::atomic<uint8_t>* pServiceStop,
                   bool bStartMinimized)
    : CDialog(IDD_MAIN),
      m_pSettings(pSettings),
      m_phMainWnd(phMainWnd),
      m_pServiceStop(pServiceStop),
      m_bStartMinimized(bStartMinimized),
      m_hIcon(::LoadIconA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_ZELKOR))),
      m_logWriter(*pSettings) {}

INT_PTR CMainDlg::DoModal() {
    return OpenDialogFont(this, m_pSettings->languageCode);
}

bool CMainDlg::OnInitDialog() {
    const bool bSetFocus = CDialog::OnInitDialog();
    SetIcon(m_hIcon);
    return bSetFocus;
}

void CMainDlg::OnInitWindow() {
    *m_phMainWnd = GetSafeHwnd();
    m_tray.ShowPermanentIcon();
    StartTimers();
    m_list.SetStyle();
    m_layout.Begin();
    m_layout.PlaceWindow();
    m_list.InsertColumns();
    RelabelWindow();
    m_list.RestoreColumns();
    m_commands.ListOperations(ShouldStartOperations(*m_pSettings, [this] {
        return m_main.MessageBox(kSlotStartPrevious, kSlotStartPreviousTitle, MB_YESNO | MB_ICONQUESTION) == IDYES;
    }));
    if (m_pSettings->autoLogEnabled) SetTimer(kTimerLog, LogFlushPeriodMs(*m_pSettings));
    // Without the writer the program goes on: nothing but the log is lost.
    static_cast<void>(m_logWriter.Start(&m_counters.nThreads));
    if (m_bStartMinimized || m_pSettings->startMinimizedSetting) SetTimer(kTimerMinimize, kMinimizePeriodMs);
}

void CMainDlg::StartTimers() {
    SetTimer(kTimerTray, kTrayPeriodMs);
    m_counters.nThreads = kThreadsAtStart;
    m_counters.nSessions = 0;
    m_counters.nPendingSetups = 0;
    m_status.ShowFirst();
    SetTimer(kTimerCounts, kCountsPeriodMs);
    SetTimer(kTimerRates, kRatesPeriodMs);
}

void CMainDlg::RelabelWindow() {
    m_menu.BuildMenuBar();
    for (const auto& [nId, nSlot] : kCaptions) SetDlgItemText(nId, m_main.Text(nSlot));
    m_list.RelabelColumns();
}

bool CMainDlg::PreTranslateMessage(MSG* pMessage) {
    // The dialog manager would close the window.
    if (pMessage->message == WM_KEYDOWN && pMessage->wParam == VK_ESCAPE) return true;
    return CDialog::PreTranslateMessage(pMessage);
}

void CMainDlg::OnTimer(UINT_PTR nTimer) {
    switch (nTimer) {
        case kTimerCounts:
            m_status.RefreshCounts();
            break;
        case kTimerRates:
            m_status.RefreshRates();
            break;
        case kTimerTray:
            m_tray.RepeatIcon();
            break;
        case kTimerLog:
            m_logWriter.RequestFlush();
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

bool CMainDlg::OnCommand(int nId, int nCode) {
    if (nCode != BN_CLICKED) return false;
    switch (nId) {
        case ID_PFO_NEW:
            m_commands.OnNew();
            return true;
        case ID_PFO_EDIT:
            m_commands.OnEdit();
            return true;
        case ID_PFO_DELETE:
            m_commands.OnDelete();
            return true;
        case ID_PFO_START:
            m_commands.OnStart();
            return true;
        case ID_PFO_STOP:
            m_commands.OnStop();
            return true;
        case ID_PFO_START_ALL:
            m_commands.OnStartAll();
            return true;
        case ID_PFO_STOP_ALL:
            m_commands.OnStopAll();
            return true;
        case ID_CONTEXT_MENU:
            OnContextMenuAtItem();
            return true;
        case ID_LANGUAGE_CHANGE:
            OnLanguage();
            return true;
        case ID_TRAY_RESTORE:
            m_tray.Restore();
            return true;
        case ID_TRAY_MINIMIZE:
            SendMessage(WM_SYSCOMMAND, SC_MINIMIZE);
            return true;
        case ID_FILE_EXIT:
            OnExit();
            return true;
        default:
            return false;
    }
}

bool CMainDlg::OnNotify(int nId, NMHDR* pHeader, LRESULT* /*pResult*/) {
    if (nId != IDC_MAIN_LIST) return false;
    switch (pHeader->code) {
        case LVN_ITEMCHANGED:
            m_list.OnItemChanged(*reinterpret_cast<const NMLISTVIEW*>(pHeader));
            return true;
        case LVN_COLUMNCLICK:
            m_list.OnColumnClick(reinterpret_cast<const NMLISTVIEW*>(pHeader)->iSubItem);
            return true;
        case LVN_KEYDOWN:
            if (reinterpret_cast<const NMLVKEYDOWN*>(pHeader)->wVKey == VK_APPS) OnContextMenuAtItem();
            return true;
        case NM_RCLICK:
        case NM_DBLCLK:
            OnContextMenu();
            return true;
        default:
            return false;
    }
}

LRESULT CMainDlg::DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) {
    switch (nMessage) {
        case WM_WINDOWPOSCHANGED:
            m_layout.OnWindowPosChanged();
            break;
        case WM_GETMINMAXINFO:
            m_layout.OnGetMinMaxInfo(reinterpret_cast<MINMAXINFO*>(lParam));
            break;
        case WM_SYSCOMMAND:
            if (m_tray.OnSysCommand(wParam)) return 0;
            break;
        case WM_PAINT:
            if (IsIconic()) {
                PaintIcon();
                return 0;
            }
            break;
        case WM_QUERYDRAGICON:
            return reinterpret_cast<LRESULT>(m_hIcon);
        case WM_TRAY_NOTIFY:
            m_tray.OnTrayNotify(lParam);
            return 0;
        case WM_TRAY_REFRESH:
            m_tray.OnTrayRefresh();
            break;
        case WM_SAVE_SETTINGS:
            SaveSettings();
            break;
        case WM_WORKER_STEP:
            return m_workers.OnWorkerStep(wParam, lParam);
        default:
            break;
    }
    return CDialog::DefWindowProc(nMessage, wParam, lParam);
}

void CMainDlg::OnContextMenu() {
    const CPortForwardOp* const pOperation = m_list.SelectedOperation();
    POINT cursor = {};
    if (pOperation && ::GetCursorPos(&cursor)) m_menu.TrackContextMenu(*pOperation, cursor);
}

void CMainDlg::OnContextMenuAtItem() {
    const std::optional<POINT> point = m_list.SelectedPosition();
    if (point) m_menu.TrackContextMenu(*m_list.SelectedOperation(), *point);
}

void CMainDlg::OnLanguage() {
    ChooseLanguage(m_pSettings, m_pSettings->shellBrowser);
    SaveSettings();
    RelabelWindow();
}

void CMainDlg::SaveSettings() {
    m_list.CollectListToSettings();
    // A file that cannot be written is not reported: the next save tries again.
    SaveSettingsFile(*m_pSettings, nullptr);
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

// Reached by the close of a service, and by keys that mean Cancel to the dialog manager; those end nothing.
void CMainDlg::OnCancel() {
    if (*m_pServiceStop) CDialog::OnCancel();
}

void CMainDlg::OnClose() {
    if (m_pSettings->minimizeOnClose && !m_bExitChosen && !*m_pServiceStop) {
        SendMessage(WM_SYSCOMMAND, SC_MINIMIZE);
        return;
    }
    m_layout.StoreWindowPlace();
    SaveSettings();
    m_logWriter.End(kLogWriterEndMs);
    m_tray.RemoveTrayIcon(true);
    if (!*m_pServiceStop) EndProcess(0);
    CDialog::OnClose();
}

// The running operations are not stopped: they are saved as running, and their sockets go with the process.
void CMainDlg::OnExit() {
    m_bExitChosen = true;
    OnClose();
    EndProcess(0);
}
