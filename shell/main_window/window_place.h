// Where the main window comes up after the saved rectangle, which can be any numbers.
#pragma once

#include <cstdint>
#include <span>

#include "shell/window_settings.h"

/// The main window is never smaller, in pixels.
inline constexpr int32_t kMinWindowWidth = 640;
inline constexpr int32_t kMinWindowHeight = 400;

/// The rectangle as it can be used on these screens (their work areas, the primary one first; at least one): not
/// smaller than the smallest window, not larger than all screens together, and with enough of its title bar on a
/// screen to be dragged. A rectangle for which all this holds comes back as it is.
WindowRect PlaceOnScreens(const WindowRect& saved, std::span<const WindowRect> screens);
