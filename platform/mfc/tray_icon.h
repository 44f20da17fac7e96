// The program's icon in the notification area of the task bar.
//
// One icon a window. The system takes it off late or never when the program just goes, so whoever adds it deletes it.
// Failures are not reported: without a task bar there is nothing to show, and the next call tries again.
#pragma once

#include <string>

#include "platform/system/windows_api.h"

struct TrayIcon {
    HWND hWnd = nullptr;    // gets the mouse messages
    UINT nMessage = 0;      // the message that brings them: lParam is the mouse message
    HICON hIcon = nullptr;  // the caller's
    std::string strTip;     // at most 63 bytes are shown
};

void AddTrayIcon(const TrayIcon& icon);
/// Changes the icon that is there.
void ModifyTrayIcon(const TrayIcon& icon);
void DeleteTrayIcon(HWND hWnd);
