// Named pipes in the place of files: an open that waited for the other end could not be ended by the end signals.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/files/files.h"

namespace {

class NamedPipe : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::remove(m_strPath);
        ASSERT_EQ(mkfifo(m_strPath.c_str(), 0600), 0);
    }
    void TearDown() override { std::filesystem::remove(m_strPath); }

    const std::string m_strPath = std::filesystem::absolute("files_posix_test_pipe").string();
};

TEST_F(NamedPipe, WithoutAWriterItReadsAsEmpty) {
    std::vector<uint8_t> data = {1};
    EXPECT_EQ(ReadWholeFile(m_strPath, &data), 0);
    EXPECT_TRUE(data.empty());
}

TEST_F(NamedPipe, WithoutAReaderItCannotBeWritten) {
    EXPECT_NE(WriteWholeFile(m_strPath, {1, 2, 3}), 0);
    EXPECT_NE(AppendToFile(m_strPath, "x"), 0);
}

}  // namespace
