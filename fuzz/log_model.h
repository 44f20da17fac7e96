// The two templates of a log line, expanded as their description says it: step after step, without regard to time or
// memory. What the formatter gives is compared with it.
#pragma once

#include <optional>
#include <string>

#include "fuzz/fuzz.h"
#include "log/log_format.h"

/// A time of the calendar, any from the input.
LocalTime TakeTime(FuzzedDataProvider& input);

/// Empty when a step goes beyond kMaxLogLine, where lines are cut.
std::optional<std::string> ModelLogDate(const std::string& strFormat, const LocalTime& time);
std::optional<std::string> ModelLogEntry(const std::string& strFormat, const std::string& strDateFormat,
                                         const SessionEvent& event, const LocalTime& time);

/// What holds for a date and for a line.
inline void CheckLine(const std::string& strLine, const std::optional<std::string>& strModel) {
    Check(strLine.size() <= kMaxLogLine, "it is no longer than a line may be");
    Check(strLine.find("\r\n") == std::string::npos, "it holds no line end");
    Check(!strModel || strLine == *strModel, "it is the template with its codes replaced in their order");
}
