// The saved-settings file in figures, for its reader and its writer. docs/file-formats.md tells the layout.
//
// All integers are little-endian and nothing is aligned; addresses stand in network byte order. The order of the
// fields is in settings_fields.h.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The first bytes of every file of the maker's programs.
inline constexpr std::array<uint8_t, 16> kFileMagic = {0x7C, 0x55, 0xD3, 0x92, 0x6E, 0x94, 0x45, 0x48,
                                                       0xA5, 0x51, 0xF5, 0xF1, 0xD0, 0xAF, 0xE4, 0x40};

inline constexpr uint32_t kSettingsMajor = 1;
inline constexpr uint32_t kSettingsMinor = 0;
/// Behind the version: zeros, ignored on reading.
inline constexpr std::array<uint8_t, 16> kReservedBytes = {};

/// The count of a text field includes its NUL.
inline constexpr int32_t kMinTextCount = 1;
inline constexpr int32_t kMaxTextCount = 1'000'000;

/// One range of a filter list: two addresses.
inline constexpr int32_t kRangeSize = 8;
