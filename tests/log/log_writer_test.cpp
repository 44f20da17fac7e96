#include "log/log_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "platform/threads/threads.h"
#include "shell/app_settings.h"
#include "tests/support/wait.h"

namespace {

class LogWriter : public testing::Test {
  protected:
    LogWriter() {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
        m_settings.logQueue = &m_queue;
        m_settings.logFilePath.Set(m_path.string());
        m_settings.autoLogEnabled = 1;
    }
    ~LogWriter() override {
        EndWriter();
        std::filesystem::remove_all(m_folder);
        ReleaseParkedThreads();
    }

    void Queue(const std::string& strText) {
        auto pEntry = std::make_unique<LogEntry>();
        pEntry->strText = strText;
        m_queue.Append(std::move(pEntry));
    }
    std::string File() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void StartWriter() {
        m_bWriter = true;
        ASSERT_TRUE(AfxBeginThread(LogWriterThread, &m_settings));
    }
    void EndWriter() {
        if (!m_bWriter) return;
        m_bWriter = false;
        m_settings.logWriterStop = 1;
        EXPECT_TRUE(WaitFor([this] { return m_settings.logWriterStop == 0; }));
    }
    // What the window's timer does, until the writer has come.
    void Flush() {
        RequestLogFlush(&m_settings);
        EXPECT_TRUE(WaitFor([this] { return m_queue.IsEmpty() && m_settings.logFlushRequested == 0; }));
    }

    CWatchdog m_watchdog;
    // One folder a test process: builds run side by side.
    const std::filesystem::path m_folder = std::filesystem::absolute("log_writer_test_files");
    const std::filesystem::path m_path = m_folder / "zelkor.log";
    LogQueue m_queue;
    AppSettings m_settings;
    bool m_bWriter = false;
};

}  // namespace

TEST_F(LogWriter, BatchesFollowEachOtherWithALineEndAheadOfEachEntry) {
    Queue("first");
    Queue("second");
    EXPECT_TRUE(WriteLogBatch(&m_settings));
    EXPECT_EQ(File(), "\r\nfirst\r\nsecond");
    Queue("");
    Queue("third");
    EXPECT_TRUE(WriteLogBatch(&m_settings));
    EXPECT_EQ(File(), "\r\nfirst\r\nsecond\r\n\r\nthird");
}

TEST_F(LogWriter, ExtendsAFileThatIsThereAndThatAnotherReads) {
    std::ofstream(m_path, std::ios::binary) << "old";
    std::ifstream reader(m_path, std::ios::binary);
    Queue("new");
    EXPECT_TRUE(WriteLogBatch(&m_settings));
    EXPECT_EQ(File(), "old\r\nnew");
}

TEST_F(LogWriter, ABatchThatCannotBeWrittenIsDroppedAndTheNextTriesAgain) {
    m_settings.logFilePath.Set((m_folder / "missing" / "zelkor.log").string());
    Queue("lost");
    EXPECT_FALSE(WriteLogBatch(&m_settings));
    m_settings.logFilePath.Set("");
    Queue("lost too");
    EXPECT_FALSE(WriteLogBatch(&m_settings));
    m_settings.logFilePath.Set(m_path.string());
    Queue("kept");
    EXPECT_TRUE(WriteLogBatch(&m_settings));
    EXPECT_EQ(File(), "\r\nkept");
    EXPECT_FALSE(std::filesystem::exists(m_folder / "missing"));
}

TEST_F(LogWriter, TheThreadWritesOnlyWhenAskedAndOnlyWhileLoggingIsOn) {
    StartWriter();
    Queue("one");
    Flush();
    EXPECT_TRUE(WaitFor([this] { return File() == "\r\none"; }));
    m_settings.autoLogEnabled = 0;
    Queue("two");
    RequestLogFlush(&m_settings);
    EndWriter();
    EXPECT_EQ(File(), "\r\none") << "no last flush";
    EXPECT_FALSE(m_queue.IsEmpty()) << "what logging left behind waits for it to come back";
    EXPECT_EQ(m_settings.logFlushRequested, 1);
    m_settings.autoLogEnabled = 1;
    StartWriter();
    EXPECT_TRUE(WaitFor([this] { return File() == "\r\none\r\ntwo"; }));
}

TEST_F(LogWriter, AnEmptyQueueAsksForNothingAndCausesNoFile) {
    RequestLogFlush(&m_settings);
    EXPECT_EQ(m_settings.logFlushRequested, 0);
    EXPECT_FALSE(WriteLogBatch(&m_settings));
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(LogWriter, EntriesOfManyThreadsArriveWholeAndInTheirOrder) {
    constexpr int kThreads = 4;
    constexpr int kEntries = 500;
    StartWriter();
    std::vector<std::thread> threads;
    for (int nThread = 0; nThread < kThreads; ++nThread) {
        threads.emplace_back([this, nThread] {
            for (int n = 0; n < kEntries; ++n) {
                Queue(std::string(1, static_cast<char>('a' + nThread)) + std::to_string(n));
                RequestLogFlush(&m_settings);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    Flush();
    EndWriter();
    std::vector<int> next(kThreads, 0);
    const std::string strFile = File();
    for (size_t nAt = strFile.find("\r\n"); nAt != std::string::npos; nAt = strFile.find("\r\n", nAt + 2)) {
        const auto nThread = static_cast<size_t>(strFile[nAt + 2] - 'a');
        ASSERT_LT(nThread, next.size());
        ASSERT_EQ(std::stoi(strFile.substr(nAt + 3)), next[nThread]++);
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kEntries));
}

TEST(LogQueue, AFloodOfEntriesIsFreedWithoutDeepRecursion) {
    LogQueue queue;
    for (int n = 0; n < 500'000; ++n) queue.Append(std::make_unique<LogEntry>());
    EXPECT_FALSE(queue.IsEmpty());
}
