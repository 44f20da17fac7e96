#include "engine/host_text.h"
#include "tests/engine/engine_fixture.h"
#include "tests/support/failing_new.h"

namespace {

uint32_t Ip(const std::string& strText) {
    uint32_t dwIp = 0;
    EXPECT_TRUE(ParseIpAddress(strText, &dwIp));
    return dwIp;
}

IpRange Range(const char* pszFrom, const char* pszTo) {
    return {Ip(pszFrom), Ip(pszTo)};
}

// Those of the clients that may come in.
Lines Allowed(const CPortForwardOp& op, Lines clients) {
    std::erase_if(clients, [&op](const std::string& strIp) { return !op.IsClientAllowed(Ip(strIp)); });
    return clients;
}

std::string Resolved(std::string strHost) {
    const HostResult result = ResolveHostText(&strHost);
    if (result == HostResult::Resolved) return strHost;
    return (result == HostResult::Blank ? "blank: " : "unknown: ") + strHost;
}

}  // namespace

TEST(Filter, AClientMustBeAllowedAndNotBlocked) {
    CPortForwardOp op;
    EXPECT_EQ(Allowed(op, {"1.2.3.4"}), Lines{"1.2.3.4"});
    op.m_settings.m_blockRanges = {Range("10.0.0.5", "10.0.0.9"), Range("200.0.0.0", "254.255.255.255")};
    EXPECT_EQ(Allowed(op, {"10.0.0.4", "10.0.0.5", "254.1.2.3"}), Lines{"10.0.0.4"}) << "254 is not negative";
    op.m_settings.m_allowRanges = {Range("10.0.0.2", "10.0.1.1"), Range("9.9.9.9", "9.9.9.9"),
                                   Range("8.0.0.9", "8.0.0.1")};  // the last one's ends are swapped
    EXPECT_EQ(
        Allowed(op, {"10.0.0.1", "10.0.0.2", "10.0.0.6", "10.0.0.200", "10.0.1.1", "10.0.1.2", "9.9.9.9", "8.0.0.5"}),
        (Lines{"10.0.0.2", "10.0.0.200", "10.0.1.1", "9.9.9.9"}));
    op.m_settings.m_allowRanges.insert(op.m_settings.m_allowRanges.begin(), IpRange{});
    EXPECT_EQ(Allowed(op, {"11.0.0.1"}), Lines{"11.0.0.1"}) << "a null address ends the list: it is empty";
}

TEST(HostText, HostsAreTrimmedAndBecomeDottedQuads) {
    for (const auto& [strHost, strResult] : {std::pair<std::string, std::string>{" \t10.1.2.3\t ", "10.1.2.3"},
                                             {"0x7f.1", "127.0.0.1"},
                                             {"localhost", "127.0.0.1"},
                                             {"", "blank: "},
                                             {" \t ", "blank:  \t "},
                                             {" no-such-host.invalid\t", "unknown: no-such-host.invalid"},
                                             {"\t a b\t ", "unknown: a b"},
                                             {std::string(100'000, 'x'), "unknown: " + std::string(100'000, 'x')}}) {
        EXPECT_EQ(Resolved(strHost), strResult);
    }
    EXPECT_FALSE(IsBlankText("\n"));
    for (const size_t nLength : {size_t{4000}, size_t{1'000'000}}) {
        const std::string strLong = " " + std::string(nLength, 'x') + " ";
        std::string strHost = strLong;
        FailNextAllocationOf(nLength + 1);
        EXPECT_EQ(ResolveHostText(&strHost), HostResult::Unknown) << "without memory for " << nLength;
        FailNextAllocationOf(0);
        EXPECT_EQ(strHost, std::string(nLength, 'x'));
    }
}

TEST_F(EngineTest, AStartThatFailsTellsWhyAndCanBeTriedAgain) {
    for (const int32_t nProtocol : {kProtocolTcp, kProtocolUdp}) {
        CPortForwardOp& first = Start(nProtocol);
        CPortForwardOp& op = Make(nProtocol, [&](auto& settings) { settings.m_wLocalPort = first.ListenPort(); });
        for (const int32_t nThreadStarts : {-1, 0}) {  // the port is taken; there is no thread
            FailThreadStartsAfter(nThreadStarts);
            op.m_nStartError = 0;
            EXPECT_FALSE(op.Start());
            EXPECT_NE(op.m_nStartError, 0);
            EXPECT_EQ(op.m_bRunning + op.m_bStarting + op.m_nThreads, 0);
            FailThreadStartsAfter(-1);
            ExpectStopped(first);
        }
        EXPECT_TRUE(op.Start()) << "the port is free again";
    }
    CPortForwardOp& unknown = Make(1);
    EXPECT_FALSE(unknown.Start());
    EXPECT_EQ(unknown.m_bRunning + unknown.m_bStarting, 0);
}

TEST_F(EngineTest, TotalsLiveFromOneStartToTheNext) {
    CPortForwardOp& op = Start(kProtocolTcp);
    ExpectForwards(op);
    EXPECT_TRUE(op.Start()) << "it runs already";
    ExpectStopped(op);
    const auto totals = [&op] {
        return std::array<double, 3>{1. * op.m_nTotalSessions, op.m_dBytesFromClient, op.m_dBytesFromServer};
    };
    EXPECT_EQ(totals(), (std::array{1., 4., 5.}));
    EXPECT_TRUE(op.Start());
    EXPECT_EQ(totals(), (std::array{0., 0., 0.}));
}

TEST_F(EngineTest, ADestroyedOperationStopsFirst) {
    CPeer client = ClientOf(Start(kProtocolTcp));
    Events(1);
    m_ops.clear();
    EXPECT_TRUE(client.IsClosedByPeer());
    EXPECT_EQ(m_counters.nThreads, 0);
}
