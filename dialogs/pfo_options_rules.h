// What the operation options dialog asks of its fields and does with them, without its window.
//
// Plain values and functions on them, for the thread of the windows: the program's record belongs to that thread.
#pragma once

#include <cstdint>
#include <string>

#include "engine/host_text.h"
#include "engine/op_settings.h"

class TextTable;
struct LastUsedOptions;

/// The settings that the dialog holds while it is open. Its fields stand for members of `settings`, save for the ports,
/// which are not yet known to be ports: the number in the field, 0 for a text that is none. What has no field, such as
/// the filters, is what the dialog was given.
struct PfoFields {
    OpSettings settings;  // m_nProtocol is 0 when neither protocol is chosen
    int32_t nLocalPort = 0;
    int32_t nRemotePort = 0;
};

/// What the dialog of a new operation starts from: the values used last.
OpSettings LastUsedSettings(const LastUsedOptions& lastUsed);
/// Remembers the settings as what the next new operation starts from, without filters.
void StoreLastUsed(OpSettings settings, LastUsedOptions* pLastUsed);

enum class PfoField { None, MaxSessions, UdpTimeout, LocalPort, RemotePort, LocalInterface, RemoteHost };

/// The first field that does not do, and why.
struct PfoRefusal {
    PfoField field = PfoField::None;
    uint32_t nSlot = 0;   // of the text to show
    std::string strHost;  // a host that names nothing, as the resolver was asked for it; it is shown behind the text

    bool operator==(const PfoRefusal&) const = default;
};

/// Looks at the numbers, in the order in which the user is told of them. When all of them do, the ports of the settings are
/// those of the fields.
[[nodiscard]] PfoRefusal CheckNumbers(PfoFields* pFields);

/// Asks the resolver for the hosts; blocks. When both do, the settings hold the address to listen on, 0 for a blank
/// interface. With bounce, the remote host is not looked at.
[[nodiscard]] PfoRefusal ResolveHosts(OpSettings* pSettings);

/// The text of the message in which a refusal is told.
std::string RefusalText(const PfoRefusal& refusal, const TextTable& texts);

/// Whether a local interface is one of the phrases that show the check box for ICMP errors; capitals do not count.
bool IsIcmpPhrase(const std::string& strText);
