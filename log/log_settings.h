// What the user sets about the log of sessions.
//
// The application record is one of these, so that it lives as long as the run. The thread of the windows (on Linux: the
// thread that runs main) reads and writes all of it. Engine threads read the templates and both flags; the log writer
// reads the path and autoLogEnabled. The templates begin empty: their defaults come from the language in force when the
// settings file is read.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>

#include "platform/threads/shared_value.h"

struct LogSettings {
    std::atomic<uint8_t> autoLogEnabled = 0;
    std::atomic<uint8_t> noLogBlocked = 0;
    CSharedValue<std::string> logDateFormat;
    CSharedValue<std::string> logEntryFormat;
    CSharedValue<std::string> logFilePath;
    uint32_t logIntervalSeconds = 10;
    std::string logFolder;
};

/// The period of the timer that asks for log batches, in milliseconds. logIntervalSeconds can hold any number: the bounds
/// are those of the system's own timers (USER_TIMER_MAXIMUM is 0x7FFFFFFF), and an interval of 0, which no dialog lets
/// pass, gives the shortest period that the log writer can follow.
inline uint32_t LogFlushPeriodMs(const LogSettings& settings) {
    return static_cast<uint32_t>(std::clamp<uint64_t>(uint64_t{settings.logIntervalSeconds} * 1000, 100, 0x7FFFFFFF));
}
