// What only the Linux half meets: signals, named pipes in the place of files, messages without a window.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <filesystem>

#include "platform/files/files.h"
#include "platform/system/message_box.h"
#include "tests/support/wait.h"

namespace {

// While all the tests of this program run a signal comes every ten milliseconds and ends whatever call blocks: none of
// ours may take that for a failure, or for the end of its work.
class CSignals : public testing::Environment {
    void SetUp() override {
        struct sigaction nothing = {};
        nothing.sa_handler = [](int) {};
        sigaction(SIGALRM, &nothing, nullptr);
        const itimerval often = {{0, 10000}, {0, 10000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
};
const auto* const g_pSignals = testing::AddGlobalTestEnvironment(new CSignals);

// An open that waited for the other end could not be ended by the end signals.
TEST(NamedPipe, WithoutItsOtherEndItReadsAsEmptyAndCannotBeWritten) {
    const CWatchdog watchdog;
    std::filesystem::remove("pipe");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    std::vector<uint8_t> data = {1};
    EXPECT_EQ(ReadWholeFile("pipe", &data), 0);
    EXPECT_TRUE(data.empty());
    EXPECT_NE(WriteWholeFile("pipe", {1, 2, 3}), 0);
    EXPECT_NE(AppendToFile("pipe", "x"), 0);
}

TEST(MessageBox, WithoutAUserItIsOneLineAndYes) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(ShowMessage({"first\r\n\r\n\tsecond\n", "", MessageIcon::Error, MessageButtons::Ok}));
    EXPECT_TRUE(ShowMessage({"load?", "two\r\nlines", MessageIcon::Question, MessageButtons::YesNo}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "first second\ntwo lines: load? (answered with Yes)\n");
}

}  // namespace
