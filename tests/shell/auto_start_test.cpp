// When operations are started by themselves, and how often the log is written.
#include "shell/auto_start.h"

#include <gtest/gtest.h>

#include "shell/app_settings.h"

namespace {

TEST(AutoStart, TheUserIsAskedOnlyWhereTheModeLeavesItOpen) {
    const struct {
        int32_t nRunning;
        uint32_t dwMode;
        bool bAsked;
        bool bStartsOnYes;
        bool bStartsOnNo;
    } cases[] = {
        {0, kAutoStartAlways, false, false, false},
        {0, kAutoStartAsk, false, false, false},
        {-1, kAutoStartAlways, false, false, false},
        {1, kAutoStartAlways, false, true, true},
        {2, kAutoStartNever, false, false, false},
        {2, kAutoStartAsk, true, true, false},
        {1, 3, true, true, false},
        {1, 0xFFFFFFFF, true, true, false},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.nRunning << " running, mode " << each.dwMode);
        AppSettings settings;
        settings.runningOpCount = each.nRunning;
        settings.autoStartMode = each.dwMode;
        for (const bool bAnswer : {true, false}) {
            int nAsked = 0;
            const bool bStart = ShouldStartOperations(settings, [&nAsked, bAnswer] { return ++nAsked, bAnswer; });
            EXPECT_EQ(bStart, bAnswer ? each.bStartsOnYes : each.bStartsOnNo);
            EXPECT_EQ(nAsked, each.bAsked ? 1 : 0);
        }
    }
}

TEST(AutoStart, TheFlushPeriodStaysWithinWhatATimerTakes) {
    const struct {
        uint32_t nSeconds;
        uint32_t nPeriodMs;
    } cases[] = {
        {0, 100},
        {1, 1000},
        {10, 10000},
        {2147483, 2147483000},
        {2147484, 0x7FFFFFFF},
        // Times a thousand this is 704 in 32 bits.
        {4294968, 0x7FFFFFFF},
        {0xFFFFFFFF, 0x7FFFFFFF},
    };
    for (const auto& each : cases) {
        AppSettings settings;
        settings.logIntervalSeconds = each.nSeconds;
        EXPECT_EQ(LogFlushPeriodMs(settings), each.nPeriodMs) << each.nSeconds;
    }
}

}  // namespace
