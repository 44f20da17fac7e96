#include "engine/host_text.h"
#include "tests/engine/engine_fixture.h"

using testing::ElementsAre;

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
std::vector<std::string> Allowed(const CPortForwardOp& op, std::vector<std::string> clients) {
    std::erase_if(clients, [&op](const std::string& strIp) { return !op.IsClientAllowed(Ip(strIp)); });
    return clients;
}

std::string Resolved(std::string strHost) {
    const HostResult result = ResolveHostText(&strHost);
    if (result == HostResult::Resolved) return strHost;
    return (result == HostResult::Blank ? "blank: " : "unknown: ") + strHost;
}

}  // namespace

TEST(Filter, RangesIncludeTheirEndsAndAreOrderedAsNumbers) {
    CPortForwardOp op;
    op.m_settings.m_allowRanges = {Range("10.0.0.2", "10.0.1.1"), Range("9.9.9.9", "9.9.9.9"),
                                   Range("8.0.0.9", "8.0.0.1")};  // the last one's ends are swapped
    EXPECT_THAT(Allowed(op, {"10.0.0.1", "10.0.0.2", "10.0.0.200", "10.0.1.1", "10.0.1.2", "9.9.9.9", "8.0.0.5"}),
                ElementsAre("10.0.0.2", "10.0.0.200", "10.0.1.1", "9.9.9.9"));
}

TEST(Filter, AClientMustBeAllowedAndNotBlocked) {
    CPortForwardOp op;
    EXPECT_THAT(Allowed(op, {"1.2.3.4"}), ElementsAre("1.2.3.4"));
    op.m_settings.m_blockRanges = {Range("10.0.0.5", "10.0.0.9"), Range("200.0.0.0", "254.255.255.255")};
    EXPECT_THAT(Allowed(op, {"10.0.0.4", "10.0.0.5", "254.1.2.3"}), ElementsAre("10.0.0.4")) << "254 is not negative";
    op.m_settings.m_allowRanges = {Range("10.0.0.0", "10.0.0.7")};
    EXPECT_THAT(Allowed(op, {"10.0.0.1", "10.0.0.6", "11.0.0.1"}), ElementsAre("10.0.0.1")) << "both lists, neither";
    op.m_settings.m_allowRanges.insert(op.m_settings.m_allowRanges.begin(), IpRange{});
    EXPECT_THAT(Allowed(op, {"11.0.0.1"}), ElementsAre("11.0.0.1")) << "a null address ends the list: it is empty";
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
}

TEST_F(EngineTest, AStartThatFailsTellsWhyAndCanBeTriedAgain) {
    for (const int32_t nProtocol : {kProtocolTcp, kProtocolUdp}) {
        CPortForwardOp& first = Start(nProtocol);
        CPortForwardOp& op = Make(nProtocol, [&](OpSettings& settings) { settings.m_wLocalPort = first.ListenPort(); });
        for (const int32_t nThreadStarts : {-1, 0}) {  // the port is taken; there is no thread
            FailThreadStartsAfter(nThreadStarts);
            op.m_nStartError = 0;
            EXPECT_FALSE(op.Start());
            EXPECT_NE(op.m_nStartError, 0);
            EXPECT_EQ(op.m_bRunning, 0);
            EXPECT_EQ(op.m_bStarting, 0);
            EXPECT_EQ(op.m_nThreads, 0);
            FailThreadStartsAfter(-1);
            ExpectStopped(first);
        }
        EXPECT_TRUE(op.Start()) << "the port is free again";
    }
}

TEST_F(EngineTest, AnUnknownProtocolCannotBeStarted) {
    CPortForwardOp& op = Make(1);
    EXPECT_FALSE(op.Start());
    EXPECT_EQ(op.m_bRunning, 0);
    EXPECT_EQ(op.m_bStarting, 0);
}

TEST_F(EngineTest, TotalsLiveFromOneStartToTheNext) {
    CPortForwardOp& op = Start(kProtocolTcp);
    const auto expectTotals = [&op](int32_t nSessions, double dFromClient, double dFromServer) {
        EXPECT_EQ(op.m_nTotalSessions, nSessions);
        EXPECT_EQ(op.m_dBytesFromClient, dFromClient);
        EXPECT_EQ(op.m_dBytesFromServer, dFromServer);
    };
    ExpectForwards(op);
    EXPECT_TRUE(op.Start()) << "it runs already";
    expectTotals(1, 4, 5);
    ExpectStopped(op);
    expectTotals(1, 4, 5);
    EXPECT_TRUE(op.Start());
    expectTotals(0, 0, 0);
}

TEST_F(EngineTest, ADestroyedOperationStopsFirst) {
    CPeer client = ClientOf(Start(kProtocolTcp));
    Events(1);
    m_ops.clear();
    EXPECT_TRUE(client.IsClosedByPeer());
    EXPECT_EQ(m_counters.nThreads, 0);
}
