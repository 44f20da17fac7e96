// What the tests say a table holds, and the bytes that tables and language text files are made of.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "language/text_table.h"

/// Texts by slot; a slot that is not there is empty.
using Texts = std::map<uint32_t, std::string>;

inline Texts TextsOf(const TextTable& table) {
    Texts texts;
    for (uint32_t nSlot = 0; nSlot <= kSlotCount; ++nSlot) {
        if (!table.Text(nSlot).empty()) texts[nSlot] = table.Text(nSlot);
    }
    return texts;
}

/// UTF-16 in the byte order of the machines that the program runs on, which is that of the tables: little-endian.
inline std::vector<uint8_t> Utf16Bytes(std::u16string_view strText) {
    const auto* const pFirst = reinterpret_cast<const uint8_t*>(strText.data());
    return {pFirst, pFirst + 2 * strText.size()};
}
