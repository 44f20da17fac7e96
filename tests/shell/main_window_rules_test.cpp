// The rules of the main window: the order of rows, what becomes of saved columns and places, what the status lines say.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "engine/port_forward_op.h"
#include "shell/main_window/column_layout.h"
#include "shell/main_window/number_format.h"
#include "shell/main_window/operation_sort.h"
#include "shell/main_window/rate_average.h"
#include "shell/main_window/window_place.h"

using testing::ElementsAre;
using testing::Optional;

namespace {

class OperationSortTest : public testing::Test {
  protected:
    /// The sign of the comparison, both ways round and with both signs; they must agree.
    int Order(int nColumn) const {
        const int nOrder = Sign(CompareOperations(&m_first, &m_second, nColumn, 1));
        EXPECT_EQ(Sign(CompareOperations(&m_second, &m_first, nColumn, 1)), -nOrder);
        EXPECT_EQ(Sign(CompareOperations(&m_first, &m_second, nColumn, -1)), -nOrder);
        EXPECT_EQ(CompareOperations(&m_first, &m_first, nColumn, 1), 0);
        return nOrder;
    }
    static int Sign(int nValue) { return (nValue > 0) - (nValue < 0); }

    CPortForwardOp m_first;
    CPortForwardOp m_second;
};

TEST_F(OperationSortTest, SmallerNumbersComeBehindWithASignOfOne) {
    OpSettings& first = m_first.m_settings;
    OpSettings& second = m_second.m_settings;
    m_second.m_bRunning = 1;
    first.m_nProtocol = -1;
    second.m_nProtocol = kProtocolUdp;
    ASSERT_TRUE(ParseIpAddress("9.200.200.200", &first.m_dwLocalIp));
    ASSERT_TRUE(ParseIpAddress("200.1.1.1", &second.m_dwLocalIp));
    first.m_wLocalPort = 1;
    second.m_wLocalPort = 50000;
    first.m_wRemotePort = 80;
    second.m_wRemotePort = 40000;
    for (const int nColumn : {COLUMN_STATUS, COLUMN_PROTOCOL, COLUMN_LOCAL_IP, COLUMN_LOCAL_PORT, COLUMN_REMOTE_PORT}) {
        EXPECT_EQ(Order(nColumn), 1) << nColumn;
    }
    m_second.m_bRunning = 0;  // also keeps the destructor from stopping what never ran
    EXPECT_EQ(Order(COLUMN_STATUS), 0);
    EXPECT_EQ(Order(6), 0) << "there is no such column";
    EXPECT_EQ(CompareOperations(nullptr, &m_first, COLUMN_LOCAL_PORT, 1), 0);
    EXPECT_EQ(CompareOperations(&m_first, nullptr, COLUMN_LOCAL_PORT, 1), 0);
}

TEST_F(OperationSortTest, HostsRunTheOtherWayRoundAndCapitalsDoNotCount) {
    m_second.m_settings.m_strRemoteHost = "beta";
    // A longer name comes behind its beginning; bytes are unsigned.
    const std::pair<const char*, int> hosts[] = {{"Alpha", -1}, {"BETA", 0}, {"beta.", 1}, {"bet\xE9", 1}};
    for (const auto& [pszHost, nOrder] : hosts) {
        m_first.m_settings.m_strRemoteHost = pszHost;
        EXPECT_EQ(Order(COLUMN_REMOTE_HOST), nOrder) << pszHost;
    }
}

constexpr int32_t kMin = INT32_MIN;
constexpr int32_t kMax = INT32_MAX;

TEST(ColumnLayoutTest, OrderAlwaysHoldsEveryColumnOnce) {
    EXPECT_THAT(RepairColumnOrder({5, 4, 3, 2, 1, 0}), ElementsAre(5, 4, 3, 2, 1, 0));
    EXPECT_THAT(RepairColumnOrder({7, 1, 2, 3, 4, 5}), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(RepairColumnOrder({1, 7, 2, 3, 4, 5}), ElementsAre(0, 1, 2, 3, 4, 5)) << "its own index is kept free";
    EXPECT_THAT(RepairColumnOrder({kMin, kMax, -1, 6, 100, 0}), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(RepairColumnOrder({3, 3, 3, 3, 3, 3}), ElementsAre(3, 0, 1, 2, 4, 5));
}

TEST(ColumnLayoutTest, WidthsAreTheLowBitsAndCanBeGrasped) {
    EXPECT_THAT(RepairColumnWidths({1, 60, 0x10000 + 105, 93, 2000, 93}), ElementsAre(1, 60, 105, 93, 2000, 93));
    EXPECT_THAT(RepairColumnWidths({0, -1, -2, kMin, kMax, 60000}), ElementsAre(77, 60, 105, 93, 150, 93));
}

class WindowPlaceTest : public testing::Test {
  protected:
    static WindowRect Place(const WindowRect& saved) {
        static constexpr WindowRect kScreens[] = {{0, 0, 1024, 740}, {1024, -200, 2944, 880}};
        return PlaceOnScreens(saved, kScreens);
    }
};

TEST_F(WindowPlaceTest, UsableRectangleStaysAsItIs) {
    for (const WindowRect& rect : {WindowRect{100, 100, 800, 600}, WindowRect{1500, -150, 2300, 400},
                                   WindowRect{-500, 10, 200, 500},     // enough of the title shows
                                   WindowRect{900, 50, 2500, 700}}) {  // across both screens
        EXPECT_EQ(Place(rect), rect) << rect.left;
    }
}

TEST_F(WindowPlaceTest, RectangleOffEveryScreenComesOntoThePrimaryOne) {
    EXPECT_EQ(Place({5000, 5000, 5700, 5500}), (WindowRect{324, 240, 1024, 740}));
    EXPECT_EQ(Place({-3000, -3000, -2300, -2500}), (WindowRect{0, 0, 700, 500}));
    EXPECT_EQ(Place({100, -30, 800, 470}), (WindowRect{100, 0, 800, 500})) << "the title bar is above the screen";
    EXPECT_EQ(Place({-32000, -32000, -31840, -31972}), (WindowRect{0, 0, 640, 400})) << "a minimised window";
}

TEST_F(WindowPlaceTest, SizeIsBounded) {
    EXPECT_EQ(Place({10, 10, 5, 20}), (WindowRect{10, 10, 650, 410}));
    EXPECT_EQ(Place({0, 0, kMax, kMax}), (WindowRect{0, 0, 2944, 1080}));
    EXPECT_EQ(Place({kMin, kMin, kMax, kMax}), (WindowRect{0, 0, 2944, 1080}));
    EXPECT_EQ(Place({kMax, kMax, kMin, kMin}), (WindowRect{384, 340, 1024, 740}));
    const WindowRect tiny = {0, 0, 320, 200};
    EXPECT_EQ(PlaceOnScreens({0, 0, 640, 480}, {&tiny, 1}), (WindowRect{0, 0, 640, 400}));
}

TEST(NumberFormatTest, UnitsChangeAtPowersOf1024) {
    for (const int n : {1, 2, 3, 4, 5}) {
        EXPECT_EQ(FormatBytes(std::ldexp(1.0, 10 * n)), std::string("1.00 ") + "?KMGTP"[n] + "B");
    }
    EXPECT_EQ(FormatBytes(0), "0 Bytes");
    EXPECT_EQ(FormatBytes(1023), "1023 Bytes");
    EXPECT_EQ(FormatBytes(1048575), "1024.00 KB");
    EXPECT_EQ(FormatBytes(std::ldexp(1.0, 60)), "1024.00 PB");
    EXPECT_EQ(FormatBytes(std::numeric_limits<double>::max()).substr(0, 6), "159667") << "the largest number has room";
    EXPECT_EQ(FormatRate(12, 'B') + FormatRate(8192, 'b') + FormatRate(3.25 * 1048576, 'B'),
              "12 Bps8.00 Kbps3.25 MBps");
}

TEST(RateAverageTest, GrowsToThirtySamplesAndThenSlides) {
    CRateAverage average;
    EXPECT_EQ(average.Tick(1000, true), 0.0) << "a reset tick only takes the total";
    double dTotal = 1000;
    double dSum = 0;
    for (int i = 1; i <= 65; ++i) {
        dTotal += i;
        dSum += i - std::max(i - 30, 0);  // the window is full: the sample of 1 falls out for one of 31, and so on
        EXPECT_DOUBLE_EQ(average.Tick(dTotal, false), dSum / std::min(i, 30)) << i;
    }
}

TEST(RateAverageTest, StartsOverWhenToldAndWhenTheTotalGoesBack) {
    CRateAverage average;
    average.Tick(0, true);
    average.Tick(600, false);
    EXPECT_EQ(average.Tick(600, false), 300.0);
    EXPECT_EQ(average.Tick(50, false), 0.0) << "the operation was started anew";
    EXPECT_EQ(average.Tick(90, false), 40.0) << "nothing from before the reset counts";
    EXPECT_EQ(average.Tick(5000, true), 0.0);
    EXPECT_EQ(average.Tick(5010, false), 10.0);
}

TEST(RateLineTest, IsWrittenOnlyWhenSomethingChanged) {
    constexpr CRateLine::Form kBits = {true, false};
    CRateLine line;
    EXPECT_EQ(line.Tick(0, true, kBits), std::nullopt) << "zero is what the line shows at first";
    EXPECT_THAT(line.Tick(512, false, kBits), Optional(std::string("8.00 Kbps")));
    EXPECT_EQ(line.Tick(1024, false, kBits), std::nullopt) << "a steady rate";
    EXPECT_THAT(line.Tick(1536, false, {false, true}), Optional(std::string("1.00 KBps"))) << "the unit was changed";
    EXPECT_THAT(line.Tick(1536, true, kBits), Optional(std::string("0 bps")));
    EXPECT_THAT(CRateLine::TickUnwatched({false, true}), Optional(std::string("0 Bps")));
    EXPECT_EQ(CRateLine::TickUnwatched(kBits), std::nullopt);
}

}  // namespace
