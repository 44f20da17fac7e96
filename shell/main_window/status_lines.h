// The lines above the list: threads and sessions of the program, and the figures of the watched operation.
//
// The engine tells the window nothing: timers of the window read its counters, which any thread may write. The watched
// operation is reached through status pointers into it, so whoever destroys an operation takes them off it before.
// Thread of the window only.
#pragma once

#include <atomic>
#include <cstdint>

#include "shell/main_window/main_window.h"
#include "shell/main_window/rate_average.h"

class CPortForwardOp;

class CStatusLines {
  public:
    explicit CStatusLines(const MainWindow& main) : m_main(main) {}

    /// Writes zero into the lines that are otherwise written when their value changes.
    void ShowFirst() const;
    /// Writes the counts and byte totals that have changed. Without a watched operation its lines keep what they show.
    void RefreshCounts();
    /// Takes a sample of the byte totals, each half second, and writes the two data rates.
    void RefreshRates();

    /// Every figure is the operation's from now on; the rates start over if they were another one's.
    void Watch(const CPortForwardOp& operation);
    /// Byte totals and rates are the operation's from now on, the rates from zero; the counts stay where they are.
    void WatchBytes(const CPortForwardOp& operation);
    /// Takes the status pointers off the operation, or off whatever they lead to with null.
    void Unwatch(const CPortForwardOp* pOperation);
    /// Takes those of the byte totals off the operation, if they lead there.
    void UnwatchBytes(const CPortForwardOp& operation);
    /// The rates start over at the next sample.
    void ResetRates() { m_bResetRates = 1; }

  private:
    void ShowNumber(int nId, int32_t nValue, int32_t* pnShown) const;
    void ShowBytes(int nId, const std::atomic<double>* pValue, double* pdShown) const;

    const MainWindow m_main;

    // Status pointers: into the watched operation, null without one
    const std::atomic<int32_t>* m_pStatThreads = nullptr;
    const std::atomic<int32_t>* m_pStatSessions = nullptr;
    const std::atomic<int32_t>* m_pStatTotal = nullptr;
    const std::atomic<double>* m_pStatFromClient = nullptr;
    const std::atomic<double>* m_pStatFromServer = nullptr;
    uint8_t m_bResetRates = 1;  // the history of the rates is to start over

    // What the lines show
    struct {
        int32_t nThreads = 0;
        int32_t nSessions = 0;
        int32_t nPfoThreads = 0;
        int32_t nPfoSessions = 0;
        int32_t nPfoTotal = 0;
        double dFromClient = 0;
        double dFromServer = 0;
        uint8_t bBitsSetting = 0;
        uint8_t bResetFlag = 0;
    } m_shown;
    CRateLine m_rateFromClient;
    CRateLine m_rateFromServer;
};
