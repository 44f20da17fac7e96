#include "log/log_format.h"

#include <gtest/gtest.h>

namespace {

constexpr LocalTime kTime = {2006, 3, 4, 13, 5, 9, 42};
constexpr char kDate[] = "%Y.%MY.%D - %H24:%MN:%S.%MS";
constexpr char kEntry[] =
    "[%E], Local IP: %LIP, Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Connector's port: %CPort, Time: "
    "[%DAT]";

std::string DateAt(uint32_t nHour, const std::string& strFormat) {
    LocalTime time = kTime;
    time.nHour = nHour;
    return FormatLogDate(strFormat, time);
}

SessionEvent AcceptedEvent() {
    SessionEvent event;
    event.strEvent = "Session accepted";
    event.wLocalPort = 80;
    event.strRemoteHost = "web.example";
    event.wRemotePort = 8080;
    event.client = {IpFromNumber(0x0A000001), 1234};
    event.strProtocol = "TCP";
    return event;
}

std::string Entry(const std::string& strFormat, const SessionEvent& event = AcceptedEvent(),
                  const std::string& strDate = kDate) {
    return FormatLogEntry(strFormat, strDate, event, kTime);
}

SessionEvent PaddedEvent(const std::string& strEvent) {
    SessionEvent event = AcceptedEvent();
    event.strEvent = strEvent;
    return event;
}

}  // namespace

TEST(LogDate, ReplacesEveryCode) {
    EXPECT_EQ(FormatLogDate(kDate, kTime), "2006.03.04 - 13:05:09.042");
    EXPECT_EQ(FormatLogDate("%Y|%MY|%D|%AP|%H12|%H24|%MN|%S|%MS|%Y", kTime), "2006|03|04|PM|01|13|05|09|042|2006");
    EXPECT_EQ(FormatLogDate("", kTime), "");
    EXPECT_EQ(FormatLogDate("%y %M %", kTime), "%y %M %") << "no codes";
}

TEST(LogDate, TwelveHourClock) {
    EXPECT_EQ(DateAt(0, "%H12 %AP"), "12 AM");
    EXPECT_EQ(DateAt(11, "%H12 %AP"), "11 AM");
    EXPECT_EQ(DateAt(12, "%H12 %AP"), "12 PM");
    EXPECT_EQ(DateAt(13, "%H12 %AP"), "01 PM");
    EXPECT_EQ(DateAt(23, "%H12 %AP"), "11 PM");
}

TEST(LogDate, DoubledPercentNeverBeginsACode) {
    EXPECT_EQ(FormatLogDate("%%Y %%%Y %%", kTime), "%Y %2006 %");
    EXPECT_EQ(FormatLogDate("a\r\nb", kTime), "a%b") << "a real line end stands for a percent sign";
}

TEST(LogEntry, DefaultTemplatesAreAligned) {
    EXPECT_EQ(Entry(kEntry),
              "[Session accepted], Local IP:         0.0.0.0, Local port:    80, Protocol: TCP, Connector's IP:        "
              "10.0.0.1, Connector's port:  1234, Time: [2006.03.04 - 13:05:09.042]");
}

TEST(LogEntry, EveryCodeInBothForms) {
    EXPECT_EQ(Entry("%E|%LIP|%LPort|%RHost|%RPort|%CIP|%CPort|%P|%E"),
              "Session accepted|        0.0.0.0|   80|web.example| 8080|       10.0.0.1| 1234|TCP|Session accepted");
    EXPECT_EQ(Entry("%E|%LIP|%LPort|%RHost|%RPort|%CIP|%CPort|%P%G"),
              "Session accepted|0.0.0.0|80|web.example|8080|10.0.0.1|1234|TCP");
    EXPECT_EQ(Entry("%G%LPort%G"), "80");
    EXPECT_EQ(Entry(""), "");
}

TEST(LogEntry, TrailingSpacesOfTheEventGoOnlyWithoutPadding) {
    const SessionEvent padded = PaddedEvent("Sitzung beendet   ");
    EXPECT_EQ(Entry("[%E]", padded), "[Sitzung beendet   ]");
    EXPECT_EQ(Entry("%G[%E]", padded), "[Sitzung beendet]");
    EXPECT_EQ(Entry("%G%Z[%E]", padded), "[Sitzung beendet   ]");
    EXPECT_EQ(Entry("%Z[%E]", padded), "%Z[Sitzung beendet   ]") << "%Z is a code only under %G";
    EXPECT_EQ(Entry("%G[%E]", PaddedEvent("   ")), "[ ]") << "the first character stays";
    EXPECT_EQ(Entry("%G[%E]", PaddedEvent("")), "[]");
}

TEST(LogEntry, OrderDecidesWhatPutInTextBecomes) {
    SessionEvent event = AcceptedEvent();
    event.strRemoteHost = "%P and %LIP";
    EXPECT_EQ(Entry("%RHost", event), "TCP and %LIP");
    EXPECT_EQ(Entry("%DAT", AcceptedEvent(), "%%E"), "Session accepted");
    EXPECT_EQ(Entry("%%E %%G %e %D %Y"), "%E %G %e %D %Y");
    EXPECT_EQ(Entry("a\r\nb"), "a%b");
}

TEST(LogEntry, ValuesThatMultiplyAreCutAtTheLongestLine) {
    std::string strCodes;
    while (strCodes.size() < 900'000) strCodes += "%E";
    // One replacement after the other within the text would take minutes.
    EXPECT_EQ(Entry(strCodes, PaddedEvent("")), "");
    EXPECT_EQ(Entry(strCodes, PaddedEvent("a")).size(), strCodes.size() / 2);
    SessionEvent event = PaddedEvent("%RHost%RHost");
    event.strRemoteHost = std::string(900'000, 'h');
    EXPECT_EQ(Entry(strCodes, event), std::string(kMaxLogLine, 'h'));
    EXPECT_EQ(Entry(std::string(999'999, '-')).size(), 999'999U) << "the longest text of a settings file is whole";
}
