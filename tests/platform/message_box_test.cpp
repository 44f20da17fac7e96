#include "platform/system/message_box.h"

#include <gtest/gtest.h>

namespace {

Message g_shown;

bool AnswerNo(const Message& message) {
    g_shown = message;
    return false;
}

TEST(MessageBox, HandlerSeesTheMessageAndAnswers) {
    SetMessageHandler(AnswerNo);
    const bool bAnswer = ShowMessage({"Load anyway?", "caption", MessageIcon::Question, MessageButtons::YesNo});
    SetMessageHandler(nullptr);
    EXPECT_FALSE(bAnswer);
    EXPECT_EQ(g_shown.strText, "Load anyway?");
    EXPECT_EQ(g_shown.strCaption, "caption");
    EXPECT_EQ(g_shown.buttons, MessageButtons::YesNo);
}

}  // namespace
