// An operation of the engine under test, as the load uses it: it leads to one of the servers, keeps its port through all
// restarts, and can be disturbed while sessions run through it.
//
// One thread at a time starts, stops and changes it.
#pragma once

#include <memory>

#include "engine/engine_counters.h"
#include "engine/port_forward_op.h"
#include "log/log_queue.h"
#include "shell/app_settings.h"
#include "soak/random.h"
#include "soak/shared_block.h"

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
