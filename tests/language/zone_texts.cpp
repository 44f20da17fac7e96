#include "tests/language/zone_texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "platform/system/language_table.h"

namespace {

void AppendUtf8(char16_t wUnit, std::string* pstrText) {
    const auto ch = static_cast<unsigned>(wUnit);
    const auto add = [&](unsigned nByte) { pstrText->push_back(static_cast<char>(nByte)); };
    if (ch < 0x80) return add(ch);
    if (ch < 0x800) return add(0xC0 | ch >> 6), add(0x80 | (ch & 0x3F));
    add(0xE0 | ch >> 12), add(0x80 | (ch >> 6 & 0x3F)), add(0x80 | (ch & 0x3F));
}

std::string ReadTable() {
    const auto bytes = LanguageTableResource();
    std::string strText;
    for (size_t n = 0; n + 1 < bytes.size(); n += 2) {
        AppendUtf8(static_cast<char16_t>(bytes[n] | bytes[n + 1] << 8), &strText);
    }
    return strText;
}

}  // namespace

const std::string& TableText() {
    static const std::string strText = ReadTable();
    return strText;
}

Zone ReadZone(const std::string& strTable, const std::string& strLabel) {
    Zone zone;
    size_t nAt = strTable.find("\r\n" + strLabel + "\r\n[");
    if (nAt == std::string::npos) return zone;
    nAt += strLabel.size() + 2;
    while (nAt + 3 < strTable.size() && std::isdigit(static_cast<unsigned char>(strTable[nAt + 3]))) {
        const size_t nText = strTable.find("]\t", nAt) + 2;
        const size_t nNext = std::min(strTable.find("\r\n[", nText), strTable.size());
        const int nSlot = std::stoi(strTable.substr(nAt + 3));
        EXPECT_TRUE(zone.emplace(nSlot, strTable.substr(nText, nNext - nText)).second) << strLabel << nSlot;
        nAt = nNext;
    }
    if (zone.empty()) return zone;
    // The empty line ahead of the next label is no text of ours.
    std::string& strLast = zone.rbegin()->second;
    strLast.resize(strLast.find_last_not_of("\r\n") + 1);
    return zone;
}
