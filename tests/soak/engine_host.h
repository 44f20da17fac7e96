// The process that holds the engine under test: its operations, the log writer, and what is done to them while the load
// runs.
//
// It runs the load twice, a short time to warm up and then the whole time. Behind each everything is stopped and counted;
// the second count must be the first.
#pragma once

#include <memory>
#include <vector>

#include "engine/engine_counters.h"
#include "engine/port_forward_op.h"
#include "log/log_queue.h"
#include "shell/app_settings.h"
#include "tests/soak/random.h"
#include "tests/soak/shared_block.h"
#include "tests/soak/surroundings.h"

/// One operation of the host. One thread at a time starts, stops and changes it.
class CHostOp {
  public:
    CHostOp(SharedBlock& shared, AppSettings& settings, EngineCounters& counters, LogQueue& logQueue, int nSlot,
            bool bHostTable);

    /// Starts it, again and again while the system refuses for a shortage that is being played.
    void Start();
    void Stop();
    /// Stops it, perhaps waits, perhaps changes it or puts a new one in its place, and starts it.
    void Disturb(CRandom& random);
    /// Whether nothing of it is left running.
    bool IsAtRest() const;
    CPortForwardOp& Op() const { return *m_pOp; }

  private:
    OpSlot& Slot() const { return m_shared.ops[static_cast<size_t>(m_nSlot)]; }
    void MakeOp();
    void Change(CRandom& random);
    void TryImpossibleHost();

    SharedBlock& m_shared;
    AppSettings& m_settings;
    EngineCounters& m_counters;
    LogQueue& m_logQueue;
    const int m_nSlot;
    const bool m_bHostTable;  // a look-up of kSoakHost gives the servers
    std::unique_ptr<CPortForwardOp> m_pOp;
};

/// Runs the whole of it; the failures stand in the shared block.
void RunEngineHost(SharedBlock& shared, const CSurroundings& surroundings, uint32_t nSeconds);
