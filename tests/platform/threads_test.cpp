#include "platform/threads/threads_testing.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/threads/shared_value.h"
#include "platform/threads/threads_testing.h"
#include "tests/support/process.h"
#include "tests/support/wait.h"

namespace {

struct Runs {
    std::atomic<int> nDone = 0;
    std::atomic<bool> bReused = false;  // one thread served two starts
};

void CountRun(std::unique_ptr<Runs*> ppRuns) {
    thread_local int t_nRuns = 0;
    if (++t_nRuns > 1) (*ppRuns)->bReused = true;
    ++(*ppRuns)->nDone;
}

// Starts a thread that counts.
bool Begin(Runs* pRuns) {
    auto ppRuns = std::make_unique<Runs*>(pRuns);
    const bool bStarted = AfxBeginThread(CountRun, std::move(ppRuns));
    EXPECT_EQ(ppRuns == nullptr, bStarted) << "the block goes to the thread, or stays with the caller";
    return bStarted;
}

bool WaitForRuns(const Runs& runs, int nCount) {
    return WaitFor([&] { return runs.nDone == nCount; });
}

TEST(Threads, ParkedOnesServeLaterStartsAndGoWhenReleased) {
    Runs runs;
    const int32_t nBefore = CountThreads();
    const int32_t nHandles = CountHandles();
    for (int n = 1; n <= 50; ++n) ASSERT_TRUE(Begin(&runs) && WaitForRuns(runs, n));
    EXPECT_TRUE(runs.bReused);
    EXPECT_LT(CountThreads(), nBefore + 10) << "each start made a thread of its own";
    for (int n = 0; n < 500; ++n) ASSERT_TRUE(Begin(&runs));
    EXPECT_TRUE(WaitForRuns(runs, 550)) << "at once, more than are parked";
    ReleaseParkedThreads();
    EXPECT_TRUE(WaitFor([&] { return CountThreads() <= nBefore; }));
    EXPECT_LT(CountHandles(), nHandles + 100);
}

TEST(Threads, AForcedFailureComesAfterTheStartsThatItLetsPass) {
    Runs runs;
    FailThreadStartsAfter(2);
    EXPECT_TRUE(Begin(&runs) && Begin(&runs));
    EXPECT_FALSE(Begin(&runs) || Begin(&runs));
    FailThreadStartsAfter(-1);
    EXPECT_TRUE(Begin(&runs));
    EXPECT_TRUE(WaitForRuns(runs, 3));
    EXPECT_NE(ThreadStartError(), 0);
}

TEST(SharedValue, ASnapshotStaysWholeWhileTheValueIsReplaced) {
    CSharedValue<std::string> value(std::string(1000, 'a'));
    const auto pFirst = value.Snapshot();
    std::jthread writer([&] {
        for (int n = 2000; n >= 0; --n) value.Set(std::string(1000, static_cast<char>('z' - n % 25)));
    });
    for (char chLast = 'a'; chLast != 'z'; chLast = value.Get().front()) {
        const auto pValue = value.Snapshot();
        EXPECT_EQ(*pValue, std::string(1000, pValue->front()));
    }
    EXPECT_EQ(*pFirst, std::string(1000, 'a'));
}

}  // namespace
