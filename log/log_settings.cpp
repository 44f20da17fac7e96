#include "log/log_settings.h"

#include <algorithm>
#include <utility>

namespace {

// The bounds of the system's own timers: USER_TIMER_MAXIMUM is 0x7FFFFFFF. An interval of 0, which no dialog lets pass,
// gives the shortest period that the writer can follow.
constexpr uint64_t kShortestPeriodMs = 100;
constexpr uint64_t kLongestPeriodMs = 0x7FFFFFFF;

}  // namespace

uint32_t LogFlushPeriodMs(const LogSettings& settings) {
    const uint64_t nPeriodMs = uint64_t{settings.logIntervalSeconds} * 1000;
    return static_cast<uint32_t>(std::clamp(nPeriodMs, kShortestPeriodMs, kLongestPeriodMs));
}

void SetDefaultLogSettings(std::string strDateFormat, std::string strEntryFormat, LogSettings* pSettings) {
    const LogSettings defaults;
    pSettings->autoLogEnabled = defaults.autoLogEnabled.load();
    pSettings->noLogBlocked = defaults.noLogBlocked.load();
    pSettings->logDateFormat.Set(std::move(strDateFormat));
    pSettings->logEntryFormat.Set(std::move(strEntryFormat));
    pSettings->logFilePath.Set({});
    pSettings->logIntervalSeconds = defaults.logIntervalSeconds;
    pSettings->logFolder.clear();
}
