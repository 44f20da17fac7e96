#include "shell/main_window/window_place.h"

#include <algorithm>

namespace {

// As much of the title bar as a hand with a mouse needs.
constexpr int64_t kGripWidth = 100;
constexpr int64_t kGripHeight = 20;

int64_t Width(const WindowRect& rect) {
    return int64_t{rect.right} - rect.left;
}

int64_t Height(const WindowRect& rect) {
    return int64_t{rect.bottom} - rect.top;
}

WindowRect Around(std::span<const WindowRect> screens) {
    WindowRect around = screens.front();
    for (const WindowRect& screen : screens) {
        around.left = std::min(around.left, screen.left);
        around.top = std::min(around.top, screen.top);
        around.right = std::max(around.right, screen.right);
        around.bottom = std::max(around.bottom, screen.bottom);
    }
    return around;
}

// A screen that is smaller than the smallest window gets the smallest window all the same.
int64_t Fit(int64_t nSize, int64_t nSmallest, int64_t nLargest) {
    return std::clamp(nSize, nSmallest, std::max(nSmallest, nLargest));
}

bool IsTitleReachable(const WindowRect& rect, const WindowRect& screen) {
    const int64_t nShown = int64_t{std::min(rect.right, screen.right)} - std::max(rect.left, screen.left);
    return nShown >= kGripWidth && rect.top >= screen.top && rect.top <= screen.bottom - kGripHeight;
}

WindowRect At(int32_t nLeft, int32_t nTop, int64_t nWidth, int64_t nHeight) {
    constexpr int64_t kLast = INT32_MAX;
    return {nLeft, nTop, static_cast<int32_t>(std::min(nLeft + nWidth, kLast)),
            static_cast<int32_t>(std::min(nTop + nHeight, kLast))};
}

/// The edge moved so that the window lies inside the screen, its near end first.
int32_t Inside(int32_t nEdge, int64_t nSize, int32_t nScreenNear, int32_t nScreenFar) {
    const int64_t nLast = std::max<int64_t>(nScreenFar - nSize, nScreenNear);
    return static_cast<int32_t>(std::clamp<int64_t>(nEdge, nScreenNear, nLast));
}

}  // namespace

WindowRect PlaceOnScreens(const WindowRect& saved, std::span<const WindowRect> screens) {
    const WindowRect around = Around(screens);
    const int64_t nWidth = Fit(Width(saved), kMinWindowWidth, Width(around));
    const int64_t nHeight = Fit(Height(saved), kMinWindowHeight, Height(around));
    const WindowRect sized = At(saved.left, saved.top, nWidth, nHeight);
    const auto isReachable = [&](const WindowRect& screen) { return IsTitleReachable(sized, screen); };
    if (std::any_of(screens.begin(), screens.end(), isReachable)) return sized;
    const WindowRect& primary = screens.front();
    return At(Inside(saved.left, nWidth, primary.left, primary.right),
              Inside(saved.top, nHeight, primary.top, primary.bottom), nWidth, nHeight);
}
