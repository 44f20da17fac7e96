// The one application-wide record: everything that the program remembers between runs, and what its parts share during a
// run.
//
// It is put together from records that the folders own; who needs one of them only takes a reference to that. They are
// bases and not members, so that each setting has one name wherever it is read.
//
// The start-up owns it and it lives as long as the run. The thread of the windows (on Linux: the thread that runs main)
// reads and writes all of it; other threads touch only the fields that say so. Initial values are the defaults, save for
// the two templates of the log, which come from the language in force when the settings file is read.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/port_forward_op.h"
#include "language/language_settings.h"
#include "log/log_settings.h"
#include "resources/program_names.h"
#include "shell/window_settings.h"

/// Values of `autoStartMode`; any other value asks.
inline constexpr uint32_t kAutoStartAlways = 0;
inline constexpr uint32_t kAutoStartAsk = 1;
inline constexpr uint32_t kAutoStartNever = 2;

/// `operations` owns them, in no order of meaning; the chain from firstOp is the order of the file.
struct OperationSettings {
    std::vector<std::unique_ptr<CPortForwardOp>> operations;
    CPortForwardOp* firstOp = nullptr;
    int32_t opCount = 0;
    int32_t runningOpCount = 0;  // operations that the file marks as running
    // Those that are to run, whether they do or not: the file marks them as running. COperationKeeper fills it; empty where
    // there is none.
    std::vector<CPortForwardOp*> wantedOps;
    uint32_t autoStartMode = kAutoStartAsk;
};

/// What the options dialog of a new operation starts from. The file keeps neither the filters nor the address of it, and
/// of the protocol the states of the two buttons, which a damaged file can contradict.
struct LastUsedOptions {
    OpSettings lastOptions;
    uint8_t lastProtocolTcp = 1;
    uint8_t lastProtocolUdp = 0;
};

/// Last-used values of the filter dialog.
struct LastUsedFilters {
    std::string lastResolverText;
    std::string lastAllowFrom;
    std::string lastBlockFrom;
    std::string lastAllowTo;
    std::string lastBlockTo;
    std::string profileFolder;
};

struct KeptSettings {
    uint8_t reservedFlag = 0;  // as read, written back
    std::string reservedText;  // as read, written back
    uint8_t legalAccepted = 0;
    uint32_t helpMode = 0;
};

struct AppSettings : LanguageSettings,
                     KeptSettings,
                     WindowSettings,
                     OperationSettings,
                     LastUsedOptions,
                     LastUsedFilters,
                     TraySettings,
                     LogSettings {
    // Not saved
    std::string modulePath;
    std::string shellBrowser = "explorer.exe";
    uint8_t isPreWin2000 = 0;
    uint8_t isWinNT = 0;
};
