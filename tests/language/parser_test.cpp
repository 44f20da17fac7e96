// The line format of a zone, through tables that the tests make.
#include <gmock/gmock.h>

#include "language/language_parser.h"
#include "language/language_store.h"
#include "platform/system/code_page.h"
#include "tests/language/language_fixture.h"
#include "tests/support/failing_new.h"

namespace {

TextTable Parse(const std::string& strText) {
    TextTable table;
    ParseLanguageTexts(strText, 0, &table);
    return table;
}

TextTable LoadZone(std::u16string_view strTable, const char* pszLabel) {
    TextTable table;
    LoadLanguageZone(&table, pszLabel, Utf16Bytes(strTable));
    return table;
}

size_t FilledCount(const TextTable& table) {
    size_t nFilled = 0;
    for (uint32_t nSlot = 0; nSlot < kSlotCount; ++nSlot) nFilled += table.Text(nSlot).empty() ? 0 : 1;
    return nFilled;
}

TEST(Parser, EntryMustFollowALineEnd) {
    const TextTable table = Parse("[0]\tzero\r\n[1]\tone\n[2]\ttwo\r\n[3]\tthree");
    EXPECT_EQ(table.Text(0), "");
    EXPECT_EQ(table.Text(1), "one\n[2]\ttwo");
    EXPECT_EQ(table.Text(3), "three");
    EXPECT_EQ(FilledCount(Parse("no entry at all")), 0U);
    EXPECT_EQ(FilledCount(Parse("")), 0U);
}

TEST(Parser, OneCharacterBehindTheBracketIsSkippedWhateverItIs) {
    const TextTable table = Parse("\r\n[1]\r\n[2]xtwo\r\n[3]\r\nthree\r\n[4]");
    EXPECT_EQ(table.Text(1), "");
    EXPECT_EQ(table.Text(2), "two");
    EXPECT_EQ(table.Text(3), "\nthree");
    EXPECT_EQ(table.Text(4), "");
}

TEST(Parser, TextsMaySpanLinesAndOnlyTheVeryLastIsTrimmed) {
    const TextTable table = Parse("\r\n[1]\tfirst line\r\nsecond\r\n \t\r\n[2]\t last \\t\r\n\r\n");
    EXPECT_EQ(table.Text(1), "first line\r\nsecond\r\n \t");
    EXPECT_EQ(table.Text(2), " last");
}

TEST(Parser, EscapesAreReplacedAfterTheEntriesAreCut) {
    const TextTable table = Parse("\r\n[1]\ta\\r\\n[2]\\tb\\\"c\\'d\r\n[3]\t~\\_x_/~ \\\\n \\");
    EXPECT_EQ(table.Text(1), "a\r\n[2]\tb\"c'd");
    EXPECT_EQ(table.Text(2), "");
    EXPECT_EQ(table.Text(3), "~\\_x_/~ \\\n \\");
}

TEST(Parser, SlotNumbers) {
    const TextTable table = Parse(
        "\r\n[x7]\tzero\r\n[ +5]\tfive\r\n[6 six]\tsix\r\n[1023]\tlast\r\n[1024]\tbeyond\r\n[-1]\tbelow"
        "\r\n[4294967297]\twide\r\n[99999999999999999999999]\twider\r\n[8]\tearly\r\n[8]\tlate");
    EXPECT_EQ(table.Text(0), "zero");
    EXPECT_EQ(table.Text(5), "five");
    EXPECT_EQ(table.Text(6), "six");
    EXPECT_EQ(table.Text(8), "late");
    EXPECT_EQ(table.Text(1023), "last");
    EXPECT_EQ(table.Text(1024), "");
    EXPECT_EQ(FilledCount(table), 5U);
}

TEST(Parser, LineWithoutANumberEndsTheParse) {
    for (const char* const pszEnd : {"[]", "[ \t]", "[Zone_Deutsch]"}) {
        const TextTable table = Parse(std::string("\r\n[1]\tone\r\n") + pszEnd + "\r\n[2]\ttwo");
        EXPECT_EQ(table.Text(1), "one") << pszEnd;
        EXPECT_EQ(FilledCount(table), 1U) << pszEnd;
    }
    EXPECT_EQ(FilledCount(Parse("\r\n[1]\tone\r\n[2\ttwo\r\n[3")), 1U);
}

TEST(Parser, SlotWithoutMemoryStaysEmptyAndTheOthersAreLoaded) {
    const std::string strLong(776, 'x');
    const std::string strText = "\r\n[1]\tone\r\n[2]\t" + strLong + "\r\n[3]\tthree";
    FailNextAllocationOf(strLong.size() + 1);
    const TextTable table = Parse(strText);
    EXPECT_EQ(table.Text(1), "one");
    EXPECT_EQ(table.Text(2), "");
    EXPECT_EQ(table.Text(3), "three");
}

TEST(Zone, HoldsItsOwnTextsOnly) {
    const char16_t szTable[] = u"\uFEFF\r\n[Zone_A]\r\n[1]\ta1\r\n[2]\t\r\n\r\n[Zone_B]\r\n[1]\tb1 \r\n[3]\tb3 \r\n";
    const TextTable a = LoadZone(szTable, "[Zone_A]");
    EXPECT_EQ(a.Text(1), "a1");
    EXPECT_EQ(a.Text(2), "\r\n");
    EXPECT_EQ(FilledCount(a), 2U);
    const TextTable b = LoadZone(szTable, "[Zone_B]");
    EXPECT_EQ(b.Text(1), "b1 ");
    EXPECT_EQ(b.Text(3), "b3");
    EXPECT_EQ(FilledCount(b), 2U);
}

TEST(Zone, UnknownLabelAndDamagedTablesGiveNothing) {
    EXPECT_EQ(FilledCount(LoadZone(u"\r\n[Zone_A]\r\n[1]\ta1\r\n", "[zone_a]")), 0U);
    EXPECT_EQ(FilledCount(LoadZone(u"\r\n[Zone_A]\r\n[1", "[Zone_A]")), 0U);
    EXPECT_EQ(FilledCount(LoadZone(u"\n", "[Zone_A]")), 0U);
    EXPECT_EQ(FilledCount(LoadZone(u"", "[Zone_A]")), 0U);
}

// The last unit of the table is its terminator, whatever it is.
TEST(Zone, LastUnitIsNoText) {
    EXPECT_EQ(LoadZone(u"\r\n[Zone_A]\r\n[1]\tabc", "[Zone_A]").Text(1), "ab");
}

// Runs under a code page in which the second byte of a character can look like a backslash or a bracket.
TEST(MultiByteCodePage, SecondBytesAreNoEscapesAndNoBrackets) {
    if (!IsLeadByte('\x83')) GTEST_SKIP() << "the code page has no two-byte characters";
    const TextTable table =
        LoadZone(u"\r\n[Zone_A]\r\n[7\u30BE]\tseven\r\n[1]\t\u30BDn\u8868r\u30BD\\nx\r\n", "[Zone_A]");
    EXPECT_EQ(table.Text(7), "seven");
    EXPECT_EQ(table.Text(1), "\x83\x5Cn\x95\x5Cr\x83\x5C\nx");
}

TEST(MultiByteCodePage, ConversionMayBeLongerThanTheUnits) {
    if (!IsLeadByte('\x83')) GTEST_SKIP() << "the code page has no two-byte characters";
    std::u16string strTable = u"\r\n[Zone_A]\r\n[1]\t";
    strTable.append(5000, u'\u30BD');
    EXPECT_EQ(LoadZone(strTable + u"\r\n", "[Zone_A]").Text(1).size(), 10000U);
}

}  // namespace
