// The wording of the zones: what must be the same in every language.
#include "language/zones.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <iterator>
#include <map>
#include <numeric>

#include "language/language_store.h"
#include "tests/language/language_fixture.h"
#include "tests/language/zone_texts.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

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

std::vector<std::string> SplitAt(std::string_view strMark, std::string_view strText) {
    std::vector<std::string> parts;
    for (size_t n = strText.find(strMark); n != strText.npos; n = strText.find(strMark)) {
        parts.emplace_back(strText.substr(0, n));
        strText.remove_prefix(n + strMark.size());
    }
    parts.emplace_back(strText);
    return parts;
}

// "3." of a text that begins so, else nothing.
std::string StepNumber(const std::string& strText) {
    const size_t nEnd = strText.find_first_not_of("0123456789");
    return nEnd != 0 && nEnd != strText.npos && strText[nEnd] == '.' ? strText.substr(0, nEnd + 1) : "";
}

// The blanks that begin a text and those that end it.
std::pair<std::string, std::string> OuterBlanks(const std::string& strText) {
    const size_t nFirst = strText.find_first_not_of(" \t");
    if (nFirst == strText.npos) return {strText, ""};
    return {strText.substr(0, nFirst), strText.substr(strText.find_last_not_of(" \t") + 1)};
}

// A caption without its colon and the no-break space that French puts before it.
std::string WithoutColon(std::string strText) {
    for (const std::string_view strEnd : {":", "\u00A0"}) {
        if (strText.ends_with(strEnd)) strText.erase(strText.size() - strEnd.size());
    }
    return strText;
}

// East Asian characters (three bytes each here) take two columns.
size_t ColumnCount(const std::string& strText) {
    const auto columns = [](char ch) {
        return (ch & 0xC0) == 0x80 ? 0U : static_cast<unsigned char>(ch) >= 0xE1 ? 2U : 1U;
    };
    return std::transform_reduce(strText.begin(), strText.end(), size_t{0}, std::plus<>(), columns);
}

// Captions of controls and columns, and the words of the status column: their places have a fixed size.
bool IsCaption(int nSlot) {
    static const std::vector<std::pair<int, int>> kCaptions = {
        {0, 2},     {11, 17},   {19, 21},   {23, 25},   {34, 38},   {40, 42},   {49, 56},   {71, 84},   {95, 115},
        {118, 118}, {122, 124}, {129, 129}, {144, 158}, {174, 187}, {198, 200}, {219, 221}, {225, 227},
    };
    return std::any_of(kCaptions.begin(), kCaptions.end(),
                       [&](const auto& range) { return nSlot >= range.first && nSlot <= range.second; });
}

constexpr int kLongTexts[] = {39, 43, 44};
constexpr int kSessionEnded = 134;
constexpr int kSessionAccepted = 143;

bool IsSessionWord(int nSlot) {
    return nSlot == kSessionEnded || nSlot == kSessionAccepted;
}

class Zones : public testing::TestWithParam<LanguageZone> {
  protected:
    const std::string& Text(int nSlot) const {
        static const std::string strNone;
        const auto it = m_zone.find(nSlot);
        return it == m_zone.end() ? strNone : it->second;
    }
    std::string At(int nSlot) const {
        return std::string(GetParam().pszLabel) + " slot " + std::to_string(nSlot) + ": " + Text(nSlot);
    }
    bool IsEnglish() const { return GetParam().dwCode == 0; }

    const std::string& m_strTable = TableText();
    const Zone m_english = ReadZone(m_strTable, kEnglishZone);
    const Zone m_zone = ReadZone(m_strTable, GetParam().pszLabel);
};

TEST_P(Zones, HoldTheSlotsOfTheEnglishZone) {
    EXPECT_EQ(m_zone.size(), 231U) << GetParam().pszLabel;
    for (const auto& [nSlot, strEnglish] : m_english) {
        EXPECT_TRUE(m_zone.contains(nSlot)) << At(nSlot);
        EXPECT_EQ(Text(nSlot).empty(), strEnglish.empty()) << At(nSlot);
        // Long texts that are the same as the English ones were forgotten. The date format may be the same.
        const bool bLong = strEnglish.size() > 20 && nSlot != 30;
        if (bLong && !IsEnglish()) {
            EXPECT_NE(Text(nSlot), strEnglish) << At(nSlot);
        }
    }
}

