// One run of the program on the thread of the windows, from the settings to the end of the main window, and the three
// variables by which the threads of the process know of each other. The variables are polled, never waited on.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/system/windows_api.h"

/// The run is over and the process may end. Set by AppMain, in a service by the service's own routine; polled by the
/// primary thread.
extern std::atomic<uint8_t> g_bAppFinished;
/// The service is being stopped: the next close of the main window is final. Set by the service's control handler.
extern std::atomic<uint8_t> g_bServiceStop;
/// The main window, null before it exists. Set by the main window.
extern std::atomic<HWND> g_hMainWnd;

/// The thread routine, once a process. bServiceMode leaves g_bAppFinished to the caller. Always 0. What the threads of
/// running operations use stays valid when it has returned.
uint32_t AppMain(uint8_t bServiceMode);
