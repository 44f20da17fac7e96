#include "shell/main_window/main_dlg.h"

#include <vector>

#include "log/log_writer.h"
#include "platform/mfc/dialog_font.h"
#include "platform/mfc/wait_cursor.h"
#include "platform/mfc/win_app.h"
#include "platform/threads/threads.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "shell/auto_start.h"
#include "shell/link_operation.h"
#include "shell/main_window/column_layout.h"
#include "shell/main_window/main_dlg_slots.h"
#include "shell/main_window/window_place.h"

namespace {

constexpr uint32_t kCountsPeriodMs = 20;
constexpr uint32_t kRatesPeriodMs = 500;
constexpr uint32_t kTrayPeriodMs = 1000;
constexpr uint32_t kMinimizePeriodMs = 10;

// The run loop and the thread of the window; the log writer comes on top.
constexpr int32_t kThreadsAtStart = 2;

constexpr uint32_t kFlagMaximised = 1;

// Before the columns get their saved widths.
constexpr std::array<int, kColumnCount> kInsertedWidths = {80, 80, 120, 90, 200, 150};

BOOL CALLBACK AppendScreen(HMONITOR hMonitor, HDC /*hDc*/, RECT* /*pRect*/, LPARAM lParam) {
    MONITORINFO info = {};
    info.cbSize = sizeof info;
    if (!::GetMonitorInfoA(hMonitor, &info)) return TRUE;
    auto& screens = *reinterpret_cast<std::vector<WindowRect>*>(lParam);
    const bool bPrimary = (info.dwFlags & MONITORINFOF_PRIMARY) != 0;
    const RECT& work = info.rcWork;
    screens.insert(bPrimary ? screens.begin() : screens.end(), {work.left, work.top, work.right, work.bottom});
    return TRUE;
}

std::vector<WindowRect> Screens() {
    std::vector<WindowRect> screens;
    ::EnumDisplayMonitors(nullptr, nullptr, AppendScreen, reinterpret_cast<LPARAM>(&screens));
    // A service without a desktop to see has no monitor.
    if (screens.empty()) screens.push_back({0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN)});
    return screens;
}

}  // namespace

CMainDlg::CMainDlg(AppSettings* pSettings, std::atomic<HWND>* phMainWnd, const std::atomic<uint8_t>* pServiceStop,
                   bool bStartMinimized)
    : CDialog(IDD_MAIN),
      m_pSettings(pSettings),
      m_phMainWnd(phMainWnd),
      m_pServiceStop(pServiceStop),
      m_bStartMinimized(bStartMinimized),
      m_hIcon(::LoadIconA(::GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDI_ZELKOR))) {}

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
    if (m_pSettings->showTrayIcon && !m_pSettings->trayOnlyWhenMinimized) PutTrayIcon();
    StartTimers();
    PrepareList();
    PlaceWindow();
    InsertColumns();
    ListOperations(ShouldStartOperations(*m_pSettings, [this] {
        return MessageBox(Text(kSlotStartPrevious), Text(kSlotStartPreviousTitle), MB_YESNO | MB_ICONQUESTION) == IDYES;
    }));
    if (m_pSettings->autoLogEnabled) SetTimer(kTimerLog, LogFlushPeriodMs(*m_pSettings));
    StartLogWriter();
    if (m_bStartMinimized || m_pSettings->startMinimizedSetting) SetTimer(kTimerMinimize, kMinimizePeriodMs);
}

void CMainDlg::StartTimers() {
    SetTimer(kTimerTray, kTrayPeriodMs);
    m_counters.nThreads = kThreadsAtStart;
    m_counters.nSessions = 0;
    m_counters.nPendingSetups = 0;
    ShowFirstStatus();
    SetTimer(kTimerCounts, kCountsPeriodMs);
    SetTimer(kTimerRates, kRatesPeriodMs);
}

void CMainDlg::PrepareList() {
    List().SetExtendedStyle(LVS_EX_GRIDLINES | LVS_EX_HEADERDRAGDROP | LVS_EX_FULLROWSELECT);
    m_rcList = ScreenToClient(List().GetWindowRect());
    m_nLayoutReady = kLayoutReady;
}

