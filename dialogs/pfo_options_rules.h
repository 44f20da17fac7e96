// What the operation options dialog asks of its fields and does with them, without its window.
//
// Plain values and functions on them, for the thread of the windows: AppSettings and the settings of an operation belong
// to that thread.
#pragma once

#include <cstdint>
#include <string>

#include "engine/ip_range.h"

class CPortForwardOp;
class TextTable;
struct AppSettings;

/// The fields as numbers and texts; a text that is no number is 0. The ports are not yet known to be ports.
struct PfoFields {
    int32_t nLocalPort = 0;
    int32_t nRemotePort = 0;
    int32_t nMaxSessions = 0;
    int32_t nUdpTimeoutMs = 0;
    int32_t nProtocol = 0;          // kProtocolTcp, kProtocolUdp, or 0 when neither is chosen
    std::string strLocalInterface;  // as typed
    std::string strRemoteHost;      // as typed
    bool bBounce = false;
    bool bForwardIcmp = false;

    bool operator==(const PfoFields&) const = default;
};

/// The filters that an operation gets along with its fields.
struct PfoFilters {
    IpRangeList allowRanges;
    IpRangeList blockRanges;
    bool bEnabled = false;
};

/// What the dialog starts from: the values used last, or those of an operation.
PfoFields LastUsedFields(const AppSettings& settings);
PfoFields FieldsOf(const CPortForwardOp& operation);

enum class PfoField { None, MaxSessions, UdpTimeout, LocalPort, RemotePort, LocalInterface, RemoteHost };

/// The first field that does not do. The caller shows the text of nSlot; 0 when the user has been told already.
struct PfoRefusal {
    PfoField field = PfoField::None;
    uint32_t nSlot = 0;
};

/// Looks at the numbers, in the order in which the user is told of them.
[[nodiscard]] PfoRefusal CheckNumbers(const PfoFields& fields);

/// Asks the resolver for the hosts and shows its failures (in the texts given). Blocks. On success *pdwLocalIp is the
/// address to listen on in network byte order, 0 for a blank interface; with bounce, the remote host is not looked at.
[[nodiscard]] PfoRefusal ResolveHosts(const PfoFields& fields, const TextTable& texts, uint32_t* pdwLocalIp);

/// Gives checked fields to an operation that is not started. Its counters and links stay.
void StoreFields(const PfoFields& fields, uint32_t dwLocalIp, PfoFilters filters, CPortForwardOp* pOperation);
/// Remembers the fields as what the next new operation starts from.
void StoreLastUsed(const PfoFields& fields, AppSettings* pSettings);

/// Whether a local interface is one of the phrases that show the check box for ICMP errors; capitals do not count.
bool IsIcmpPhrase(const std::string& strText);
