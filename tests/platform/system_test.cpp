#include <gmock/gmock.h>

#include <filesystem>
#include <string>

#include "platform/system/code_page.h"
#include "platform/system/message_box.h"
#include "platform/system/process.h"

namespace {

using testing::AnyOf;
using testing::EndsWith;
using testing::Not;

std::string Ansi(std::u16string_view strWide) {
    std::string strAnsi = "what was there before";
    EXPECT_TRUE(WideToAnsi(strWide, &strAnsi));
    return strAnsi;
}

// Both systems convert to Windows-1252 here.
TEST(CodePage, ShowsWesternTextAndMarksTheRest) {
    EXPECT_EQ(Ansi(u""), "");
    EXPECT_EQ(Ansi(u"[5]\tW\r\n\u00C4\u00DF\u00BF\u20AC\u2013\u0178"), "[5]\tW\r\n\xC4\xDF\xBF\x80\x96\x9F");
    EXPECT_EQ(Ansi(u"\u0081\u008D\u008F\u0090\u009D"), "\x81\x8D\x8F\x90\x9D") << "undefined: their control characters";
    EXPECT_EQ(Ansi(u"\uFEFFz\u65E5\u672C\u042FzzZ\u0080\u0099"), "\xBFz\xBF\xBF\xBFzzZ\xBF\xBF");
    const char16_t szHalves[] = {u'x', 0xDC00, 0xD800, u'y', 0xD83D, 0xDE00, 0xD800, 0, u'z'};
    EXPECT_EQ(Ansi({szHalves, 9}), std::string("x\xBF\xBFy\xBF\xBF\xBF\0z", 9)) << "each for itself";
    EXPECT_EQ(Ansi(std::u16string(300000, u'\u00E9')), std::string(300000, '\xE9'));
    EXPECT_FALSE(IsLeadByte('\x83'));
}

TEST(MessageBox, HandlerSeesTheMessageAndAnswers) {
    static Message shown;
    SetMessageHandler([](const Message& message) {
        shown = message;
        return message.buttons == MessageButtons::Ok;
    });
    EXPECT_TRUE(ShowMessage({"no memory", "", MessageIcon::Error, MessageButtons::Ok}));
    EXPECT_FALSE(ShowMessage({"Load anyway?", "caption", MessageIcon::Question, MessageButtons::YesNo}));
    SetMessageHandler(nullptr);
    EXPECT_EQ(shown.strCaption + shown.strText, "captionLoad anyway?");
}

TEST(Process, ErrorTextsAreOneLine) {
    for (const int32_t nError : {2, 5, 13, 98, 10048, 99999, -1}) {
        EXPECT_THAT(SystemErrorText(nError), Not(AnyOf("", EndsWith("\n"), EndsWith("\r"), EndsWith(" ")))) << nError;
    }
    EXPECT_NE(SystemErrorText(2), SystemErrorText(5));
}

TEST(Process, TheModulePathIsThisProgram) {
    const std::filesystem::path path = ModulePath();
    EXPECT_TRUE(path.is_absolute() && std::filesystem::exists(path) && path.stem() == "platform_test") << path;
}

}  // namespace
