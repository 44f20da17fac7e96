// The menu bar of another process's window, as texts.
//
// A menu can be read only inside the process that made it. So a small library with a message hook is brought into that
// process, which answers one message by writing the texts into memory that both processes see.
#pragma once

#include <string>
#include <vector>

#include "tests/e2e/windows/remote_window.h"

/// One entry for each menu of the bar: its caption, then its items, joined by '|'; a separator is "-".
std::vector<std::string> MenuBarOf(const CRemoteWindow& window);

inline constexpr char kProbeLibrary[] = "zelkor_menu_probe.dll";
inline constexpr char kProbeHook[] = "ProbeHook";
inline constexpr char kProbeMessage[] = "ZelkorMenuProbe";
inline constexpr char kProbeMemory[] = "ZelkorMenuProbeTexts";
inline constexpr size_t kProbeSize = 8192;  // a text with its terminator, one line for each menu
