#include "shell/auto_start.h"

#include <algorithm>

#include "shell/app_settings.h"

namespace {

// The bounds of the system's own timers: USER_TIMER_MAXIMUM is 0x7FFFFFFF. An interval of 0, which no dialog lets pass,
// gives the shortest period that the writer can follow.
constexpr uint64_t kShortestPeriodMs = 100;
constexpr uint64_t kLongestPeriodMs = 0x7FFFFFFF;

}  // namespace

bool ShouldStartOperations(const AppSettings& settings, const std::function<bool()>& ask) {
    if (settings.runningOpCount <= 0) return false;
    if (settings.autoStartMode == kAutoStartAlways) return true;
    if (settings.autoStartMode == kAutoStartNever) return false;
    return ask();
}

uint32_t LogFlushPeriodMs(const AppSettings& settings) {
    const uint64_t nPeriodMs = uint64_t{settings.logIntervalSeconds} * 1000;
    return static_cast<uint32_t>(std::clamp(nPeriodMs, kShortestPeriodMs, kLongestPeriodMs));
}
