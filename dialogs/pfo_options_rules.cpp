#include "dialogs/pfo_options_rules.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "engine/host_text.h"
#include "engine/port_forward_op.h"
#include "platform/net/ip_address.h"
#include "shell/app_settings.h"

namespace {

constexpr int32_t kMinUdpTimeoutMs = 1000;
constexpr int32_t kMaxPort = 65535;
constexpr uint32_t kBroadcastIp = 0xFFFFFFFF;

constexpr uint32_t kSlotMaxSessions = 188;
constexpr uint32_t kSlotUdpTimeout = 189;
constexpr uint32_t kSlotLocalPort = 190;
constexpr uint32_t kSlotRemotePort = 191;

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

}  // namespace

PfoFields LastUsedFields(const AppSettings& settings) {
    PfoFields fields;
    fields.nLocalPort = settings.lastLocalPort;
    fields.nRemotePort = settings.lastRemotePort;
    fields.nMaxSessions = settings.lastMaxSessions;
    fields.nUdpTimeoutMs = settings.lastUdpTimeoutMs;
    // A damaged file can hold both flags: TCP, as when the buttons are read.
    if (settings.lastProtocolUdp) fields.nProtocol = kProtocolUdp;
    if (settings.lastProtocolTcp) fields.nProtocol = kProtocolTcp;
    fields.strLocalInterface = settings.lastLocalInterface;
    fields.strRemoteHost = settings.lastRemoteHost;
    fields.bBounce = settings.lastBounce != 0;
    fields.bForwardIcmp = settings.lastForwardIcmp != 0;
    return fields;
}

PfoFields FieldsOf(const CPortForwardOp& operation) {
    PfoFields fields;
    fields.nLocalPort = operation.m_wLocalPort;
    fields.nRemotePort = operation.m_wRemotePort;
    fields.nMaxSessions = operation.m_nMaxSessions;
    fields.nUdpTimeoutMs = operation.m_nUdpTimeoutMs;
    fields.nProtocol = operation.m_nProtocol;
    fields.strLocalInterface = operation.m_strLocalInterface;
    fields.strRemoteHost = operation.m_strRemoteHost;
    fields.bBounce = operation.m_bBounce != 0;
    fields.bForwardIcmp = operation.m_bForwardIcmp != 0;
    return fields;
}

PfoRefusal CheckNumbers(const PfoFields& fields) {
    if (fields.nMaxSessions < 1) return {PfoField::MaxSessions, kSlotMaxSessions};
    if (fields.nProtocol == kProtocolUdp && fields.nUdpTimeoutMs < kMinUdpTimeoutMs)
        return {PfoField::UdpTimeout, kSlotUdpTimeout};
    if (!IsPort(fields.nLocalPort)) return {PfoField::LocalPort, kSlotLocalPort};
    if (!IsPort(fields.nRemotePort)) return {PfoField::RemotePort, kSlotRemotePort};
    return {};
}

PfoRefusal ResolveHosts(const PfoFields& fields, const TextTable& texts, uint32_t* pdwLocalIp) {
    *pdwLocalIp = 0;
    if (!IsBlankText(fields.strLocalInterface)) {
        std::string strAddress = fields.strLocalInterface;
        if (!ResolveHostText(&strAddress, &texts)) return {PfoField::LocalInterface, 0};
        // The one address that is not taken is the broadcast address: the start of the operation will tell.
        if (!ParseIpAddress(strAddress, pdwLocalIp)) *pdwLocalIp = kBroadcastIp;
    }
    std::string strRemote = fields.strRemoteHost;
    if (!fields.bBounce && !ResolveHostText(&strRemote, &texts)) return {PfoField::RemoteHost, 0};
    return {};
}

void StoreFields(const PfoFields& fields, uint32_t dwLocalIp, PfoFilters filters, CPortForwardOp* pOperation) {
    pOperation->m_wLocalPort = static_cast<uint16_t>(fields.nLocalPort);
    pOperation->m_dwLocalIp = dwLocalIp;
    pOperation->m_wRemotePort = static_cast<uint16_t>(fields.nRemotePort);
    pOperation->m_strRemoteHost = fields.strRemoteHost;
    pOperation->m_nProtocol = fields.nProtocol;
    pOperation->m_nMaxSessions = fields.nMaxSessions;
    pOperation->m_strLocalInterface = fields.strLocalInterface;
    pOperation->m_bBounce = fields.bBounce;
    pOperation->m_nUdpTimeoutMs = fields.nUdpTimeoutMs;
    pOperation->m_bForwardIcmp = fields.bForwardIcmp;
    pOperation->m_allowRanges = std::move(filters.allowRanges);
    pOperation->m_blockRanges = std::move(filters.blockRanges);
    pOperation->m_bFiltersEnabled = filters.bEnabled;
}

void StoreLastUsed(const PfoFields& fields, AppSettings* pSettings) {
    pSettings->lastBounce = fields.bBounce;
    pSettings->lastProtocolTcp = fields.nProtocol == kProtocolTcp;
    pSettings->lastProtocolUdp = fields.nProtocol == kProtocolUdp;
    pSettings->lastLocalInterface = fields.strLocalInterface;
    pSettings->lastLocalPort = static_cast<uint16_t>(fields.nLocalPort);
    pSettings->lastRemoteHost = fields.strRemoteHost;
    pSettings->lastRemotePort = static_cast<uint16_t>(fields.nRemotePort);
    pSettings->lastMaxSessions = fields.nMaxSessions;
    pSettings->lastUdpTimeoutMs = fields.nUdpTimeoutMs;
    pSettings->lastForwardIcmp = fields.bForwardIcmp;
}

bool IsIcmpPhrase(const std::string& strText) {
    std::string strLower;
    std::transform(strText.begin(), strText.end(), std::back_inserter(strLower), LowerAscii);
    return std::find(std::begin(kIcmpPhrases), std::end(kIcmpPhrases), strLower) != std::end(kIcmpPhrases);
}
