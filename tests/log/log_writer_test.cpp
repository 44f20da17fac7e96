#include "log/log_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "platform/files/files.h"
#include "platform/threads/threads_testing.h"
#include "tests/support/failing_new.h"
#include "tests/support/wait.h"

namespace {

namespace fs = std::filesystem;

class LogWriter : public testing::Test {
  protected:
    LogWriter() {
        fs::remove(m_path);
        m_settings.logFilePath.Set(m_path.string());
        m_settings.autoLogEnabled = 1;
    }
    ~LogWriter() override {
        End();
        fs::remove(m_path);
        ReleaseParkedThreads();
    }

    void Start() { ASSERT_TRUE(m_writer.Start(&m_nThreads)); }
    // From here on nothing is written.
    void End() {
        EXPECT_TRUE(WaitFor([this] { return m_writer.End(10); }));
    }
    void Queue(const std::string& strText) {
        m_writer.Queue().Append(std::make_unique<LogEntry>(LogEntry{strText, nullptr}));
    }
    // A run of the writer that has this to write, and one tick of the timer.
    void Write(const std::string& strText) {
        Queue(strText);
        Start();
        m_writer.RequestFlush();
        EXPECT_TRUE(WaitFor([this] { return m_writer.Queue().IsEmpty(); }));
        End();
    }
    // Time in which the thread looks at its flags; on a machine too busy for it, less is seen and nothing fails.
    static void LetItPoll() { Sleep(250); }
    std::string File() const { return (std::ostringstream() << std::ifstream(m_path, std::ios::binary).rdbuf()).str(); }

    CWatchdog m_watchdog;
    const fs::path m_path = fs::absolute("log_writer_test.log");  // in the folder of the build: builds run side by side
    LogSettings m_settings;
    std::atomic<int32_t> m_nThreads = 0;
    CLogWriter m_writer{m_settings};
};

}  // namespace

TEST_F(LogWriter, BatchesFollowEachOtherWithALineEndAheadOfEachEntry) {
    std::ofstream(m_path, std::ios::binary) << "old";
    const std::ifstream otherReader(m_path, std::ios::binary);
    Queue("first");
    Write("second");
    EXPECT_EQ(File(), "old\r\nfirst\r\nsecond");
    Queue("");
    Write("third");
    EXPECT_EQ(File(), "old\r\nfirst\r\nsecond\r\n\r\nthird");
    EXPECT_EQ(m_nThreads, 2) << "an end is not taken off";
}

TEST_F(LogWriter, ABatchThatCannotBeWrittenIsDroppedAndTheNextTriesAgain) {
    for (const fs::path& path : {m_path / "in a missing folder", fs::path(), m_path}) {
        m_settings.logFilePath.Set(path.string());
        FailNextAllocationOf(path == m_path ? 777 + 2 + 1 : 0);
        Write(std::string(777, 'x'));
    }
    FailNextAllocationOf(0);
    EXPECT_FALSE(fs::exists(m_path));
    Write("kept");
    EXPECT_EQ(File(), "\r\nkept");
}

TEST_F(LogWriter, WritesOnlyWhenAskedAndOnlyWhileLoggingIsOn) {
    Start();
    m_writer.RequestFlush();  // with an empty queue it asks for nothing
    Queue("entry");
    LetItPoll();
    m_settings.autoLogEnabled = 0;
    m_writer.RequestFlush();
    End();
    m_settings.autoLogEnabled = 1;
    Start();
    LetItPoll();
    EXPECT_FALSE(fs::exists(m_path)) << "a last flush, or a request from before";
    m_settings.autoLogEnabled = 0;
    m_writer.RequestFlush();
    LetItPoll();
    EXPECT_FALSE(m_writer.Queue().IsEmpty()) << "what logging left behind waits for it to come back";
    m_settings.autoLogEnabled = 1;
    EXPECT_TRUE(WaitFor([this] { return File() == "\r\nentry"; })) << "the request stood";
    Queue("next");
    LetItPoll();
    EXPECT_FALSE(m_writer.Queue().IsEmpty()) << "one request, one batch";
}