TEST_P(Zones, TellTheLongTextsInFull) {
    for (const int nSlot : kLongTexts) {
        const auto paragraphs = SplitAt("\r\n", Text(nSlot));
        const auto english = SplitAt("\r\n", m_english.at(nSlot));
        ASSERT_EQ(paragraphs.size(), english.size()) << At(nSlot);
        for (size_t n = 0; n < english.size(); ++n) {
            EXPECT_EQ(StepNumber(paragraphs[n]), StepNumber(english[n])) << At(nSlot);
            // The tersest language needs half the room of English.
            EXPECT_GE(5 * ColumnCount(paragraphs[n]), 2 * ColumnCount(english[n]))
                << At(nSlot) << "\nin " << paragraphs[n];
        }
    }
}

TEST_P(Zones, KeepFormatCodesAndLineEnds) {
    for (const auto& [nSlot, strEnglish] : m_english) {
        EXPECT_EQ(FormatCodes(Text(nSlot)), FormatCodes(strEnglish)) << At(nSlot);
        // A folder whose name begins with r, n or t behind a backslash would be cut by the escape.
        EXPECT_EQ(Escapes(Text(nSlot)), Escapes(strEnglish)) << At(nSlot);
        EXPECT_EQ(Count(Text(nSlot), "\r\n"), Count(strEnglish, "\r\n")) << At(nSlot);
    }
    EXPECT_TRUE(Text(31).starts_with("[%E], ")) << At(31);
    EXPECT_TRUE(Text(31).ends_with(": [%DAT]")) << At(31);
}

// Texts are shown behind and ahead of others, and one caption serves a menu, a button and a column.
TEST_P(Zones, BeginAndEndAsTheEnglishTextsDo) {
    for (const auto& [nSlot, strEnglish] : m_english) {
        if (!IsSessionWord(nSlot)) {
            EXPECT_EQ(OuterBlanks(Text(nSlot)), OuterBlanks(strEnglish)) << At(nSlot);
        }
        for (const std::string_view strEnd : {":", "..."}) {
            EXPECT_EQ(Text(nSlot).ends_with(strEnd), strEnglish.ends_with(strEnd)) << At(nSlot);
        }
        EXPECT_EQ(Count(Text(nSlot), "&") + Count(Text(nSlot), "\u2026"), 0U) << At(nSlot);
    }
}

TEST_P(Zones, KeepNamesNumbersAndWhatTheUserTypes) {
    static const std::string_view kKept[] = {
        "Velmoorstack",  "ZELKOR",      "KPRL",         "UDP",          "ICMP",       "IP",
        "Windows",       "1000",        "999",          "65535",        "((1497 - (", "/ 2)",
        "netstat -n -a", " -NoInstall", "-uninstall  ", "-noinstall  ", "-help",      "-start_minimized  ",
        "WSAStartup()",  "v1.1",        "v1.4",         "->",           "\"C:\\",     "VelmoorstackZELKORv1.0.exe",
        "~\\_",          "_/~",
    };
    for (const auto& [nSlot, strEnglish] : m_english) {
        for (const std::string_view strKept : kKept) {
            if (strEnglish.find(strKept) != std::string::npos) {
                EXPECT_THAT(Text(nSlot), HasSubstr(strKept)) << At(nSlot);
            }
        }
    }
}

TEST_P(Zones, KeepFileFilters) {
    for (const int nSlot : {10, 163}) {
        const auto parts = SplitAt("|", Text(nSlot));
        const auto english = SplitAt("|", m_english.at(nSlot));
        ASSERT_EQ(parts.size(), english.size()) << At(nSlot);
        for (size_t n = 1; n < parts.size(); n += 2) {
            EXPECT_EQ(parts[n], english[n]) << At(nSlot);
            if (!parts[n].empty()) {
                EXPECT_TRUE(parts[n - 1].ends_with(" (" + parts[n] + ")")) << At(nSlot);
            }
        }
        EXPECT_EQ(parts.back(), "") << At(nSlot);
    }
}

TEST_P(Zones, CaptionsFitWhereTheEnglishOnesStand) {
    for (const auto& [nSlot, strEnglish] : m_english) {
        if (!IsCaption(nSlot)) continue;
        // Even the smallest button has room for ten characters.
        EXPECT_LE(ColumnCount(Text(nSlot)), std::max<size_t>(10, 2 * ColumnCount(strEnglish))) << At(nSlot);
    }
}

