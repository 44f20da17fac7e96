#include "platform/system/code_page.h"

#include <gtest/gtest.h>

namespace {

std::string Ansi(std::u16string_view strWide) {
    std::string strAnsi = "what was there before";
    EXPECT_TRUE(WideToAnsi(strWide, &strAnsi));
    return strAnsi;
}

// Both systems convert to Windows-1252 here.
TEST(CodePage, ShowsWesternTextAndMarksTheRest) {
    EXPECT_EQ(Ansi(u""), "");
    EXPECT_EQ(Ansi(u"[5]\tWindows\r\n"), "[5]\tWindows\r\n");
    EXPECT_EQ(Ansi(u"\u00C4\u00DF\u00BF\u20AC\u2013\u0178"), "\xC4\xDF\xBF\x80\x96\x9F");
    EXPECT_EQ(Ansi(u"a\u65E5\u672C\u042FzzZ"), "a\xBF\xBF\xBFzzZ");
    EXPECT_EQ(Ansi(u"\uFEFF\r\n"), "\xBF\r\n");
    EXPECT_EQ(Ansi(std::u16string_view(u"a\0b", 3)), std::string("a\0b", 3));
}

TEST(CodePage, UndefinedBytesStandForTheirControlCharacters) {
    EXPECT_EQ(Ansi(u"\u0081\u008D\u008F\u0090\u009D"), "\x81\x8D\x8F\x90\x9D");
    EXPECT_EQ(Ansi(u"\u0080\u0099"), "\xBF\xBF");
}

TEST(CodePage, UnitsBeyondTheBasicPlaneAreMarkedOneByOne) {
    EXPECT_EQ(Ansi(u"a\U0001F600b"),
              "a\xBF\xBF"
              "b");
    const char16_t szHalves[] = {u'x', 0xDC00, 0xD800, u'y', 0xD800, 0};
    EXPECT_EQ(Ansi(szHalves), "x\xBF\xBFy\xBF");
}

TEST(CodePage, LongTextIsWhole) {
    std::u16string strWide(300000, u'\u00E9');
    EXPECT_EQ(Ansi(strWide), std::string(300000, '\xE9'));
    EXPECT_FALSE(IsLeadByte('\x83'));
}

}  // namespace
