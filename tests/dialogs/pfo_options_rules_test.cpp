#include "dialogs/pfo_options_rules.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "language/text_table.h"
#include "platform/net/ip_address.h"
#include "shell/app_settings.h"

namespace {

OpSettings GoodSettings() {
    OpSettings settings;
    settings.m_nProtocol = kProtocolUdp;
    settings.m_wLocalPort = 8080;
    settings.m_dwLocalIp = 0x12345678;
    settings.m_strLocalInterface = " 127.1 ";
    settings.m_strRemoteHost = "\t10.0.0.2";
    settings.m_bForwardIcmp = 1;
    return settings;
}

PfoRefusal Refused(PfoField field, uint32_t nSlot, const std::string& strHost = "") {
    return {field, nSlot, strHost};
}

TEST(PfoOptionsRules, NumbersAreRefusedInOrder) {
    PfoFields fields = {GoodSettings(), 65536, 0};
    fields.settings.m_nMaxSessions = 0;
    fields.settings.m_nUdpTimeoutMs = 999;
    EXPECT_EQ(CheckNumbers(&fields), Refused(PfoField::MaxSessions, 188));
    fields.settings.m_nMaxSessions = 1;
    EXPECT_EQ(CheckNumbers(&fields), Refused(PfoField::UdpTimeout, 189));
    for (const int32_t nProtocol : {kProtocolTcp, 0}) {
        fields.settings.m_nProtocol = nProtocol;
        EXPECT_EQ(CheckNumbers(&fields).field, PfoField::LocalPort) << nProtocol;
    }
    for (const int32_t nBad : {0, -1, 65536}) {
        fields.nLocalPort = nBad;
        EXPECT_EQ(CheckNumbers(&fields), Refused(PfoField::LocalPort, 190)) << nBad;
    }
    fields.nLocalPort = 65535;
    EXPECT_EQ(CheckNumbers(&fields), Refused(PfoField::RemotePort, 191));
    EXPECT_EQ(fields.settings.m_wLocalPort, 8080) << "refused fields change nothing";
    fields.nRemotePort = 1;
    EXPECT_EQ(CheckNumbers(&fields), PfoRefusal());
    EXPECT_EQ(fields.settings.m_wLocalPort, 65535);
    EXPECT_EQ(fields.settings.m_wRemotePort, 1);
}

TEST(PfoOptionsRules, InterfaceIsResolvedAndBlankMeansAll) {
    const std::pair<const char*, uint32_t> cases[] = {{" 127.1 ", 0x7F000001}, {"localhost", 0x7F000001}, {" \t", 0}};
    for (const auto& [pszInterface, dwIp] : cases) {
        OpSettings settings = GoodSettings();
        settings.m_strLocalInterface = pszInterface;
        EXPECT_EQ(ResolveHosts(&settings), PfoRefusal());
        EXPECT_EQ(IpToNumber(settings.m_dwLocalIp), dwIp);
        EXPECT_EQ(settings.m_strLocalInterface, pszInterface) << "kept as it was typed";
    }
}

TEST(PfoOptionsRules, HostThatIsNoneIsToldInterfaceFirst) {
    OpSettings settings = GoodSettings();
    settings.m_strLocalInterface = " can't see birds";
    settings.m_strRemoteHost = " \t";
    const PfoRefusal first = ResolveHosts(&settings);
    EXPECT_EQ(first, Refused(PfoField::LocalInterface, 70, "can't see birds"));
    settings.m_strLocalInterface = "";
    const PfoRefusal second = ResolveHosts(&settings);
    EXPECT_EQ(second, Refused(PfoField::RemoteHost, 69));
    EXPECT_EQ(settings.m_dwLocalIp, 0x12345678u) << "refused fields change nothing";
    for (const char* const pszHost : {"", "no such host"}) {
        settings.m_bBounce = 1;
        settings.m_strRemoteHost = pszHost;
        EXPECT_EQ(ResolveHosts(&settings), PfoRefusal()) << "bounce looks at no remote host";
    }
    TextTable texts;
    texts.SetText(69, "blank");
    texts.SetText(70, "unknown");
    EXPECT_EQ(RefusalText(first, texts), "unknown\r\ncan't see birds\r\n");
    EXPECT_EQ(RefusalText(second, texts), "blank");
}

TEST(PfoOptionsRules, LastUsedValuesComeBackWithoutFilters) {
    AppSettings settings;
    EXPECT_EQ(LastUsedSettings(settings), OpSettings());
    for (const int32_t nProtocol : {kProtocolUdp, kProtocolTcp, 0}) {
        OpSettings used = GoodSettings();
        used.m_nProtocol = nProtocol;
        OpSettings filtered = used;
        filtered.m_bFiltersEnabled = 1;
        filtered.m_allowRanges = {{1, 2}};
        filtered.m_blockRanges = {{3, 4}};
        StoreLastUsed(filtered, &settings);
        EXPECT_EQ(LastUsedSettings(settings), used);
    }
}

TEST(PfoOptionsRules, PhrasesMatchWholeAndInAnyCapitals) {
    for (const char* const pszText :
         {"can't see birds", "Cant See Birds", "CANNOT SEE BIRDS", "cantseebirds", "can'tseebirds", "CannotSeeBird"}) {
        EXPECT_TRUE(IsIcmpPhrase(pszText)) << pszText;
    }
    for (const char* const pszText : {"", "cannotseebirds", "can't see bird", " cantseebirds", "cantseebirds "}) {
        EXPECT_FALSE(IsIcmpPhrase(pszText)) << pszText;
    }
}

}  // namespace
