// What only the Linux half meets: signals, links, owners and modes, named pipes in the place of files, messages without a
// window.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>

#include "platform/files/files.h"
#include "platform/system/message_box.h"
#include "tests/support/wait.h"

namespace {

namespace fs = std::filesystem;

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

// A folder with one file in it.
class SavedFile : public testing::Test {
  protected:
    SavedFile() {
        fs::remove_all(m_folder);
        fs::create_directory(m_folder);
        Save("old");
    }
    FileError Save(const std::string& strText) { return SaveWholeFile(m_file, {strText.begin(), strText.end()}); }
    std::string Read() const { return (std::ostringstream() << std::ifstream(m_file).rdbuf()).str(); }
    struct stat Status() const {
        struct stat status = {};
        EXPECT_EQ(stat(m_file.c_str(), &status), 0);
        return status;
    }
    int64_t Files() const { return std::distance(fs::directory_iterator(m_folder), {}); }

    const fs::path m_folder = "saved";
    fs::path m_file = m_folder / "file";
};

TEST_F(SavedFile, TheFileBehindALinkIsReplacedWithItsOwnerAndMode) {
    ASSERT_EQ(chmod(m_file.c_str(), 0654), 0);
    static_cast<void>(!chown(m_file.c_str(), 4321, 1234));  // where the tests may
    const struct stat old = Status();
    std::ifstream reader(m_file);
    fs::create_symlink(fs::absolute(m_file), m_folder / "link");
    m_file = m_folder / "link";
    EXPECT_EQ(Save("new"), 0);
    EXPECT_EQ(Read(), "new");
    EXPECT_EQ((std::ostringstream() << reader.rdbuf()).str(), "old") << "who reads goes on with the old one";
    const struct stat now = Status();
    EXPECT_NE(now.st_ino, old.st_ino);
    EXPECT_EQ(std::tie(now.st_mode, now.st_uid, now.st_gid), std::tie(old.st_mode, old.st_uid, old.st_gid));
    EXPECT_TRUE(fs::is_symlink(m_file));
    EXPECT_EQ(Files(), 2);
}

TEST_F(SavedFile, WithoutRoomTheOldOneStaysWhole) {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlimit small = {4, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const FileError nError = Save("longer");
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(nError, EFBIG);
    EXPECT_EQ(Read(), "old");
    EXPECT_EQ(Files(), 1);
}

TEST_F(SavedFile, WhereNoSecondFileCanBeTheOldOneIsWrittenTo) {
    m_file = m_folder / std::string(255, 'x');  // no longer name is allowed
    for (const char* const pszText : {"first", "second"}) {
        EXPECT_EQ(Save(pszText), 0);
        EXPECT_EQ(Read(), pszText);
    }
    fs::create_symlink("target", m_folder / "link");
    m_file = m_folder / "link";
    EXPECT_EQ(Save("through"), 0);
    m_file = m_folder / "target";
    EXPECT_EQ(Read(), "through");
    EXPECT_EQ(Files(), 4);
}

TEST(MessageBox, WithoutAUserItIsOneLineAndYes) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(ShowMessage({"first\r\n\r\n\tsecond\n", "", MessageIcon::Error, MessageButtons::Ok}));
    EXPECT_TRUE(ShowMessage({"load?", "two\r\nlines", MessageIcon::Question, MessageButtons::YesNo}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "first second\ntwo lines: load? (answered with Yes)\n");
}

}  // namespace
