// What becomes of saved column and window values, which can be any numbers.
#include <gmock/gmock.h>

#include "shell/main_window/column_layout.h"
#include "shell/main_window/window_place.h"

using testing::ElementsAre;

namespace {

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

}  // namespace
