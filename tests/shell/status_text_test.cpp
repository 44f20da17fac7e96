// What the status lines say: byte counts, rates, and the average behind the rates.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <vector>

#include "shell/main_window/number_format.h"
#include "shell/main_window/rate_average.h"

using testing::Optional;

namespace {

TEST(NumberFormatTest, UnitsChangeAtPowersOf1024) {
    EXPECT_EQ(FormatBytes(0), "0 Bytes");
    EXPECT_EQ(FormatBytes(1023), "1023 Bytes");
    EXPECT_EQ(FormatBytes(1024), "1.00 KB");
    EXPECT_EQ(FormatBytes(1048575), "1024.00 KB");
    EXPECT_EQ(FormatBytes(1048576), "1.00 MB");
    EXPECT_EQ(FormatBytes(1073741824), "1.00 GB");
    EXPECT_EQ(FormatBytes(std::ldexp(1.0, 40)), "1.00 TB");
    EXPECT_EQ(FormatBytes(std::ldexp(1.0, 50)), "1.00 PB");
    EXPECT_EQ(FormatBytes(std::ldexp(1.0, 60)), "1024.00 PB");
    EXPECT_EQ(FormatBytes(std::numeric_limits<double>::max()).substr(0, 6), "159667") << "the largest number has room";
}

TEST(NumberFormatTest, RatesNameBitsOrBytes) {
    EXPECT_EQ(FormatRate(12, 'B'), "12 Bps");
    EXPECT_EQ(FormatRate(1536, 'b'), "1.50 Kbps");
    EXPECT_EQ(FormatRate(3.25 * 1048576, 'B'), "3.25 MBps");
    EXPECT_EQ(FormatRate(8192, 'b'), "8.00 Kbps");
}

TEST(RateAverageTest, GrowsToThirtySamplesAndThenSlides) {
    CRateAverage average;
    EXPECT_EQ(average.Tick(1000, true), 0.0) << "a reset tick only takes the total";
    double dTotal = 1000;
    double dSum = 0;
    for (int i = 1; i <= 30; ++i) {
        dTotal += i;
        dSum += i;
        EXPECT_DOUBLE_EQ(average.Tick(dTotal, false), dSum / i) << i;
    }
    // The window is full: the sample of 1 falls out for one of 31, and so on.
    for (int i = 31; i <= 65; ++i) {
        dTotal += i;
        dSum += i - (i - 30);
        EXPECT_DOUBLE_EQ(average.Tick(dTotal, false), dSum / 30) << i;
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
