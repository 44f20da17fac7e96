#include <gtest/gtest.h>

#include "engine/host_text.h"
#include "platform/threads/threads_testing.h"
#include "tests/engine/engine_fixture.h"

namespace {

uint32_t Ip(const char* pszText) {
    uint32_t dwIp = 0;
    EXPECT_TRUE(ParseIpAddress(pszText, &dwIp));
    return dwIp;
}

IpRange Range(const char* pszFrom, const char* pszTo) {
    return {Ip(pszFrom), Ip(pszTo)};
}

std::string Resolved(std::string strHost) {
    switch (ResolveHostText(&strHost)) {
        case HostResult::Resolved:
            return strHost;
        case HostResult::Blank:
            return "blank: " + strHost;
        case HostResult::Unknown:
            return "unknown: " + strHost;
    }
    return {};
}

}  // namespace

TEST(Filter, RangesIncludeTheirEndsAndAreOrderedAsNumbers) {
    CPortForwardOp op;
    EXPECT_TRUE(op.IsClientAllowed(Ip("1.2.3.4"))) << "two empty lists";
    op.m_settings.m_allowRanges = {Range("10.0.0.2", "10.0.1.1"), Range("9.9.9.9", "9.9.9.9"),
                                   Range("8.0.0.9", "8.0.0.1")};
    EXPECT_FALSE(op.IsClientAllowed(Ip("10.0.0.1")));
    EXPECT_TRUE(op.IsClientAllowed(Ip("10.0.0.2")));
    EXPECT_TRUE(op.IsClientAllowed(Ip("10.0.0.200")));
    EXPECT_TRUE(op.IsClientAllowed(Ip("10.0.1.1")));
    EXPECT_FALSE(op.IsClientAllowed(Ip("10.0.1.2")));
    EXPECT_TRUE(op.IsClientAllowed(Ip("9.9.9.9")));
    EXPECT_FALSE(op.IsClientAllowed(Ip("8.0.0.5"))) << "a range whose ends are swapped";
}

TEST(Filter, AClientMustBeAllowedAndNotBlocked) {
    CPortForwardOp op;
    op.m_settings.m_blockRanges = {Range("10.0.0.5", "10.0.0.9"), Range("200.0.0.0", "254.255.255.255")};
    EXPECT_TRUE(op.IsClientAllowed(Ip("10.0.0.4")));
    EXPECT_FALSE(op.IsClientAllowed(Ip("10.0.0.5")));
    EXPECT_FALSE(op.IsClientAllowed(Ip("254.1.2.3"))) << "high addresses are not negative";
    op.m_settings.m_allowRanges = {Range("10.0.0.0", "10.0.0.7")};
    EXPECT_FALSE(op.IsClientAllowed(Ip("10.0.0.6"))) << "in both lists";
    EXPECT_FALSE(op.IsClientAllowed(Ip("11.0.0.1"))) << "in neither";
    EXPECT_TRUE(op.IsClientAllowed(Ip("10.0.0.1")));
    op.m_settings.m_allowRanges = {{0, 0}, Range("10.0.0.0", "10.0.0.7")};
    EXPECT_TRUE(op.IsClientAllowed(Ip("11.0.0.1"))) << "a null address ends the list: it is empty";
}

TEST(HostText, BlanksAreSpacesAndTabsOnly) {
    EXPECT_TRUE(IsBlankText(""));
    EXPECT_TRUE(IsBlankText(" \t "));
    EXPECT_FALSE(IsBlankText("\n"));
    std::string strText = "\t a b\t ";
    TrimText(&strText);
    EXPECT_EQ(strText, "a b");
}

TEST(HostText, NumericFormsBecomeDottedQuads) {
    EXPECT_EQ(Resolved(" \t10.1.2.3\t "), "10.1.2.3");
    EXPECT_EQ(Resolved("0x7f.1"), "127.0.0.1");
    EXPECT_EQ(Resolved("localhost"), "127.0.0.1");
    EXPECT_EQ(Resolved(" "), "blank:  ");
    EXPECT_EQ(Resolved(" no-such-host.invalid\t"), "unknown: no-such-host.invalid");
    EXPECT_EQ(Resolved(std::string(100'000, 'x')).substr(0, 8), "unknown:");
}

TEST_F(EngineTest, StopOfAStoppedOperationOnlyClearsItsFlag) {
    CPortForwardOp& op = MakeOp(kProtocolTcp, 1);
    ExpectStopped(op);
    op.m_settings.m_nProtocol = 1;
    EXPECT_FALSE(op.Start());
    EXPECT_EQ(op.m_bRunning, 0);
    EXPECT_EQ(op.m_bStarting, 0);
}

TEST_F(EngineTest, APortInUseFailsTheStartWithTheSystemsReason) {
    for (const int32_t nProtocol : {kProtocolTcp, kProtocolUdp}) {
        CPortForwardOp& first = MakeOp(nProtocol, 1);
        ASSERT_TRUE(first.Start());
        CPortForwardOp& second = MakeOp(nProtocol, 1);
        second.m_settings.m_wLocalPort = PortOf(first);
        EXPECT_FALSE(second.Start());
        EXPECT_NE(second.m_nStartError, 0);
        EXPECT_EQ(second.m_bRunning, 0);
        EXPECT_EQ(second.m_bStarting, 0);
        EXPECT_EQ(second.m_nThreads, 0);
        ExpectStopped(first);
        EXPECT_TRUE(second.Start()) << "the port is free again";
    }
}

TEST_F(EngineTest, AListenerThatGetsNoThreadFailsTheStart) {
    for (const int32_t nProtocol : {kProtocolTcp, kProtocolUdp}) {
        CPortForwardOp& op = MakeOp(nProtocol, 1);
        FailThreadStartsAfter(0);
        EXPECT_FALSE(op.Start());
        EXPECT_NE(op.m_nStartError, 0);
        EXPECT_EQ(m_counters.nThreads, 0);
        FailThreadStartsAfter(-1);
        EXPECT_TRUE(op.Start());
        ExpectStopped(op);
    }
}

TEST_F(EngineTest, TotalsLiveFromOneStartToTheNext) {
    CServer server;
    CPortForwardOp& op = StartTcp(server.Port());
    CPeer client = CPeer::ConnectTcp(PortOf(op));
    CPeer far = server.Accept();
    client.Send("12345");
    EXPECT_EQ(far.Read(5), "12345");
    EXPECT_TRUE(op.Start()) << "it runs already";
    EXPECT_EQ(op.m_dBytesFromClient, 5);
    ExpectStopped(op);
    EXPECT_EQ(op.m_nTotalSessions, 1);
    EXPECT_EQ(op.m_dBytesFromClient, 5);
    EXPECT_TRUE(op.Start());
    EXPECT_EQ(op.m_nTotalSessions, 0);
    EXPECT_EQ(op.m_dBytesFromClient, 0);
}

TEST_F(EngineTest, ADestroyedOperationStopsFirst) {
    CServer server;
    CPortForwardOp& op = StartTcp(server.Port());
    CPeer client = CPeer::ConnectTcp(PortOf(op));
    WaitForEvents(1);
    m_ops.clear();
    EXPECT_TRUE(client.IsClosedByPeer());
    EXPECT_EQ(m_counters.nThreads, 0);
}
