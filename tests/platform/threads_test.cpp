#include "platform/threads/threads_testing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/support/left_over.h"
#include "tests/support/wait.h"

namespace {

struct Work {
    std::atomic<int>* pnDone;
};

void CountWork(std::unique_ptr<Work> pWork) {
    pWork->pnDone->fetch_add(1);
}

class Threads : public testing::Test {
  protected:
    ~Threads() override {
        FailThreadStartsAfter(-1);
        ReleaseParkedThreads();
    }
    bool Begin() {
        auto pWork = std::make_unique<Work>(Work{&m_nDone});
        const bool bStarted = AfxBeginThread(CountWork, std::move(pWork));
        EXPECT_EQ(pWork == nullptr, bStarted) << "the block goes to the thread, or stays with the caller";
        return bStarted;
    }

    CWatchdog m_watchdog;
    std::atomic<int> m_nDone = 0;
};

}  // namespace

TEST_F(Threads, ManyStartsAllRun) {
    for (int n = 0; n < 500; ++n) ASSERT_TRUE(Begin());
    EXPECT_TRUE(WaitFor([&] { return m_nDone == 500; }));
}

TEST_F(Threads, ParkedThreadsServeLaterStartsAndGoWhenReleased) {
    const int32_t nBefore = CountThreads();
    for (int n = 1; n <= 50; ++n) {
        ASSERT_TRUE(Begin());
        ASSERT_TRUE(WaitFor([&] { return m_nDone == n; }));
    }
    EXPECT_LT(CountThreads(), nBefore + 10) << "each start made a thread of its own";
    ReleaseParkedThreads();
    EXPECT_TRUE(WaitFor([&] { return CountThreads() <= nBefore; }));
}

TEST_F(Threads, AForcedFailureComesAfterTheStartsThatItLetsPass) {
    FailThreadStartsAfter(2);
    EXPECT_TRUE(Begin());
    EXPECT_TRUE(Begin());
    EXPECT_FALSE(Begin());
    FailThreadStartsAfter(-1);
    EXPECT_TRUE(Begin());
    EXPECT_TRUE(WaitFor([&] { return m_nDone == 3; }));
    EXPECT_NE(ThreadStartError(), 0);
}
