// Expansion of the two templates that make a log line. Plain substitution in a fixed order; codes are case sensitive;
// no state is kept between calls, so that many threads can call at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/net/ip_address.h"
#include "platform/system/clock.h"

/// Lines are cut at this many bytes, more than any text of a settings file has. Values are put into values, so that a
/// few hostile texts would otherwise fill the memory.
inline constexpr size_t kMaxLogLine = 1'048'576;

/// One event of a session, as far as a log line can tell of it.
struct LogEvent {
    std::string strEvent;       // the event's text in the language in force
    uint32_t dwLocalIp = 0;     // network byte order; the configured interface, 0 for all
    uint16_t wLocalPort = 0;    // host byte order
    std::string strRemoteHost;  // as the user typed it, or the word that stands for the client's own address
    uint16_t wRemotePort = 0;   // host byte order
    Endpoint client;
    std::string strProtocol;  // "TCP" or "UDP"
};

/// The date-and-time template, expanded for the local time now.
std::string FormatLogDate(const std::string& strFormat);
std::string FormatLogDate(const std::string& strFormat, const LocalTime& time);

/// The log-entry template, expanded; strDateFormat gives its %DAT.
std::string FormatLogEntry(const std::string& strFormat, const std::string& strDateFormat, const LogEvent& event);
std::string FormatLogEntry(const std::string& strFormat, const std::string& strDateFormat, const LogEvent& event,
                           const LocalTime& time);
