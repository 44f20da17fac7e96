// The line format of a zone, through texts and tables that the tests make.
#include <gtest/gtest.h>

#include "language/language_parser.h"
#include "language/language_store.h"
#include "platform/system/code_page.h"
#include "tests/language/texts.h"
#include "tests/support/failing_new.h"

namespace {

Texts Parse(const std::string& strText) {
    TextTable table;
    ParseLanguageTexts(strText, 0, &table);
    return TextsOf(table);
}

Texts LoadZone(std::u16string_view strTable, const char* pszLabel = "[Zone_A]") {
    TextTable table;
    LoadLanguageZone(&table, pszLabel, Utf16Bytes(strTable));
    return TextsOf(table);
}

TEST(Parser, EntryFollowsALineEndAndSkipsOneCharacterBehindItsBracket) {
    EXPECT_EQ(Parse(""), Texts{});
    EXPECT_EQ(Parse("no entry at all"), Texts{});
    EXPECT_EQ(Parse("[0]\tzero\r\n[1]\tone\n[2]\ttwo\r\n[3]\tthree"), (Texts{{1, "one\n[2]\ttwo"}, {3, "three"}}));
    EXPECT_EQ(Parse("\r\n[1]\r\n[2]xtwo\r\n[3]\r\nthree\r\n[4]"), (Texts{{2, "two"}, {3, "\nthree"}}));
}

TEST(Parser, TextsMaySpanLinesAndOnlyTheVeryLastIsTrimmed) {
    EXPECT_EQ(Parse("\r\n[1]\tfirst line\r\nsecond\r\n \t\r\n[2]\t last \\t\r\n\r\n"),
              (Texts{{1, "first line\r\nsecond\r\n \t"}, {2, " last"}}));
}

TEST(Parser, EscapesAreReplacedAfterTheEntriesAreCut) {
    EXPECT_EQ(Parse("\r\n[1]\ta\\r\\n[2]\\tb\\\"c\\'d\r\n[3]\t~\\_x_/~ \\\\n \\"),
              (Texts{{1, "a\r\n[2]\tb\"c'd"}, {3, "~\\_x_/~ \\\n \\"}}));
}

TEST(Parser, SlotNumbers) {
    EXPECT_EQ(Parse("\r\n[x7]\tzero\r\n[ +5]\tfive\r\n[6 six]\tsix\r\n[1023]\tlast\r\n[1024]\tbeyond\r\n[-1]\tbelow"
                    "\r\n[4294967297]\twide\r\n[99999999999999999999999]\twider\r\n[8]\tearly\r\n[8]\tlate"),
              (Texts{{0, "zero"}, {5, "five"}, {6, "six"}, {8, "late"}, {1023, "last"}}));
}

TEST(Parser, LineWithoutANumberEndsTheParse) {
    for (const char* pszRest : {"[]\r\n[2]\ttwo", "[ \t]\r\n[2]\ttwo", "[Zone_B]\r\n[2]\ttwo", "[2\ttwo\r\n[3"}) {
        EXPECT_EQ(Parse(std::string("\r\n[1]\tone\r\n") + pszRest), (Texts{{1, "one"}})) << pszRest;
    }
}

TEST(Parser, SlotWithoutMemoryStaysEmptyAndTheOthersAreLoaded) {
    const std::string strText = "\r\n[1]\tone\r\n[2]\t" + std::string(776, 'x') + "\r\n[3]\tthree";
    FailNextAllocationOf(777);
    EXPECT_EQ(Parse(strText), (Texts{{1, "one"}, {3, "three"}}));
}

// The last unit of a table is its terminator, whatever it is.
TEST(Zone, HoldsItsOwnTextsOnly) {
    const char16_t szTable[] = u"\uFEFF\r\n[Zone_A]\r\n[1]\ta1\r\n[2]\t\r\n\r\n[Zone_B]\r\n[1]\tb1 \r\n[3]\tb3 \r\n";
    EXPECT_EQ(LoadZone(szTable), (Texts{{1, "a1"}, {2, "\r\n"}}));
    EXPECT_EQ(LoadZone(szTable, "[Zone_B]"), (Texts{{1, "b1 "}, {3, "b3"}}));
    EXPECT_EQ(LoadZone(szTable, "[zone_a]"), Texts{});
    EXPECT_EQ(LoadZone(u"\r\n[Zone_A]\r\n[1]\tabc"), (Texts{{1, "ab"}}));
    for (const char16_t* pszDamaged : {u"\r\n[Zone_A]\r\n[1", u"\n", u""}) EXPECT_EQ(LoadZone(pszDamaged), Texts{});
}

// Runs under a code page in which the second byte of a character can look like a backslash or a bracket.
TEST(MultiByteCodePage, SecondBytesAreNoEscapesAndNoBracketsAndTextsGrow) {
    if (!IsLeadByte('\x83')) GTEST_SKIP() << "the code page has no two-byte characters";
    EXPECT_EQ(LoadZone(u"\r\n[Zone_A]\r\n[7\u30BE]\tseven\r\n[1]\t\u30BDn\u8868r\u30BD\\nx\r\n"),
              (Texts{{7, "seven"}, {1, "\x83\x5Cn\x95\x5Cr\x83\x5C\nx"}}));
    const std::u16string strLong(5000, u'\u30BD');
    EXPECT_EQ(LoadZone(u"\r\n[Zone_A]\r\n[1]\t" + strLong + u"\r\n")[1].size(), 10000U);
}

}  // namespace
