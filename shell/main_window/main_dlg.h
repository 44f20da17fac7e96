// The main window: the list of all operations with their live status, and every command that acts on them.
//
// While it is open, the list is the only collection of operations: a row carries a pointer to its operation, which
// AppSettings::operations owns. Rows, operations and this object are touched only by the thread that is in DoModal; the
// workers of Stop, Edit and Delete reach them through steps that this thread takes for them (operation_work.h). Engine
// threads know of the window nothing but m_counters and m_logQueue, which therefore must live until the last of them is
// gone. The close ends the process without returning, save in a service.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "engine/engine_counters.h"
#include "log/log_queue.h"
#include "platform/mfc/dialog.h"
#include "platform/mfc/list_ctrl.h"
#include "platform/mfc/menu.h"
#include "shell/main_window/operation_work.h"
#include "shell/main_window/rate_average.h"

class CPortForwardOp;
struct AppSettings;

class CMainDlg : public CDialog {
  public:
    /// What the pointers lead to outlives the window and every thread of the engine.
    CMainDlg(AppSettings* pSettings, std::atomic<HWND>* phMainWnd, const std::atomic<uint8_t>* pServiceStop,
             bool bStartMinimized);

    /// Returns only in a service, when the window has been closed for good.
    INT_PTR DoModal() override;

  protected:
    bool OnInitDialog() override;
    void DoDataExchange() override { OnInitWindow(); }
    bool OnCommand(int nId, int nCode) override;
    bool OnNotify(int nId, NMHDR* pHeader, LRESULT* pResult) override;
    void OnTimer(UINT_PTR nTimer) override;
    void OnClose() override;
    void OnOK() override {}
    void OnCancel() override;
    bool PreTranslateMessage(MSG* pMessage) override;
    LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override;

  private:
    // Timers
    static constexpr UINT_PTR kTimerCounts = 133;
    static constexpr UINT_PTR kTimerRates = 134;
    static constexpr UINT_PTR kTimerTray = 166;
    static constexpr UINT_PTR kTimerLog = 558;
    static constexpr UINT_PTR kTimerMinimize = 1059;

    static constexpr uint32_t kLayoutReady = 0x1043F;

    // Set-up (main_dlg.cpp)
    void OnInitWindow();
    void StartTimers();
    void PrepareList();
    void PlaceWindow();
    void InsertColumns();
    void ListOperations(bool bStart);
    void StartLogWriter();

    // Rows and the selection (main_dlg_list.cpp)
    CListCtrl List() const;
    std::string Text(uint32_t nSlot) const;
    bool InsertRow(CPortForwardOp* pOperation);
    void FillColumns(int nRow, const CPortForwardOp& operation) const;
    CPortForwardOp* OperationOfRow(int nRow) const;
    CPortForwardOp* SelectedOperation() const;
    int FindRow(const CPortForwardOp* pOperation) const;
    void SetStatus(const CPortForwardOp* pOperation, uint32_t nSlot);
    void UpdateSelection(int nRow);
    void ShowMarked(int nRow);
    void EnableButtons(const CPortForwardOp* pOperation) const;
    void Watch(const CPortForwardOp& operation);
    void Unwatch(const CPortForwardOp* pOperation);
    void OnItemChanged(const NMLISTVIEW& change);
    void OnColumnClick(int nColumn);
    void CollectListToSettings();
    void ChainOperations();

    // Commands (main_dlg_commands.cpp)
    void OnNew();
    void OnEdit();
    void OnDelete();
    void OnStart();
    void OnStop();
    void OnStartAll();
    void OnStopAll();
    void OnLanguage();
    void ForEachRowFromBelow(void (CMainDlg::*pfnCommand)());
    bool AskForEdit(const CPortForwardOp* pOperation, OpSettings* pEdited);
    bool AskForDelete(const CPortForwardOp* pOperation);
    void RefuseWithoutRow() const;
    void RefuseWhileStopping(uint32_t nSlot) const;
    void SaveSettings();