TEST_F(LogWriter, WhatTheQueueHasNoRoomForIsCountedInTheFile) {
    const std::string strHalf(kLogQueueLimit / 2 - sizeof(LogEntry), 'x');
    const std::string strFull = "\r\n" + strHalf + "\r\n" + strHalf;
    const std::string strMissing = "\r\nLog entries missing here, since the queue of the log was full: ";
    const auto fill = [&] {
        for (const auto& strText : {strHalf, strHalf}) Queue(strText);
    };
    fill();
    Write("");  // no room for an empty one either
    EXPECT_TRUE(File() == strFull + strMissing + "1") << FileSize(m_path.string());
    Queue("a");
    fill();
    m_settings.logFilePath.Set((m_path / "in a missing folder").string());
    Write("");
    m_settings.logFilePath.Set(m_path.string());
    fs::remove(m_path);
    Write("b");
    Write("c");
    EXPECT_EQ(File(), "\r\nb" + strMissing + "2\r\nc") << "told once, as soon as there is a file to tell it to";
}

TEST_F(LogWriter, OnlyAnEndThatIsAskedToFlushesAndOnlyWhileLoggingIsOn) {
    for (const auto& [bLogging, strFile] : {std::pair{false, ""}, {true, "\r\nfirst\r\nlast"}}) {
        m_settings.autoLogEnabled = bLogging ? 1 : 0;
        Start();
        Queue(bLogging ? "last" : "first");
        EXPECT_TRUE(WaitFor([this] { return m_writer.EndWithLastBatch(10); }));
        EXPECT_EQ(File(), strFile);
    }
    Start();
    Queue("lost");
    End();
    EXPECT_EQ(File(), "\r\nfirst\r\nlast");
}

TEST_F(LogWriter, WithoutAThreadNothingCountsAndTheEndWaitsForNobody) {
    FailThreadStartsAfter(0);
    EXPECT_FALSE(m_writer.Start(&m_nThreads));
    FailThreadStartsAfter(-1);
    EXPECT_EQ(m_nThreads, 0);
    EXPECT_TRUE(m_writer.End(0));
}

TEST_F(LogWriter, EntriesOfManyThreadsArriveWholeAndInTheirOrder) {
    Start();
    std::vector<std::thread> threads;
    for (const char chThread : {'a', 'b', 'c', 'd'}) {
        threads.emplace_back([this, chThread] {
            for (int n = 0; n < 500; ++n) {
                Queue(chThread + std::to_string(n));
                m_writer.RequestFlush();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(WaitFor([this] { return m_writer.Queue().IsEmpty(); }));
    End();
    std::istringstream lines(File());
    std::map<char, int> next;
    char chThread = 0;
    for (int nNumber = 0; lines >> chThread >> nNumber;) ASSERT_EQ(nNumber, next[chThread]++);
    EXPECT_EQ(next, (std::map<char, int>{{'a', 500}, {'b', 500}, {'c', 500}, {'d', 500}}));
}

TEST_F(LogWriter, AFloodOfEntriesIsFreedWithoutDeepRecursion) {
    for (int n = 0; n < 1'000'000; ++n) Queue("");
    EXPECT_FALSE(m_writer.Queue().IsEmpty());
}

TEST(LogFlushPeriod, StaysWithinWhatATimerTakes) {
    const auto period = [](uint32_t nSeconds) {
        LogSettings settings;
        settings.logIntervalSeconds = nSeconds;
        return LogFlushPeriodMs(settings);
    };
    EXPECT_EQ(period(0), 100U);
    EXPECT_EQ(period(2147483), 2147483000U);
    EXPECT_EQ(period(2147484), 0x7FFFFFFFU);
    EXPECT_EQ(period(4294968), 0x7FFFFFFFU) << "times a thousand this is 704 in 32 bits";
}
