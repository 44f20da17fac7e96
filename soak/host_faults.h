// What goes wrong around the engine while the load runs: shortages, storms of connections,
// failing look-ups, a log that cannot be written or is
// moved away, texts that are replaced. One at a time, on one thread, in the engine's process.
#pragma once

#include <string>
#include <vector>

#include "engine/engine_counters.h"
#include "shell/app_settings.h"
#include "soak/random.h"
#include "soak/shared_block.h"
#include "soak/surroundings.h"

class CHostFaults {
  public:
    /// All of them outlive it.
    CHostFaults(SharedBlock& shared, AppSettings& settings, const EngineCounters& counters,
                const CSurroundings& surroundings);

    /// Turns the log on, as the checks expect it to be.
    void SetUpLog();
    /// One fault from its beginning to its end.
    void PlayOne(CRandom& random);
    /// Checks the log that is there at the end and removes it.
    void CheckLastLog();

  private:
    void PlayDescriptorShortage(CRandom& random);
    void PlayPortShortage(CRandom& random);
    void PlayThreadShortage(CRandom& random);
    void PlayLookupFailure(CRandom& random);
    void PlayFullDisk(CRandom& random);
    void PlayStorm(CRandom& random);
    void MoveLog(CRandom& random);
    void ReloadTexts(CRandom& random);
    void CheckLog(const std::string& strPath);

    SharedBlock& m_shared;
    AppSettings& m_settings;
    const EngineCounters& m_counters;
    const CSurroundings& m_surroundings;
    const std::string m_strLog;
    std::vector<size_t> m_left;  // faults of this turn that are still to come, the next one last
};
