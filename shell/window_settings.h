// The window's part of the program's record: its place, its list, and how it goes to the tray. Thread of the windows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Pixels of the screen; right and bottom lie behind the last ones.
struct WindowRect {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    bool operator==(const WindowRect&) const = default;
};

inline constexpr size_t kColumnCount = 6;

struct WindowSettings {
    WindowRect windowRect;     // top equal to bottom: none was saved
    uint32_t windowFlags = 0;  // bit 0: maximised
    std::array<int32_t, kColumnCount> columnOrder = {0, 1, 2, 3, 4, 5};
    std::array<int32_t, kColumnCount> columnWidths = {77, 60, 105, 93, 150, 93};  // pixels
};

struct TraySettings {
    uint8_t showTrayIcon = 0;
    uint8_t trayOnlyWhenMinimized = 1;
    uint8_t hideTaskbarWhenMinimized = 0;
    uint8_t showRateInBits = 1;
    uint8_t trayPromptDone = 0;
    uint8_t startMinimizedSetting = 0;
    uint8_t minimizeOnClose = 0;
};
