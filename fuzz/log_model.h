// The two templates of a log line, expanded as their description says it: step after step, without regard to time or
// memory. What the formatter gives is compared with it.
#pragma once

#include <optional>
#include <string>

#include "fuzz/fuzz_input.h"
#include "log/log_format.h"

/// A time of the calendar, any from the input.
LocalTime TakeTime(CFuzzInput& input);

/// Empty when a step goes beyond kMaxLogLine, where lines are cut.
std::optional<std::string> ModelLogDate(const std::string& strFormat, const LocalTime& time);
std::optional<std::string> ModelLogEntry(const std::string& strFormat, const std::string& strDateFormat,
                                         const LogEvent& event, const LocalTime& time);
