#include "log/log_format.h"

#include <gtest/gtest.h>

namespace {

constexpr LocalTime kTime = {2006, 3, 4, 13, 5, 9, 42};

LogEvent Event(const std::string& strEvent = "Session accepted", const std::string& strRemoteHost = "web.example") {
    return {strEvent, 0, 80, strRemoteHost, 8080, {IpFromNumber(0x0A000001), 1234}, "TCP"};
}

std::string Entry(const std::string& strFormat, const LogEvent& event = Event()) {
    return FormatLogEntry(strFormat, "%Y.%MY.%D - %H24:%MN:%S.%MS", event, kTime);
}

}  // namespace

TEST(LogDate, ReplacesItsCodesAndNothingElse) {
    EXPECT_EQ(FormatLogDate("%Y|%MY|%D|%AP|%H12|%H24|%MN|%S|%MS|%Y", kTime), "2006|03|04|PM|01|13|05|09|042|2006");
    EXPECT_EQ(FormatLogDate("%y %M %%Y %%%Y %%|a\r\nb %", kTime), "%y %M %Y %2006 %|a%b %");
}

TEST(LogDate, TwelveHourClock) {
    std::string strHours;
    for (const uint32_t nHour : {0, 11, 12, 13, 23})
        strHours += FormatLogDate("%H12 %AP ", {2006, 3, 4, nHour, 5, 9, 42});
    EXPECT_EQ(strHours, "12 AM 11 AM 12 PM 01 PM 11 PM ");
}

TEST(LogEntry, ReplacesItsCodesAlignedOrNot) {
    EXPECT_EQ(Entry("[%E], Local IP: %LIP, Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Connector's port: "
                    "%CPort, Time: [%DAT]"),
              "[Session accepted], Local IP:         0.0.0.0, Local port:    80, Protocol: TCP, Connector's IP:        "
              "10.0.0.1, Connector's port:  1234, Time: [2006.03.04 - 13:05:09.042]");
    EXPECT_EQ(Entry("%E|%LIP|%LPort|%RHost|%RPort|%CIP|%CPort|%P|%E"),
              "Session accepted|        0.0.0.0|   80|web.example| 8080|       10.0.0.1| 1234|TCP|Session accepted");
    EXPECT_EQ(Entry("%E|%LIP|%LPort|%RHost|%RPort|%CIP|%CPort|%P%G%G"),
              "Session accepted|0.0.0.0|80|web.example|8080|10.0.0.1|1234|TCP");
    EXPECT_EQ(Entry("%%E %%G %e %D %Y a\r\nb"), "%E %G %e %D %Y a%b");
}

TEST(LogEntry, TrailingSpacesOfTheEventGoOnlyWithoutPadding) {
    const LogEvent padded = Event("Sitzung beendet   ");
    EXPECT_EQ(Entry("[%E]", padded), "[Sitzung beendet   ]");
    EXPECT_EQ(Entry("%G[%E]", padded), "[Sitzung beendet]");
    EXPECT_EQ(Entry("%G%Z[%E]", padded), "[Sitzung beendet   ]");
    EXPECT_EQ(Entry("%Z[%E]", padded), "%Z[Sitzung beendet   ]") << "%Z is a code only under %G";
    EXPECT_EQ(Entry("%G[%E]", Event("   ")), "[ ]") << "the first character stays";
    EXPECT_EQ(Entry("%G[%E]", Event("")), "[]");
}

TEST(LogEntry, OrderDecidesWhatPutInTextBecomes) {
    EXPECT_EQ(Entry("%RHost", Event("", "%P and %LIP")), "TCP and %LIP");
    EXPECT_EQ(FormatLogEntry("%DAT", "%%E", Event(), kTime), "Session accepted");
}

TEST(LogEntry, ValuesThatMultiplyAreCutAtTheLongestLine) {
    std::string strCodes;
    while (strCodes.size() < 900'000) strCodes += "%E";
    // One replacement after the other within the text would take minutes.
    EXPECT_EQ(Entry(strCodes, Event("")), "");
    EXPECT_EQ(Entry(strCodes, Event("a")).size(), strCodes.size() / 2);
    EXPECT_EQ(Entry(strCodes, Event("%RHost%RHost", std::string(900'000, 'h'))), std::string(kMaxLogLine, 'h'));
    EXPECT_EQ(Entry(std::string(999'999, '-')).size(), 999'999U) << "the longest text of a settings file is whole";
}