TEST_P(Zones, SayTheSameThingInTheSameWords) {
    std::map<std::string, std::string> words;
    for (const auto& [nSlot, strEnglish] : m_english) {
        const std::string strText = WithoutColon(Text(nSlot));
        EXPECT_EQ(words.emplace(WithoutColon(strEnglish), strText).first->second, strText) << At(nSlot);
    }
    const auto verdict = [&](int nSlot) { return SplitAt(" - ", Text(nSlot)).front(); };
    for (int nSlot = 136; nSlot <= 142; ++nSlot) EXPECT_EQ(verdict(nSlot), verdict(135)) << At(nSlot);
}

TEST_P(Zones, QuoteCaptionsAsTheyStandInTheWindows) {
    static const std::map<int, std::vector<int>> kQuotes = {
        {39, {38}}, {41, {113, 124}}, {44, {15, 73, 75, 79, 82, 204, 205}}, {83, {2, 202, 203}}};
    for (const auto& [nSlot, quoted] : kQuotes) {
        for (const int nQuoted : quoted) {
            EXPECT_THAT(Text(nSlot), HasSubstr(Text(nQuoted))) << At(nSlot) << "\nquotes " << At(nQuoted);
        }
    }
}

TEST_P(Zones, EventWordsOfASessionAlignInTheLog) {
    // The English words are not padded; only the help speaks of them as if they were.
    std::string strEnded = Text(kSessionEnded);
    const std::string& strAccepted = Text(kSessionAccepted);
    if (IsEnglish()) strEnded += "   ";
    EXPECT_EQ(ColumnCount(strEnded), ColumnCount(strAccepted)) << At(kSessionEnded) << '\n' << At(kSessionAccepted);
    const std::string& strPadded = strEnded.ends_with(' ') ? strEnded : strAccepted;
    EXPECT_THAT(strPadded, EndsWith(" ")) << At(kSessionEnded);
    EXPECT_THAT(Text(32), HasSubstr("[" + strPadded + "]")) << At(32);
}

INSTANTIATE_TEST_SUITE_P(Table, Zones, testing::ValuesIn(LanguageZones().begin(), LanguageZones().end()),
                         [](const auto& zone) {
                             const std::string strLabel = zone.param.pszLabel;
                             return strLabel.substr(6, strLabel.size() - 7);
                         });

// Saved files hold the codes, and the window that offers the languages shows these names and prompts.
TEST(ZoneTable, HoldsTheZonesInOrderWithTheirCodesNamesAndPrompts) {
    struct Row {
        uint32_t dwCode;
        const char* pszLabel;
        const char* pszName;
        const char* pszPrompt;
    };
    static constexpr Row kRows[] = {
        {0, "[Zone_English]", "English", "Please choose your language"},
        {8, "[Zone_Nederlands]", "Nederlands", "Gelieve te kiezen uw taal"},
        {1, "[Zone_Deutsch]", "Deutsch", "Wählen Sie bitte Ihre Sprache"},
        {2, "[Zone_Francais]", "Français", "Veuillez choisir votre langue"},
        {3, "[Zone_Espanol]", "Español", "Elija por favor su lengua"},
        {5, "[Zone_Portuguese]", "Portuguese", "Escolha por favor sua língua"},
        {7, "[Zone_Italiano]", "Italiano", "Scelga prego la vostra lingua"},
        {4, "[Zone_Japanese]", "日本語", "あなたの言語を選びなさい"},
        {6, "[Zone_Chinese]", "汉语", "請選擇您的語言"},
        {9, "[Zone_Russian]", "Русско", "Пожалуйста выберите ваш язык"},
    };
    const Zone general = ReadZone(TableText(), kGeneralZone);
    EXPECT_EQ(general.size(), 20U);
    ASSERT_EQ(LanguageZones().size(), std::size(kRows));
    size_t nLast = TableText().find(kGeneralZone);
    for (size_t n = 0; n < std::size(kRows); ++n) {
        const LanguageZone& zone = LanguageZones()[n];
        EXPECT_STREQ(zone.pszLabel, kRows[n].pszLabel);
        EXPECT_EQ(zone.dwCode, kRows[n].dwCode) << zone.pszLabel;
        EXPECT_EQ(general.at(static_cast<int>(zone.nNameSlot)), kRows[n].pszName) << zone.pszLabel;
        EXPECT_EQ(general.at(static_cast<int>(zone.nPromptSlot)), kRows[n].pszPrompt) << zone.pszLabel;
        const size_t nLabel = TableText().find(kRows[n].pszLabel);
        EXPECT_TRUE(nLabel != std::string::npos && nLabel > nLast) << zone.pszLabel;
        nLast = nLabel;
    }
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

// The languages that the Windows-1252 code page can show. The join of the zones checks the others against theirs.
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
