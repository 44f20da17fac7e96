// The one application-wide record: everything that the program remembers between runs, and what its parts share during a
// run.
//
// The start-up owns it and it lives as long as the run. The thread of the windows (on Linux: the thread that runs main)
// reads and writes all of it; other threads touch only the fields that say so. Initial values are the defaults, save for
// the two templates of the log, which come from the language in force when the settings file is read.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/port_forward_op.h"
#include "language/language_settings.h"
#include "log/log_settings.h"
#include "resources/program_names.h"

/// Values of `autoStartMode`; any other value asks.
inline constexpr uint32_t kAutoStartAlways = 0;
inline constexpr uint32_t kAutoStartAsk = 1;
inline constexpr uint32_t kAutoStartNever = 2;

struct WindowRect {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    bool operator==(const WindowRect&) const = default;
};

inline constexpr size_t kColumnCount = 6;

struct AppSettings : LanguageSettings, LogSettings {
    // Kept as read and written back
    uint8_t reservedFlag = 0;
    std::string reservedText;

    // Main window
    WindowRect windowRect;     // top equal to bottom: none was saved
    uint32_t windowFlags = 0;  // bit 0: maximised
    std::array<int32_t, kColumnCount> columnOrder = {0, 1, 2, 3, 4, 5};
    std::array<int32_t, kColumnCount> columnWidths = {77, 60, 105, 93, 150, 93};  // pixels

    // Operations: `operations` owns them, in no order of meaning; the chain from firstOp is the order of the file
    std::vector<std::unique_ptr<CPortForwardOp>> operations;
    CPortForwardOp* firstOp = nullptr;
    int32_t opCount = 0;
    int32_t runningOpCount = 0;  // operations that the file marks as running
    uint32_t autoStartMode = kAutoStartAsk;

    // Last-used values of the options dialog
    std::string lastLocalInterface;
    std::string lastRemoteHost;
    uint8_t lastBounce = 0;
    uint8_t lastProtocolTcp = 1;
    uint8_t lastProtocolUdp = 0;
    uint16_t lastLocalPort = 0;
    uint16_t lastRemotePort = 0;
    int32_t lastMaxSessions = 100;
    int32_t lastUdpTimeoutMs = 60000;
    uint8_t lastForwardIcmp = 0;

    // Last-used values of the filter dialog
    std::string lastResolverText;
    std::string lastAllowFrom;
    std::string lastBlockFrom;
    std::string lastAllowTo;
    std::string lastBlockTo;
    std::string profileFolder;

    // Tray and window behaviour
    uint8_t showTrayIcon = 0;
    uint8_t trayOnlyWhenMinimized = 1;
    uint8_t hideTaskbarWhenMinimized = 0;
    uint8_t showRateInBits = 1;
    uint8_t trayPromptDone = 0;
    uint8_t startMinimizedSetting = 0;
    uint8_t minimizeOnClose = 0;
    uint8_t legalAccepted = 0;
    uint32_t helpMode = 0;

    // Not saved
    std::string modulePath;
    std::string shellBrowser = "explorer.exe";
    uint8_t isPreWin2000 = 0;
    uint8_t isWinNT = 0;
};
