// The real main window over a record of settings that the test fills, driven from within its modal loop.
//
// The saved-settings file is the one beside the test program. The window runs as a service's does, whose close returns.
#pragma once

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/mfc/list_ctrl.h"
#include "shell/app_settings.h"
#include "shell/main_window/main_dlg.h"
#include "tests/windows/window_script.h"

class MainWindowTest : public testing::Test {
  protected:
    MainWindowTest();
    ~MainWindowTest() override;

    /// Adds an operation to the record, behind the others, as the file would hold it. Port 0 takes one of its own.
    CPortForwardOp* Add(int32_t nProtocol, uint16_t wLocalPort, const std::string& strRemoteHost,
                        bool bRunning = false);

    /// Runs the window and fnStep in its loop, behind the steps that the script was given before; what fnStep adds to
    /// the script comes during fnStep. Then everything is stopped, the threads that the window counts must be back at
    /// those of an idle program, and the window is closed.
    void Run(const std::function<void(const CWnd& window)>& fnStep);

    // For use inside the window's loop

    /// Serves the window until the condition holds.
    static void Await(const std::function<bool()>& condition, const std::string& strWhat);
    static CListCtrl List(const CWnd& window);
    static void Select(const CWnd& window, int nRow);
    static void Command(const CWnd& window, int nId);
    static std::vector<std::string> Row(const CWnd& window, int nRow);
    static std::string Status(const CWnd& window, const CPortForwardOp* pOperation);
    static void AwaitStatus(const CWnd& window, const CPortForwardOp* pOperation, const std::string& strStatus);
    /// The buttons Edit, Delete, Start and Stop as letters, a dash for one that is disabled.
    static std::string Buttons(const CWnd& window);

    std::string Text(uint32_t nSlot) const { return m_settings.slotTable.Text(nSlot); }
    /// What the saved-settings file now holds.
    std::unique_ptr<AppSettings> ReadFile() const;
    bool IsFileThere() const;

    AppSettings m_settings;
    std::atomic<HWND> m_hMainWnd = nullptr;
    std::atomic<uint8_t> m_bServiceStop = 1;
    bool m_bStartMinimized = false;
    CWindowScript m_script;
};
