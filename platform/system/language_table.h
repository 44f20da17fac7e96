// The language table that is part of the executable.
#pragma once

#include <cstdint>
#include <span>

/// UTF-16 little-endian bytes with a byte order mark. Empty if the executable holds none. The bytes
/// live as long as the process.
std::span<const uint8_t> LanguageTableResource();
