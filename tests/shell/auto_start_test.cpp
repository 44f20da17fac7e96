// When operations are started by themselves.
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

}  // namespace
