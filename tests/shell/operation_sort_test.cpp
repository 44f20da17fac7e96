// The order of operations by the columns of the list.
#include "shell/main_window/operation_sort.h"

#include <gmock/gmock.h>

#include "engine/port_forward_op.h"

namespace {

class OperationSortTest : public testing::Test {
  protected:
    /// The sign of the comparison, both ways round and with both signs; they must agree.
    int Order(int nColumn) const {
        const int nOrder = Sign(CompareOperations(&m_first, &m_second, nColumn, 1));
        EXPECT_EQ(Sign(CompareOperations(&m_second, &m_first, nColumn, 1)), -nOrder);
        EXPECT_EQ(Sign(CompareOperations(&m_first, &m_second, nColumn, -1)), -nOrder);
        EXPECT_EQ(CompareOperations(&m_first, &m_first, nColumn, 1), 0);
        return nOrder;
    }
    static int Sign(int nValue) { return (nValue > 0) - (nValue < 0); }

    CPortForwardOp m_first;
    CPortForwardOp m_second;
};

TEST_F(OperationSortTest, NumbersPutTheSmallerOneBehindWithASignOfOne) {
    m_second.m_bRunning = 1;
    m_second.m_settings.m_nProtocol = kProtocolUdp;
    m_first.m_settings.m_nProtocol = -1;
    m_second.m_settings.m_wLocalPort = 50000;
    m_first.m_settings.m_wLocalPort = 1;
    m_first.m_settings.m_wRemotePort = 80;
    m_second.m_settings.m_wRemotePort = 40000;
    for (const int nColumn : {COLUMN_STATUS, COLUMN_PROTOCOL, COLUMN_LOCAL_PORT, COLUMN_REMOTE_PORT}) {
        EXPECT_EQ(Order(nColumn), 1) << nColumn;
    }
    m_second.m_bRunning = 0;  // also keeps the destructor from stopping what never ran
    EXPECT_EQ(Order(COLUMN_STATUS), 0);
}

TEST_F(OperationSortTest, AddressesCompareByTheirFirstByteFirst) {
    ASSERT_TRUE(ParseIpAddress("9.200.200.200", &m_first.m_settings.m_dwLocalIp));
    ASSERT_TRUE(ParseIpAddress("200.1.1.1", &m_second.m_settings.m_dwLocalIp));
    EXPECT_EQ(Order(COLUMN_LOCAL_IP), 1);
}

TEST_F(OperationSortTest, HostsRunTheOtherWayRoundAndCapitalsDoNotCount) {
    m_first.m_settings.m_strRemoteHost = "Alpha";
    m_second.m_settings.m_strRemoteHost = "beta";
    EXPECT_EQ(Order(COLUMN_REMOTE_HOST), -1);
    m_first.m_settings.m_strRemoteHost = "BETA";
    EXPECT_EQ(Order(COLUMN_REMOTE_HOST), 0);
    m_first.m_settings.m_strRemoteHost = "beta.";
    EXPECT_EQ(Order(COLUMN_REMOTE_HOST), 1) << "a longer name comes behind its beginning";
    m_first.m_settings.m_strRemoteHost = "bet\xE9";
    EXPECT_EQ(Order(COLUMN_REMOTE_HOST), 1) << "bytes are unsigned";
}

TEST_F(OperationSortTest, NothingIsBesideEverything) {
    m_first.m_settings.m_wLocalPort = 5;
    EXPECT_EQ(CompareOperations(nullptr, &m_first, COLUMN_LOCAL_PORT, 1), 0);
    EXPECT_EQ(CompareOperations(&m_first, nullptr, COLUMN_LOCAL_PORT, 1), 0);
    EXPECT_EQ(Order(6), 0);
}

}  // namespace
