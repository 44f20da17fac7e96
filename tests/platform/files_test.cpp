#include "platform/files/files.h"
#include "platform/system/process.h"
#include "tests/support/left_over.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/files/file_handle.h"

namespace {

using testing::AnyOf;
using testing::EndsWith;
using testing::Not;

class Files : public testing::Test {
  protected:
    Files() {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    ~Files() override { std::filesystem::remove_all(m_folder); }

    static std::vector<uint8_t> Bytes(const std::string& strText) { return {strText.begin(), strText.end()}; }
    std::string Path(const char* pszName) const { return (m_folder / pszName).string(); }
    void Write(const char* pszName, const std::string& strText) {
        EXPECT_EQ(WriteWholeFile(Path(pszName), Bytes(strText)), 0);
    }
    std::string Read(const char* pszName) {
        std::vector<uint8_t> data = Bytes("old");
        EXPECT_EQ(ReadWholeFile(Path(pszName), &data), 0);
        return {data.begin(), data.end()};
    }
    // A refusal has a code with a text, and leaves nothing in the output.
    void ExpectNoRead(const std::string& strPath) {
        std::vector<uint8_t> data = Bytes("old");
        const FileError nError = ReadWholeFile(strPath, &data);
        EXPECT_NE(nError, 0) << strPath;
        EXPECT_NE(SystemErrorText(nError), "") << nError;
        EXPECT_TRUE(data.empty()) << strPath;
    }

    const std::filesystem::path m_folder = std::filesystem::absolute("files_test_files");
};

TEST_F(Files, AFileHoldsWhatWasWrittenLast) {
    std::string strLong(3 * 65536 + 1, 'x');
    strLong[70000] = '\0';
    strLong[65535] = '\n';
    for (const std::string& strText : {strLong, std::string(65536, 'y'), std::string("a\r\nb\x1a"), std::string()}) {
        Write("file", strText);
        EXPECT_EQ(Read("file"), strText);
        EXPECT_EQ(FileSize(Path("file")), static_cast<int64_t>(strText.size()));
    }
}

TEST_F(Files, AppendingKeepsWhatIsThere) {
    EXPECT_EQ(AppendToFile(Path("log"), "\r\none"), 0);
    EXPECT_EQ(AppendToFile(Path("log"), ""), 0);
    const CFileHandle reader = CFileHandle::OpenToRead(Path("log"));
    EXPECT_EQ(AppendToFile(Path("log"), std::string("\r\ntwo\0", 6)), 0) << "open in another place";
    EXPECT_EQ(Read("log"), std::string("\r\none\r\ntwo\0", 11));
}

TEST_F(Files, AFolderAndAMissingFolderAreRefused) {
    ExpectNoRead(Path("missing"));
    ExpectNoRead(m_folder.string());
    ExpectNoRead("");
    for (const std::string& strPath : {m_folder.string(), Path("no/file"), std::string()}) {
        EXPECT_NE(WriteWholeFile(strPath, Bytes("x")), 0) << strPath;
        EXPECT_NE(AppendToFile(strPath, "x"), 0) << strPath;
    }
    EXPECT_FALSE(std::filesystem::exists(m_folder / "no"));
    EXPECT_EQ(FileSize(m_folder.string()), -1);
    EXPECT_EQ(FileSize(Path("missing")), 0);
}

TEST_F(Files, AFileAboveTheLimitIsRefused) {
    Write("large", "");
    std::filesystem::resize_file(m_folder / "large", 64 << 20);
    std::vector<uint8_t> data;
    EXPECT_EQ(ReadWholeFile(Path("large"), &data), 0);
    EXPECT_EQ(data.size(), size_t{64} << 20);
    std::filesystem::resize_file(m_folder / "large", (64 << 20) + 1);
    ExpectNoRead(Path("large"));
    EXPECT_EQ(FileSize(Path("large")), (64 << 20) + 1);
    if (std::filesystem::exists("/dev/zero")) ExpectNoRead("/dev/zero");
}

TEST_F(Files, AFullDiskIsTold) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no such device on this system";
    EXPECT_NE(WriteWholeFile("/dev/full", Bytes("x")), 0);
    EXPECT_NE(AppendToFile("/dev/full", "x"), 0);
}

TEST_F(Files, AHandleIsClosedOnceByItsLastOwner) {
    constexpr int32_t kRounds = 20;
    Write("file", "x");
    const int32_t nBefore = CountHandles();
    for (int32_t nRound = 0; nRound < kRounds; ++nRound) {
        CFileHandle first = CFileHandle::OpenToRead(Path("file"));
        CFileHandle second = CFileHandle::OpenToRead(Path("file"));
        first = std::move(second);
        EXPECT_FALSE(second.IsOpen());
        EXPECT_EQ(second.Close(), 0) << "closing nothing";
        CFileHandle& same = first;
        first = std::move(same);
        const CFileHandle third(std::move(first));
        EXPECT_FALSE(first.IsOpen());
        char ch = 0;
        EXPECT_EQ(third.Read(&ch, 1), 1);
    }
    // Wine keeps a few of its own between two calls; a fault here would leave one a round.
    EXPECT_LT(CountHandles(), nBefore + kRounds);
}

TEST(System, ErrorTextsAreOneLine) {
    for (const int32_t nError : {2, 5, 13, 98, 10048, 99999, -1}) {
        EXPECT_THAT(SystemErrorText(nError), Not(AnyOf("", EndsWith("\n"), EndsWith("\r"), EndsWith(" ")))) << nError;
    }
    EXPECT_NE(SystemErrorText(2), SystemErrorText(5));
}

TEST(System, TheModulePathIsThisProgram) {
    const std::filesystem::path path = ModulePath();
    EXPECT_TRUE(path.is_absolute());
    EXPECT_EQ(path.stem(), "platform_test");
    EXPECT_GT(FileSize(path.string()), 0);
}

}  // namespace
