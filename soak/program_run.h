// The program itself, run as a process beside the engine under test: unattended, with a settings file of two operations.
//
// Each of its ends is checked: SIGTERM gives exit code 0 and a settings file that was written again and says the same.
// Only the supervisor's thread uses it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "soak/left_behind.h"
#include "soak/shared_block.h"

class CProgramRun {
  public:
    /// An empty program is never run. strFolder takes the settings file and the log.
    CProgramRun(SharedBlock& shared, const std::string& strProgram, const std::string& strFolder);
    ~CProgramRun();
    CProgramRun(const CProgramRun&) = delete;
    CProgramRun& operator=(const CProgramRun&) = delete;

    bool IsWanted() const { return !m_strProgram.empty(); }
    void Start();
    void Restart();
    /// The load is over: what it held for that must be gone before it is ended.
    void EndBehindLoad();

  private:
    void WriteSettings();
    void Launch(int nOutput);
    bool ReadStarted(int nOutput);
    void Stop();

    SharedBlock& m_shared;
    const std::string m_strProgram;
    const std::string m_strSettings;
    const std::string m_strLog;
    std::vector<uint8_t> m_image;  // of the settings file
    LeftBehind m_atStart;
    int m_nProcess = 0;  // 0: it does not run
};
