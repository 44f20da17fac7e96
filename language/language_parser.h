// The line format of a zone, and of a language text file.
//
// A slot line is "[", the slot's number, "]", one more character and the text, which runs to the next line that begins
// with "[". Works on text in the ANSI code page, which may be a multi-byte one. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "language/text_table.h"

/// Adds the texts from this position of the working text on, up to a line that begins with "[" and has no digit in its
/// brackets, or to the end. A malformed entry ends it silently; what was found so far stays. A slot for which there is
/// no memory, or whose number lies outside the table, is left out.
void ParseLanguageTexts(const std::string& strText, size_t nStart, TextTable* pTable);

/// Where the texts of a zone begin in the working text, right behind its label; npos when it is not there.
size_t FindZone(const std::string& strText, std::string_view strLabel);
