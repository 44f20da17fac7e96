#include "dialogs/pfo_options_rules.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "language/slots.h"
#include "language/text_table.h"
#include "platform/net/ip_address.h"
#include "shell/app_settings.h"

namespace {

constexpr int32_t kMaxPort = 65535;
constexpr uint32_t kBroadcastIp = 0xFFFFFFFF;

// The last one has always lacked its final letter.
constexpr std::string_view kIcmpPhrases[] = {"can't see birds", "cant see birds", "cannot see birds",
                                             "cantseebirds",    "can'tseebirds",  "cannotseebird"};

bool IsPort(int32_t nPort) {
    return nPort >= 1 && nPort <= kMaxPort;
}

/// Of ASCII letters only, so that no locale can change what matches.
char LowerAscii(char ch) {
    return ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch;
}

PfoRefusal Resolve(PfoField field, std::string* pstrHost) {
    switch (ResolveHostText(pstrHost)) {
        case HostResult::Blank:
            return {field, kSlotNullHost, {}};
        case HostResult::Unknown:
            return {field, kSlotUnresolvedHost, *pstrHost};
        case HostResult::Resolved:
            break;
    }
    return {};
}

}  // namespace

OpSettings LastUsedSettings(const LastUsedOptions& lastUsed) {
    OpSettings settings = lastUsed.lastOptions;
    settings.m_nProtocol = 0;
    // A damaged file can hold both flags: TCP, as when the buttons are read.
    if (lastUsed.lastProtocolUdp) settings.m_nProtocol = kProtocolUdp;
    if (lastUsed.lastProtocolTcp) settings.m_nProtocol = kProtocolTcp;
    return settings;
}

void StoreLastUsed(OpSettings settings, LastUsedOptions* pLastUsed) {
    settings.m_bFiltersEnabled = 0;
    settings.m_allowRanges.clear();
    settings.m_blockRanges.clear();
    pLastUsed->lastProtocolTcp = settings.m_nProtocol == kProtocolTcp;
    pLastUsed->lastProtocolUdp = settings.m_nProtocol == kProtocolUdp;
    pLastUsed->lastOptions = std::move(settings);
}

PfoRefusal CheckNumbers(PfoFields* pFields) {
    OpSettings& settings = pFields->settings;
    if (settings.m_nMaxSessions < 1) return {PfoField::MaxSessions, kSlotBadMaxSessions, {}};
    if (settings.m_nProtocol == kProtocolUdp && settings.m_nUdpTimeoutMs < kMinUdpTimeoutMs)
        return {PfoField::UdpTimeout, kSlotBadUdpTimeout, {}};
    if (!IsPort(pFields->nLocalPort)) return {PfoField::LocalPort, kSlotBadLocalPort, {}};
    if (!IsPort(pFields->nRemotePort)) return {PfoField::RemotePort, kSlotBadRemotePort, {}};
    settings.m_wLocalPort = static_cast<uint16_t>(pFields->nLocalPort);
    settings.m_wRemotePort = static_cast<uint16_t>(pFields->nRemotePort);
    return {};
}

PfoRefusal ResolveHosts(OpSettings* pSettings) {
    uint32_t dwLocalIp = 0;
    if (!IsBlankText(pSettings->m_strLocalInterface)) {
        std::string strAddress = pSettings->m_strLocalInterface;
        PfoRefusal refusal = Resolve(PfoField::LocalInterface, &strAddress);
        if (refusal.field != PfoField::None) return refusal;
        // The one address that is not taken is the broadcast address: the start of the operation will tell.
        if (!ParseIpAddress(strAddress, &dwLocalIp)) dwLocalIp = kBroadcastIp;
    }
    std::string strRemote = pSettings->m_strRemoteHost;
    if (pSettings->m_bBounce == 0) {
        PfoRefusal refusal = Resolve(PfoField::RemoteHost, &strRemote);
        if (refusal.field != PfoField::None) return refusal;
    }
    pSettings->m_dwLocalIp = dwLocalIp;
    return {};
}

std::string RefusalText(const PfoRefusal& refusal, const TextTable& texts) {
    const std::string& strText = texts.Text(refusal.nSlot);
    return refusal.strHost.empty() ? strText : strText + "\r\n" + refusal.strHost + "\r\n";
}

bool IsIcmpPhrase(const std::string& strText) {
    std::string strLower;
    std::transform(strText.begin(), strText.end(), std::back_inserter(strLower), LowerAscii);
    return std::find(std::begin(kIcmpPhrases), std::end(kIcmpPhrases), strLower) != std::end(kIcmpPhrases);
}
