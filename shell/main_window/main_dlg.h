// The main window: it puts its parts together, and gives each message, timer and command to the part that it concerns.
//
//   COperationList      the rows, the selected one, sorting, columns
//   CStatusLines        the figures above the list
//   COperationCommands  New, Edit, Delete, Start, Stop and the like
//   COperationWorkers   the threads of Stop, Edit and Delete
//   CMainMenu           menu bar, context menu, menu of the tray icon
//   CTray               the tray icon, minimise and restore
//   CWindowLayout       where window and list stand
//
// Everything here and in the parts belongs to the thread that is in DoModal; AppSettings::operations owns the
// operations. Engine threads know of the window nothing but m_counters and m_logWriter, which therefore must live until
// the last of them is gone. The close ends the process without returning, save in a service.
#pragma once

#include <atomic>
#include <cstdint>

#include "engine/engine_counters.h"
#include "log/log_writer.h"
#include "platform/mfc/dialog.h"
#include "shell/main_window/main_menu.h"
#include "shell/main_window/main_window.h"
#include "shell/main_window/operation_commands.h"
#include "shell/main_window/operation_list.h"
#include "shell/main_window/operation_workers.h"
#include "shell/main_window/status_lines.h"
#include "shell/main_window/tray.h"
#include "shell/main_window/window_layout.h"

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
    static constexpr UINT_PTR kTimerCounts = 133;
    static constexpr UINT_PTR kTimerRates = 134;
    static constexpr UINT_PTR kTimerTray = 166;
    static constexpr UINT_PTR kTimerLog = 558;
    static constexpr UINT_PTR kTimerMinimize = 1059;

    void OnInitWindow();
    void StartTimers();
    void RelabelWindow();

    void OnContextMenu();
    void OnContextMenuAtItem();
    void OnLanguage();
    void OnExit();
    void SaveSettings();
    void PaintIcon() const;

    // Fixed after construction
    AppSettings* const m_pSettings;
    std::atomic<HWND>* const m_phMainWnd;
    const std::atomic<uint8_t>* const m_pServiceStop;
    const bool m_bStartMinimized;
    const HICON m_hIcon;  // shared: the system's

    // Shared with the threads of the engine, the log writer and the workers
    EngineCounters m_counters;
    CLogWriter m_logWriter;

    // The parts, in the order in which they know of each other
    const MainWindow m_main = {this, m_pSettings, &m_counters, &m_logWriter.Queue()};
    CStatusLines m_status{m_main};
    COperationList m_list{m_main, &m_status};
    COperationWorkers m_workers{m_main, &m_list, &m_status};
    COperationCommands m_commands{m_main, &m_list, &m_status, &m_workers};
    CMainMenu m_menu{m_main};
    CTray m_tray{m_main, &m_menu, m_hIcon};
    CWindowLayout m_layout{m_main};

    bool m_bExitChosen = false;
};
