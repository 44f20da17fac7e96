// A run without a window: the operations of a saved-settings file, or one operation of the command line.
#pragma once

#include <string>

#include "engine/engine_counters.h"
#include "log/log_writer.h"
#include "shell/app_settings.h"
#include "shell/operation_keeper.h"
#include "shell/server/server_options.h"
#include "store/settings_file.h"

/// Exit codes of the process.
inline constexpr int kExitOrderly = 0;
inline constexpr int kExitUsage = 1;
inline constexpr int kExitFileRefused = 2;
inline constexpr int kExitNothingStarted = 3;

/// Its one object lives as long as the process: threads of the engine may use it up to the end. Only the thread that runs
/// main calls. Messages go to standard error; standard output tells which operations were started.
class CServerRun {
  public:
    CServerRun();

    /// Both block until SIGINT or SIGTERM and give the exit code. The caller ends the process without tearing anything
    /// down: operations are not stopped, as they are not when the window closes.
    int RunFile(const ServerOptions& options);
    int RunOperation(const ServerOptions& options);

  private:
    /// Whether the operations read from the file can be run; false after a message.
    bool LoadFile(CSettingsFile* pFile);
    int StartOperations();
    void StartLogWriter();
    void WaitForEnd();
    void SaveFile(CSettingsFile* pFile);

    AppSettings m_settings;
    EngineCounters m_counters;
    CLogWriter m_logWriter{m_settings};
    COperationKeeper m_keeper;
    bool m_bSave = false;  // the file was read whole and is of this version, so that it can be written over
};
