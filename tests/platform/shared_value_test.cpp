#include "platform/threads/shared_value.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

TEST(SharedValue, SnapshotStaysAsItWasWhenTheValueIsReplaced) {
    CSharedValue<std::string> value("old");
    const auto pBefore = value.Snapshot();
    value.Set("new");
    EXPECT_EQ(*pBefore, "old");
    EXPECT_EQ(value.Get(), "new");
}

TEST(SharedValue, ReadersNeverSeeAHalfReplacedValue) {
    CSharedValue<std::string> value(std::string(1000, 'a'));
    std::atomic<bool> bDone = false;
    std::thread writer([&] {
        for (int n = 0; n < 2000; ++n) value.Set(std::string(1000, static_cast<char>('a' + n % 26)));
        bDone = true;
    });
    while (!bDone) {
        const auto pValue = value.Snapshot();
        ASSERT_EQ(pValue->find_first_not_of(pValue->front()), std::string::npos);
    }
    writer.join();
}
