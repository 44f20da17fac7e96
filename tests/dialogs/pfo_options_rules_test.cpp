#include "dialogs/pfo_options_rules.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/net/ip_address.h"
#include "platform/system/message_box.h"
#include "shell/app_settings.h"

using testing::ElementsAre;
using testing::IsEmpty;

bool operator==(const PfoRefusal& left, const PfoRefusal& right) {
    return left.field == right.field && left.nSlot == right.nSlot;
}

namespace {

std::vector<std::string> g_messages;

class PfoOptionsRulesTest : public testing::Test {
  protected:
    PfoOptionsRulesTest() {
        g_messages.clear();
        SetMessageHandler([](const Message& message) {
            g_messages.push_back(message.strText);
            return true;
        });
        m_texts.SetText(69, "blank");
        m_texts.SetText(70, "unknown");
    }
    ~PfoOptionsRulesTest() override { SetMessageHandler(nullptr); }

    static PfoFields GoodFields() {
        PfoFields fields;
        fields.nLocalPort = 8080;
        fields.nRemotePort = 65535;
        fields.nMaxSessions = 7;
        fields.nUdpTimeoutMs = 1000;
        fields.nProtocol = kProtocolUdp;
        fields.strLocalInterface = " 127.1 ";
        fields.strRemoteHost = "\t10.0.0.2";
        fields.bForwardIcmp = true;
        return fields;
    }

    PfoRefusal Resolve(const PfoFields& fields) { return ResolveHosts(fields, m_texts, &m_dwLocalIp); }

    TextTable m_texts;
    uint32_t m_dwLocalIp = 0x12345678;
};

TEST_F(PfoOptionsRulesTest, NumbersAreRefusedInOrder) {
    PfoFields fields = GoodFields();
    fields.nMaxSessions = 0;
    fields.nUdpTimeoutMs = 999;
    fields.nLocalPort = 65536;
    fields.nRemotePort = 0;
    EXPECT_EQ(CheckNumbers(fields), (PfoRefusal{PfoField::MaxSessions, 188}));
    fields.nMaxSessions = 1;
    EXPECT_EQ(CheckNumbers(fields), (PfoRefusal{PfoField::UdpTimeout, 189}));
    fields.nUdpTimeoutMs = 1000;
    EXPECT_EQ(CheckNumbers(fields), (PfoRefusal{PfoField::LocalPort, 190}));
    fields.nLocalPort = 65535;
    EXPECT_EQ(CheckNumbers(fields), (PfoRefusal{PfoField::RemotePort, 191}));
    fields.nRemotePort = 1;
    EXPECT_EQ(CheckNumbers(fields), PfoRefusal());
    for (const int32_t nBad : {0, -1, 65536}) {
        fields.nLocalPort = nBad;
        EXPECT_EQ(CheckNumbers(fields).field, PfoField::LocalPort) << nBad;
    }
}

TEST_F(PfoOptionsRulesTest, TimeoutCountsForUdpOnly) {
    PfoFields fields = GoodFields();
    fields.nUdpTimeoutMs = 0;
    for (const int32_t nProtocol : {kProtocolTcp, 0}) {
        fields.nProtocol = nProtocol;
        EXPECT_EQ(CheckNumbers(fields), PfoRefusal()) << nProtocol;
    }
}

TEST_F(PfoOptionsRulesTest, InterfaceIsResolvedAndBlankMeansAll) {
    PfoFields fields = GoodFields();
    EXPECT_EQ(Resolve(fields), PfoRefusal());
    EXPECT_EQ(FormatIpAddress(m_dwLocalIp), "127.0.0.1");
    fields.strLocalInterface = "localhost";
    EXPECT_EQ(Resolve(fields), PfoRefusal());
    EXPECT_EQ(FormatIpAddress(m_dwLocalIp), "127.0.0.1");
    fields.strLocalInterface = " \t";
    EXPECT_EQ(Resolve(fields), PfoRefusal());
    EXPECT_EQ(m_dwLocalIp, 0u);
    EXPECT_THAT(g_messages, IsEmpty());
}

TEST_F(PfoOptionsRulesTest, HostThatIsNoneIsToldOnceInterfaceFirst) {
    PfoFields fields = GoodFields();
    fields.strLocalInterface = "can't see birds";
    fields.strRemoteHost = "";
    EXPECT_EQ(Resolve(fields), (PfoRefusal{PfoField::LocalInterface, 0}));
    EXPECT_THAT(g_messages, ElementsAre("unknown\r\ncan't see birds\r\n"));
    fields.strLocalInterface = "";
    EXPECT_EQ(Resolve(fields), (PfoRefusal{PfoField::RemoteHost, 0}));
    EXPECT_THAT(g_messages, ElementsAre(testing::_, "blank"));
}

TEST_F(PfoOptionsRulesTest, BounceLooksAtNoRemoteHost) {
    PfoFields fields = GoodFields();
    fields.bBounce = true;
    for (const char* const pszHost : {"", "no such host"}) {
        fields.strRemoteHost = pszHost;
        EXPECT_EQ(Resolve(fields), PfoRefusal()) << pszHost;
    }
    EXPECT_THAT(g_messages, IsEmpty());
}

TEST_F(PfoOptionsRulesTest, OperationGetsTheFieldsAsTypedAndItsFilters) {
    const PfoFilters filters = {{{1, 2}}, {{3, 4}, {5, 6}}, true};
    CPortForwardOp operation;
    StoreFields(GoodFields(), 0x0100007F, filters, &operation);
    EXPECT_EQ(FieldsOf(operation), GoodFields());
    EXPECT_EQ(operation.m_dwLocalIp, 0x0100007Fu);
    EXPECT_EQ(operation.m_strLocalInterface, " 127.1 ");
    EXPECT_EQ(operation.m_allowRanges, filters.allowRanges);
    EXPECT_EQ(operation.m_blockRanges, filters.blockRanges);
    EXPECT_EQ(operation.m_bFiltersEnabled, 1);
}

TEST_F(PfoOptionsRulesTest, LastUsedValuesComeBack) {
    AppSettings settings;
    const PfoFields first = LastUsedFields(settings);
    EXPECT_EQ(first.nProtocol, kProtocolTcp);
    EXPECT_EQ(first.nMaxSessions, 100);
    EXPECT_EQ(first.nUdpTimeoutMs, 60000);
    PfoFields fields = GoodFields();
    for (const int32_t nProtocol : {kProtocolUdp, kProtocolTcp, 0}) {
        fields.nProtocol = nProtocol;
        fields.bBounce = !fields.bBounce;
        StoreLastUsed(fields, &settings);
        EXPECT_EQ(LastUsedFields(settings), fields);
    }
}

TEST_F(PfoOptionsRulesTest, PhrasesMatchWholeAndInAnyCapitals) {
    for (const char* const pszText :
         {"can't see birds", "Cant See Birds", "CANNOT SEE BIRDS", "cantseebirds", "can'tseebirds", "CannotSeeBird"}) {
        EXPECT_TRUE(IsIcmpPhrase(pszText)) << pszText;
    }
    for (const char* const pszText : {"", "cannotseebirds", "can't see bird", " cantseebirds", "cantseebirds "}) {
        EXPECT_FALSE(IsIcmpPhrase(pszText)) << pszText;
    }
}

}  // namespace
