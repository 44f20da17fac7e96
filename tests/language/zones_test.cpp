// The wording of the zones: what must be the same in every language. Read from the table's UTF-16 text, so that no code
// page hides a fault.
#include "language/zones.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "language/language_store.h"
#include "platform/resources.h"
#include "tests/language/language_fixture.h"

namespace {

using Zone = std::map<int, std::string>;  // slots in UTF-8, escapes as they stand

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

const std::string& TableText() {
    static const std::string strText = ReadTable();
    return strText;
}

// The entries between a zone's label and the next one.
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
    // The empty line ahead of the next label is no text of ours.
    std::string& strLast = zone.rbegin()->second;
    strLast.resize(strLast.find_last_not_of("\r\n") + 1);
    return zone;
}

// "%" with the letters and digits behind it, in the order of the text.
std::vector<std::string> FormatCodes(const std::string& strText) {
    std::vector<std::string> codes;
    for (size_t n = strText.find('%'); n != std::string::npos; n = strText.find('%', n + 1)) {
        size_t nEnd = n + 1;
        while (nEnd < strText.size() && std::isalnum(static_cast<unsigned char>(strText[nEnd]))) ++nEnd;
        if (nEnd > n + 1) codes.push_back(strText.substr(n, nEnd - n));
    }
    return codes;
}

std::string Escapes(const std::string& strText) {
    std::string strEscapes;
    for (size_t n = 0; n + 1 < strText.size(); ++n) {
        const bool bEscape = strText[n] == '\\' && std::string_view("rnt\"'").find(strText[n + 1]) != std::string::npos;
        if (bEscape) strEscapes += strText.substr(n, 2);
    }
    return strEscapes;
}

size_t Count(const std::string& strText, std::string_view strPart) {
    size_t nCount = 0;
    for (size_t n = strText.find(strPart); n != std::string::npos; n = strText.find(strPart, n + 1)) ++nCount;
    return nCount;
}

std::vector<std::string> SplitAtBars(const std::string& strText) {
    std::vector<std::string> parts(1);
    for (const char ch : strText) {
        if (ch == '|') {
            parts.emplace_back();
        } else {
            parts.back() += ch;
        }
    }
    return parts;
}

size_t CharacterCount(const std::string& strText) {
    return static_cast<size_t>(
        std::count_if(strText.begin(), strText.end(), [](char ch) { return (ch & 0xC0) != 0x80; }));
}

// East Asian characters (three bytes each here) take two columns.
size_t ColumnCount(const std::string& strText) {
    const auto isWide = [](char ch) { return static_cast<unsigned char>(ch) >= 0xE1; };
    return CharacterCount(strText) + static_cast<size_t>(std::count_if(strText.begin(), strText.end(), isWide));
}

// Captions of controls and columns, whose places have a fixed size.
bool IsCaption(int nSlot) {
    static const std::vector<std::pair<int, int>> kCaptions = {
        {0, 2},   {11, 17},  {19, 21},   {23, 25},   {34, 38},   {40, 42},   {49, 56},
        {71, 84}, {95, 115}, {144, 158}, {174, 187}, {198, 200}, {219, 221}, {225, 227},
    };
    return std::any_of(kCaptions.begin(), kCaptions.end(),
                       [&](const auto& range) { return nSlot >= range.first && nSlot <= range.second; });
}

class Zones : public testing::TestWithParam<LanguageZone> {
  protected:
    const std::string& m_strTable = TableText();
    const Zone m_english = ReadZone(m_strTable, kEnglishZone);
    const Zone m_zone = ReadZone(m_strTable, GetParam().pszLabel);
};

TEST_P(Zones, HoldTheSlotsOfTheEnglishZone) {
    ASSERT_EQ(m_zone.size(), 231U);
    for (const auto& [nSlot, strEnglish] : m_english) {
        EXPECT_EQ(m_zone.at(nSlot).empty(), strEnglish.empty()) << nSlot;
        EXPECT_EQ(m_zone.at(nSlot).find("@@"), std::string::npos) << nSlot;
    }
}

TEST_P(Zones, KeepFormatCodesAndLineEnds) {
    for (const auto& [nSlot, strEnglish] : m_english) {
        const std::string& strText = m_zone.at(nSlot);
        EXPECT_EQ(FormatCodes(strText), FormatCodes(strEnglish)) << nSlot << strText;
        // A folder whose name begins with r, n or t behind a backslash would be cut by the escape.
        EXPECT_EQ(Escapes(strText), Escapes(strEnglish)) << nSlot << strText;
        EXPECT_EQ(Count(strText, "\r\n"), Count(strEnglish, "\r\n")) << nSlot;
    }
}

TEST_P(Zones, KeepFileFiltersAndHelpSteps) {
    for (const int nSlot : {10, 163}) {
        const auto parts = SplitAtBars(m_zone.at(nSlot));
        const auto english = SplitAtBars(m_english.at(nSlot));
        ASSERT_EQ(parts.size(), english.size()) << nSlot;
        for (size_t n = 1; n < parts.size(); n += 2) EXPECT_EQ(parts[n], english[n]) << nSlot;
    }
    EXPECT_NE(m_zone.at(43).find("netstat -n -a"), std::string::npos);
    EXPECT_NE(m_zone.at(44).find(" -NoInstall"), std::string::npos);
    for (int nStep = 1; nStep <= 13; ++nStep) {
        const std::string strMark = "\n" + std::to_string(nStep) + ".";
        EXPECT_NE(("\n" + m_zone.at(44)).find(strMark), std::string::npos) << nStep;
    }
}

