#include <gtest/gtest.h>

#include "platform/system/message_box.h"

namespace {

// Without windows a message is one line of standard error, and a question has a fixed answer.
TEST(MessageBox, WithoutAUserItIsOneLineAndYes) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(ShowMessage({"first\r\n\r\n\tsecond\n", "", MessageIcon::Error, MessageButtons::Ok}));
    EXPECT_TRUE(ShowMessage({"load?", "two\r\nlines", MessageIcon::Question, MessageButtons::YesNo}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "first second\ntwo lines: load? (answered with Yes)\n");
}

}  // namespace