    // The window's part in the work of the workers (main_dlg_workers.cpp)
    bool IsHeld(const CPortForwardOp* pOperation) const;
    bool BeginWork(void (*pfnWorker)(std::unique_ptr<OperationWork>), CPortForwardOp* pOperation,
                   OpSettings edited = {});
    LRESULT OnWorkerStep(WorkStep step, OperationWork* pWork);
    bool CarryOverEdit(OperationWork* pWork);
    void FinishEdit(OperationWork* pWork);
    void FinishDelete(CPortForwardOp* pOperation);

    // Menus and captions (main_dlg_menu.cpp)
    void RelabelWindow();
    void BuildMenuBar();
    void OnContextMenu(POINT point);
    void OnContextMenuAtItem();
    void OnTrayMenu();

    // Status (main_dlg_status.cpp)
    void ShowFirstStatus() const;
    void RefreshCounts();
    void RefreshRates();
    void ShowNumber(int nId, int32_t nValue, int32_t* pnShown) const;
    void ShowBytes(int nId, const std::atomic<double>* pValue, double* pdShown) const;

    // Tray, layout, close (main_dlg_tray.cpp)
    void PutTrayIcon();
    void RemoveTrayIcon(bool bForce);
    void RepeatTrayIcon() const;
    void OnTrayRefresh();
    void OnTrayNotify(LPARAM lParam);
    bool OnSysCommand(WPARAM wParam);
    bool OnMinimize();
    void AskForTray();
    void Restore() const;
    void LayOutList() const;
    void PaintIcon() const;
    void StoreWindowPlace();
    void EndLogWriter();
    void OnExit();

    // Fixed after construction
    AppSettings* const m_pSettings;
    std::atomic<HWND>* const m_phMainWnd;
    const std::atomic<uint8_t>* const m_pServiceStop;
    const bool m_bStartMinimized;
    const HICON m_hIcon;  // shared: the system's

    // Shared with the threads of the engine, the log writer and the workers
    EngineCounters m_counters;
    LogQueue m_logQueue;

    // The rest: thread of the window only

    CMenu m_menuBar;
    CMenu m_menuFile;
    CMenu m_menuSettings;
    CMenu m_menuPfo;
    CMenu m_menuLanguage;
    CMenu m_menuHelp;

    // Status pointers: into the watched operation, null without one
    const std::atomic<int32_t>* m_pStatThreads = nullptr;
    const std::atomic<int32_t>* m_pStatSessions = nullptr;
    const std::atomic<int32_t>* m_pStatTotal = nullptr;
    const std::atomic<double>* m_pStatFromClient = nullptr;
    const std::atomic<double>* m_pStatFromServer = nullptr;
    uint8_t m_bResetRates = 1;  // the history of the rates is to start over

    // What the status lines show
    struct {
        int32_t nThreads = 0;
        int32_t nSessions = 0;
        int32_t nPfoThreads = 0;
        int32_t nPfoSessions = 0;
        int32_t nPfoTotal = 0;
        double dFromClient = 0;
        double dFromServer = 0;
        uint8_t bBitsSetting = 0;
        uint8_t bResetFlag = 0;
    } m_shown;
    CRateLine m_rateFromClient;
    CRateLine m_rateFromServer;

    std::set<const CPortForwardOp*> m_held;  // a worker or the options dialog works on it
    CPortForwardOp* m_pUnlisted = nullptr;   // head of the operations that got no row at the start
    bool m_bListed = false;                  // the rows stand for the operations of the settings
    bool m_bBatchCommand = false;            // the coming Start or Stop is not to save the settings
    bool m_bLogWriter = false;               // the log writer has been started

    uint32_t m_nLayoutReady = 0;  // kLayoutReady when m_rcList is valid
    RECT m_rcList = {};           // the list's place at the start, client coordinates

    bool m_bExitChosen = false;
    bool m_bTrayMenuOpen = false;
    bool m_bTrayIconShown = false;
    bool m_bMinimized = false;
    bool m_bWasZoomed = false;
};
