#include "log/log_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

#include "platform/threads/threads.h"
#include "tests/support/failing_new.h"
#include "tests/support/wait.h"

namespace {

namespace fs = std::filesystem;

class LogWriter : public testing::Test {
  protected:
    LogWriter() {
        fs::remove_all(m_folder);
        fs::create_directories(m_folder);
        m_settings.logFilePath.Set(m_path.string());
        m_settings.autoLogEnabled = 1;
    }
    ~LogWriter() override {
        End();
        fs::remove_all(m_folder);
        ReleaseParkedThreads();
    }

    void Start() { ASSERT_TRUE(m_writer.Start(&m_nThreads)); }
    // From here on nothing is written.
    void End() {
        EXPECT_TRUE(WaitFor([this] { return m_writer.End(10); }));
    }
    void Queue(const std::string& strText) {
        auto pEntry = std::make_unique<LogEntry>();
        pEntry->strText = strText;
        m_writer.Queue().Append(std::move(pEntry));
    }
    // A tick of the window's timer, and a writer that lives until it has served it.
    void WriteBatch() {
        Start();
        m_writer.RequestFlush();
        EXPECT_TRUE(WaitFor([this] { return m_writer.Queue().IsEmpty(); }));
        End();
    }
    // Time in which the thread looks at its flags; on a machine that is too busy for it, less is seen and nothing fails.
    static void LetItPoll() { Sleep(250); }
    std::string File() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    CWatchdog m_watchdog;
    // One folder a test process: builds run side by side.
    const fs::path m_folder = fs::absolute("log_writer_test_files");
    const fs::path m_path = m_folder / "zelkor.log";
    LogSettings m_settings;
    std::atomic<int32_t> m_nThreads = 0;
    CLogWriter m_writer{m_settings};
};

}  // namespace

TEST_F(LogWriter, BatchesFollowEachOtherWithALineEndAheadOfEachEntry) {
    std::ofstream(m_path, std::ios::binary) << "old";
    std::ifstream otherReader(m_path, std::ios::binary);
    Queue("first");
    Queue("second");
    WriteBatch();
    EXPECT_EQ(File(), "old\r\nfirst\r\nsecond");
    Queue("");
    Queue("third");
    WriteBatch();
    EXPECT_EQ(File(), "old\r\nfirst\r\nsecond\r\n\r\nthird");
    EXPECT_EQ(m_nThreads, 2) << "an end is not taken off";
}

TEST_F(LogWriter, ABatchThatCannotBeWrittenIsDroppedAndTheNextTriesAgain) {
    for (const fs::path& path : {m_folder / "missing" / "zelkor.log", fs::path()}) {
        m_settings.logFilePath.Set(path.string());
        Queue("lost");
        WriteBatch();
    }
    m_settings.logFilePath.Set(m_path.string());
    Queue(std::string(777, 'x'));
    FailNextAllocationOf(777 + 2 + 1);
    WriteBatch();
    FailNextAllocationOf(0);
    EXPECT_FALSE(fs::exists(m_path));
    Queue("kept");
    WriteBatch();
    EXPECT_EQ(File(), "\r\nkept");
    EXPECT_FALSE(fs::exists(m_folder / "missing"));
}

TEST_F(LogWriter, WritesOnlyWhenAskedAndOnlyWhileLoggingIsOn) {
    Start();
    m_writer.RequestFlush();  // with an empty queue it asks for nothing
    Queue("entry");
    LetItPoll();
    m_settings.autoLogEnabled = 0;
    m_writer.RequestFlush();
    LetItPoll();
    EXPECT_FALSE(m_writer.Queue().IsEmpty()) << "what logging left behind waits for it to come back";
    m_settings.autoLogEnabled = 1;
    EXPECT_TRUE(WaitFor([this] { return File() == "\r\nentry"; })) << "the request stood";
}

TEST_F(LogWriter, EndsWithoutALastFlushAndForgetsTheRequest) {
    Start();
    Queue("left");
    LetItPoll();
    End();
    m_settings.autoLogEnabled = 0;
    Start();
    m_writer.RequestFlush();
    End();
    m_settings.autoLogEnabled = 1;
    Start();
    LetItPoll();
    EXPECT_FALSE(m_writer.Queue().IsEmpty());
    EXPECT_FALSE(fs::exists(m_path));
}

TEST_F(LogWriter, WithoutAThreadNothingCountsAndTheEndWaitsForNobody) {
    FailThreadStartsAfter(0);
    EXPECT_FALSE(m_writer.Start(&m_nThreads));
    FailThreadStartsAfter(-1);
    EXPECT_EQ(m_nThreads, 0);
    EXPECT_TRUE(m_writer.End(0));
}

TEST_F(LogWriter, EntriesOfManyThreadsArriveWholeAndInTheirOrder) {
    constexpr int kThreads = 4;
    constexpr int kEntries = 500;
    Start();
    std::vector<std::thread> threads;
    for (int nThread = 0; nThread < kThreads; ++nThread) {
        threads.emplace_back([this, nThread] {
            for (int n = 0; n < kEntries; ++n) {
                Queue(std::string(1, static_cast<char>('a' + nThread)) + std::to_string(n));
                m_writer.RequestFlush();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(WaitFor([this] { return m_writer.Queue().IsEmpty(); }));
    End();
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

TEST(LogFlushPeriod, StaysWithinWhatATimerTakes) {
    // 4294968 times a thousand is 704 in 32 bits.
    const std::pair<uint32_t, uint32_t> periods[] = {{0, 100},
                                                     {1, 1000},
                                                     {10, 10000},
                                                     {2147483, 2147483000},
                                                     {2147484, 0x7FFFFFFF},
                                                     {4294968, 0x7FFFFFFF},
                                                     {0xFFFFFFFF, 0x7FFFFFFF}};
    for (const auto& [nSeconds, nPeriodMs] : periods) {
        LogSettings settings;
        settings.logIntervalSeconds = nSeconds;
        EXPECT_EQ(LogFlushPeriodMs(settings), nPeriodMs) << nSeconds;
    }
}
