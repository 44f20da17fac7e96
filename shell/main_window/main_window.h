// What the parts of the main window share: the window, and what the window works on.
//
// Plain pointers; what they lead to outlives every part. Thread of the window only.
#pragma once

#include <cstdint>
#include <string>

#include "platform/mfc/wnd.h"
#include "shell/app_settings.h"

class LogQueue;
struct EngineCounters;

struct MainWindow {
    const CWnd* pWindow = nullptr;  // has a handle from the window's set-up on
    AppSettings* pSettings = nullptr;
    EngineCounters* pCounters = nullptr;  // of all operations
    LogQueue* pLogQueue = nullptr;        // of all operations

    /// The text in the language in force.
    std::string Text(uint32_t nSlot) const { return pSettings->slotTable.Text(nSlot); }
    /// A message box owned by the window, its text and caption by their slots. Returns the button.
    int MessageBox(uint32_t nTextSlot, uint32_t nCaptionSlot, UINT nFlags) const {
        return pWindow->MessageBox(Text(nTextSlot), Text(nCaptionSlot), nFlags);
    }
};