TEST_P(Zones, CaptionsFitWhereTheEnglishOnesStand) {
    for (const auto& [nSlot, strEnglish] : m_english) {
        if (!IsCaption(nSlot)) continue;
        // Even the smallest button has room for twelve characters.
        EXPECT_LE(CharacterCount(m_zone.at(nSlot)), std::max<size_t>(12, 2 * CharacterCount(strEnglish)))
            << nSlot << m_zone.at(nSlot);
    }
}

TEST_P(Zones, EventWordsOfASessionAlignInTheLog) {
    if (GetParam().dwCode == 0) GTEST_SKIP() << "the English words are not padded";
    EXPECT_EQ(ColumnCount(m_zone.at(134)), ColumnCount(m_zone.at(143)));
}

INSTANTIATE_TEST_SUITE_P(Table, Zones, testing::ValuesIn(LanguageZones().begin(), LanguageZones().end()),
                         [](const auto& zone) {
                             const std::string strLabel = zone.param.pszLabel;
                             return strLabel.substr(6, strLabel.size() - 7);
                         });

TEST(ZoneTable, CodesAndGeneralSlotsAreDistinct) {
    std::set<uint32_t> codes;
    std::set<uint32_t> slots;
    for (const LanguageZone& zone : LanguageZones()) {
        codes.insert(zone.dwCode);
        slots.insert(zone.nNameSlot);
        slots.insert(zone.nPromptSlot);
    }
    EXPECT_EQ(codes.size(), 10U);
    EXPECT_EQ(slots.size(), 20U);
    EXPECT_EQ(ReadZone(TableText(), kGeneralZone).size(), 20U);
}

TEST(ZoneTable, BeginsWithAMarkAndAnEmptyLineAndHasNoBareLineEnd) {
    const std::string& strTable = TableText();
    EXPECT_TRUE(strTable.starts_with("\xEF\xBB\xBF\r\n[Zone_General]\r\n"));
    EXPECT_TRUE(strTable.ends_with("[230]\t\r\n"));
    const auto nLineFeeds = std::count(strTable.begin(), strTable.end(), '\n');
    EXPECT_EQ(std::count(strTable.begin(), strTable.end(), '\r'), nLineFeeds);
    EXPECT_EQ(Count(strTable, "\r\n"), static_cast<size_t>(nLineFeeds));
}

using EnglishTexts = CLanguageTest;

// Texts that other systems, saved files or users' habits depend on, oddities included.
TEST_F(EnglishTexts, ToTheLetter) {
    Apply(0);
    EXPECT_EQ(Slot(8), "There is a newer version of %s available.\n    Would you like to go to the description page?");
    EXPECT_EQ(Slot(10), "Text Files (*.txt)|*.txt|All Files (*.*)|*.*||");
    EXPECT_EQ(Slot(30), "%Y.%MY.%D - %H24:%MN:%S.%MS");
    EXPECT_EQ(Slot(31),
              "[%E], Local IP: %LIP, Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Connector's port: %CPort, "
              "Time: [%DAT]");
    EXPECT_EQ(Slot(41), "When I press \"Start\", I get \"Error starting\", what is wrong?");
    EXPECT_EQ(Slot(58), "An error has occured during the installation of the ZELKOR service.");
    EXPECT_EQ(Slot(94),
              "Would you like to install %s %s?\r\n\r\nYes - Continue to installation.\r\n\r\nNo - Run self contained "
              "program without installing.\r\n\r\nCancel - Obvious.\r\n");
    EXPECT_EQ(Slot(119), "~\\_Client_/~");
    EXPECT_EQ(Slot(134), "Session ended");
    EXPECT_EQ(Slot(138), Slot(136));
    EXPECT_EQ(Slot(142), "Session rejected - unable to establish remote host connection");
    EXPECT_EQ(Slot(143), "Session accepted");
    EXPECT_EQ(Slot(193), "Continue and close current sessions?\"");
    EXPECT_EQ(Slot(227), "Visit the online help centre");
    EXPECT_EQ(Slot(229), "");
    EXPECT_TRUE(Slot(44).find("Programs\\Startup\\ ") != std::string::npos);
}

// The languages that the Windows-1252 code page can show.
TEST_F(EnglishTexts, WesternZonesLoseNothingInTheCodePage) {
    const std::string& strTable = TableText();
    for (const LanguageZone& zone : LanguageZones()) {
        if (zone.dwCode == 4 || zone.dwCode == 6 || zone.dwCode == 9) continue;
        Apply(zone.dwCode);
        const Zone texts = ReadZone(strTable, zone.pszLabel);
        for (const auto& [nSlot, strText] : texts) {
            const std::string strShown = Slot(static_cast<uint32_t>(nSlot));
            EXPECT_EQ(std::count(strShown.begin(), strShown.end(), '\xBF'),
                      static_cast<ptrdiff_t>(Count(strText, "\u00BF")))
                << zone.pszLabel << nSlot;
        }
    }
    Apply(9);
    EXPECT_EQ(Slot(6), std::string(6, '\xBF'));
}

}  // namespace
