// The operations that are to run in a run that nobody watches. One that could not start (its port is taken, its address is
// not up yet) or whose listener has ended is tried again until it runs, and the settings file marks it as running all the
// while.
//
// Starts nothing by itself: the thread that owns the record calls, and asks when the next call is due.
#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "engine/port_forward_op.h"

struct OperationSettings;

class COperationKeeper {
  public:
    using Clock = std::chrono::steady_clock;
    /// Told of each start, and of the first failure behind it or ahead of the first one.
    using Report = std::function<void(CPortForwardOp* pOp, bool bStarted)>;

    /// The record outlives the object.
    COperationKeeper(OperationSettings* pSettings, Report report, std::chrono::milliseconds period)
        : m_pSettings(pSettings), m_report(std::move(report)), m_period(period) {}

    /// Starts a linked operation, which is kept from here on. Whether it runs. Once for each.
    bool Keep(CPortForwardOp* pOp);
    /// Ahead of a stop that the user wants, and of the end of the object.
    void Release(const CPortForwardOp* pOp);

    /// When TryNext is to be called.
    Clock::time_point NextTry() const { return m_next; }
    /// Starts at most one of those that do not run, so that the caller can look at other things in between; they come in
    /// turn, each once a period. Blocks as Start does.
    void TryNext();

  private:
    bool Try(CPortForwardOp* pOp);

    OperationSettings* const m_pSettings;
    const Report m_report;
    const std::chrono::milliseconds m_period;
    std::vector<const CPortForwardOp*> m_failing;  // whose failure has been told
    size_t m_nTurn = 0;                            // of wantedOps
    Clock::time_point m_next = Clock::now() + m_period;
};
