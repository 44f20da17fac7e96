// The data rate of one direction: a plain moving average over the byte deltas of the last 30 ticks.
//
// Fed twice a second by the main window's timer with the byte total of the watched operation. Thread of the windows
// only.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

class CRateAverage {
  public:
    /// Takes the total of this tick and returns the average delta, in bytes a tick. With bReset, or when the total has
    /// gone back since the last tick, the history starts over and the average is 0.
    double Tick(double dTotal, bool bReset);
    /// Whether a tick with this total would start over by itself.
    bool HasGoneBack(double dTotal) const { return m_dLastTotal > dTotal; }

  private:
    static constexpr int32_t kSamples = 30;

    std::array<double, kSamples> m_rateHistory = {};  // newest first
    int32_t m_nRateCount = 0;                         // entries that the next tick keeps; -1 during a reset
    double m_dLastTotal = 0;
};

/// One line of the status that shows a rate: the average, and the text when it has to be written anew.
class CRateLine {
  public:
    /// How this tick is to be shown.
    struct Form {
        bool bBits = true;      // bits or bytes a second
        bool bChanged = false;  // write the line whether or not the rate is another one
    };

    /// A tick at which an operation is watched. The text is absent when the line stands as it is.
    std::optional<std::string> Tick(double dTotal, bool bReset, Form form);
    /// A tick at which none is watched.
    static std::optional<std::string> TickUnwatched(Form form);

    bool HasGoneBack(double dTotal) const { return m_average.HasGoneBack(dTotal); }

  private:
    CRateAverage m_average;
    double m_dLastAverage = 0;
};
