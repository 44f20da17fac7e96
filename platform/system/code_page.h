// The system's ANSI code page: what every text inside the program is written in.
//
// On Windows it is the process's code page, which may be a multi-byte one; on Linux it is Windows-1252, through iconv.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Converts UTF-16 units (host order) to the ANSI code page. Each unit that the code page cannot show becomes the one
/// byte 0xBF, so a character of two units gives two. Under the code page UTF-8, which shows every character, what is no
/// valid UTF-16 becomes the system's replacement character. False when there is no memory for it.
[[nodiscard]] bool WideToAnsi(std::u16string_view strWide, std::string* pstrAnsi);

/// Whether the byte begins a two-byte character of the ANSI code page.
bool IsLeadByte(char ch);
