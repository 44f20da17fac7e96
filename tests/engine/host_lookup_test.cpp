#include "engine/host_lookup.h"

#include <gtest/gtest.h>

#include "engine/host_lookup_testing.h"
#include "platform/net/ip_address.h"
#include "platform/threads/threads_testing.h"
#include "tests/support/wait.h"

namespace {

constexpr uint32_t kUntouched = 1;

class HostLookup : public testing::Test {
  protected:
    ~HostLookup() override {
        HoldNextLookups(-1);
        FailThreadStartsAfter(-1);
        ReleaseParkedThreads();
    }
    LookupResult LookUp(const char* pszHost, bool bCancelled = false) {
        return LookUpHost(pszHost, &m_dwIp, [bCancelled] { return bCancelled; });
    }

    CWatchdog m_watchdog;
    uint32_t m_dwIp = kUntouched;
};

}  // namespace

TEST_F(HostLookup, WaitsForTheResolverAndForNothingElse) {
    EXPECT_EQ(LookUp("no-such-host.invalid"), LookupResult::Unknown);
    EXPECT_EQ(LookUp(" \t"), LookupResult::Unknown);
    HoldNextLookups(1);
    EXPECT_EQ(LookUp("localhost", true), LookupResult::Cancelled);
    FailThreadStartsAfter(0);
    EXPECT_EQ(LookUp("localhost"), LookupResult::NoThread);
    EXPECT_EQ(CHostLookup::Start("localhost", {}), nullptr);
    EXPECT_EQ(m_dwIp, kUntouched);
    EXPECT_EQ(LookUp(" 127.2 ", true), LookupResult::Found) << "needs neither";
    EXPECT_EQ(FormatIpAddress(m_dwIp), "127.0.0.2");
    FailThreadStartsAfter(-1);
    HoldNextLookups(1);
    const auto nTold = std::make_shared<std::atomic<int>>(0);
    auto pLeft = CHostLookup::Start("localhost", [nTold] { ++*nTold; });
    const std::weak_ptr<CHostLookup> pAfter = pLeft;
    ASSERT_NE(pLeft, nullptr);
    EXPECT_EQ(LookUp("localhost"), LookupResult::Found) << "beside one that waits";
    EXPECT_EQ(FormatIpAddress(m_dwIp), "127.0.0.1");
    EXPECT_FALSE(pLeft->WaitFor(1));
    EXPECT_EQ(pLeft->Result(), LookupResult::Pending);
    pLeft.reset();
    HoldNextLookups(-1);
    EXPECT_TRUE(WaitFor([&] { return pAfter.expired(); }));
    EXPECT_EQ(*nTold, 1) << "also when the asker has gone";
}
