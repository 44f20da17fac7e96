// The log's part of the program's record.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "platform/threads/shared_value.h"

/// The thread of the windows (on Linux: the thread that runs main) writes. Engine threads read the templates and both
/// flags; the log writer reads the path and autoLogEnabled. The templates come from the language in force when the
/// settings file is read.
struct LogSettings {
    std::atomic<uint8_t> autoLogEnabled = 0;
    std::atomic<uint8_t> noLogBlocked = 0;
    CSharedValue<std::string> logDateFormat;
    CSharedValue<std::string> logEntryFormat;
    CSharedValue<std::string> logFilePath;
    uint32_t logIntervalSeconds = 10;
    std::string logFolder;  // where the dialog that picks the file begins
};

/// The period of the timer that asks for log batches, in milliseconds; logIntervalSeconds can hold any number.
uint32_t LogFlushPeriodMs(const LogSettings& settings);

/// Sets every field to its default; the two templates come from the language in force.
void SetDefaultLogSettings(std::string strDateFormat, std::string strEntryFormat, LogSettings* pSettings);