void CMainDlg::PlaceWindow() {
    const WindowRect& saved = m_pSettings->windowRect;
    if (saved.top == saved.bottom) return;
    const WindowRect rect = PlaceOnScreens(saved, Screens());
    MoveWindow(rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
    if (m_pSettings->windowFlags & kFlagMaximised) SendMessage(WM_SYSCOMMAND, SC_MAXIMIZE);
}

void CMainDlg::InsertColumns() {
    const CListCtrl list = List();
    for (size_t i = 0; i < kColumnCount; ++i) list.InsertColumn(static_cast<int>(i), "", kInsertedWidths[i]);
    RelabelWindow();
    list.SetColumnOrderArray(RepairColumnOrder(m_pSettings->columnOrder));
    const ColumnValues widths = RepairColumnWidths(m_pSettings->columnWidths);
    for (size_t i = 0; i < kColumnCount; ++i) list.SetColumnWidth(static_cast<int>(i), widths[i]);
}

// Each row goes in at the top, so the list shows the order of the file upside down.
void CMainDlg::ListOperations(bool bStart) {
    const CWaitCursor wait;
    const CPortForwardOp* pLastStarted = nullptr;
    for (CPortForwardOp* pOperation = m_pSettings->firstOp; pOperation; pOperation = pOperation->m_pNext) {
        pOperation->m_bStarting = 0;
        if (!InsertRow(pOperation)) {
            m_pUnlisted = pOperation;
            break;
        }
        LinkOperation(pOperation, *m_pSettings, &m_counters, &m_logQueue);
        const bool bWasRunning = pOperation->m_bRunning.exchange(0) != 0;
        if (!bWasRunning || !bStart) continue;
        List().SetSelectionMark(FindRow(pOperation));
        m_bBatchCommand = true;
        OnStart();
        pLastStarted = pOperation;
    }
    // Rows went in above the mark since: it stays with the operation whose status is shown.
    if (pLastStarted) List().SetSelectionMark(FindRow(pLastStarted));
    m_bListed = true;
}

void CMainDlg::StartLogWriter() {
    m_pSettings->logFlushRequested = 0;
    m_pSettings->logQueue = &m_logQueue;
    m_counters.nThreads.fetch_add(1);
    m_bLogWriter = AfxBeginThread(LogWriterThread, m_pSettings);
    // Without the writer the program goes on: nothing but the log is lost.
    if (!m_bLogWriter) m_counters.nThreads.fetch_sub(1);
}

bool CMainDlg::PreTranslateMessage(MSG* pMessage) {
    // The dialog manager would close the window.
    if (pMessage->message == WM_KEYDOWN && pMessage->wParam == VK_ESCAPE) return true;
    return CDialog::PreTranslateMessage(pMessage);
}

// Reached by the close of a service, and by keys that mean Cancel to the dialog manager; those end nothing.
void CMainDlg::OnCancel() {
    if (*m_pServiceStop) CDialog::OnCancel();
}

bool CMainDlg::OnCommand(int nId, int nCode) {
    if (nCode != BN_CLICKED) return false;
    switch (nId) {
        case ID_PFO_NEW:
            OnNew();
            return true;
        case ID_PFO_EDIT:
            OnEdit();
            return true;
        case ID_PFO_DELETE:
            OnDelete();
            return true;
        case ID_PFO_START:
            OnStart();
            return true;
        case ID_PFO_STOP:
            OnStop();
            return true;
        case ID_PFO_START_ALL:
            OnStartAll();
            return true;
        case ID_PFO_STOP_ALL:
            OnStopAll();
            return true;
        case ID_CONTEXT_MENU:
            OnContextMenuAtItem();
            return true;
        case ID_LANGUAGE_CHANGE:
            OnLanguage();
            return true;
        case ID_TRAY_RESTORE:
            Restore();
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
            OnItemChanged(*reinterpret_cast<const NMLISTVIEW*>(pHeader));
            return true;
        case LVN_COLUMNCLICK:
            OnColumnClick(reinterpret_cast<const NMLISTVIEW*>(pHeader)->iSubItem);
            return true;
        case LVN_KEYDOWN:
            if (reinterpret_cast<const NMLVKEYDOWN*>(pHeader)->wVKey == VK_APPS) OnContextMenuAtItem();
            return true;
        case NM_RCLICK:
        case NM_DBLCLK: {
            POINT cursor = {};
            if (::GetCursorPos(&cursor)) OnContextMenu(cursor);
            return true;
        }
        default:
            return false;
    }
}

LRESULT CMainDlg::DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) {
    switch (nMessage) {
        case WM_WINDOWPOSCHANGED:
            LayOutList();
            break;
        case WM_GETMINMAXINFO:
            if (m_nLayoutReady == kLayoutReady) {
                reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {kMinWindowWidth, kMinWindowHeight};
            }
            break;
        case WM_SYSCOMMAND:
            if (OnSysCommand(wParam)) return 0;
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
            OnTrayNotify(lParam);
            return 0;
        case WM_TRAY_REFRESH:
            OnTrayRefresh();
            break;
        case WM_SAVE_SETTINGS:
            SaveSettings();
            break;
        case WM_WORKER_STEP:
            return OnWorkerStep(static_cast<WorkStep>(wParam), reinterpret_cast<OperationWork*>(lParam));
        default:
            break;
    }
    return CDialog::DefWindowProc(nMessage, wParam, lParam);
}
