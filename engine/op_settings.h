// The settings of one port-forwarding-operation, as one value: what the user edits, the file keeps and the engine obeys.
//
// A plain value: compared and copied whole. The operation, the options dialog, the last-used values, the worker of an edit
// and the file each hold one. Nothing here is checked; the dialogs refuse what makes no sense, and a file can hold any
// value.
#pragma once

#include <cstdint>
#include <string>

#include "engine/ip_range.h"

/// Values of m_nProtocol: IP protocol numbers. Every other value is kept but cannot be started.
inline constexpr int32_t kProtocolTcp = 6;
inline constexpr int32_t kProtocolUdp = 17;

/// The least m_nUdpTimeoutMs that users are let choose.
inline constexpr int32_t kMinUdpTimeoutMs = 1000;

struct OpSettings {
    int32_t m_nProtocol = kProtocolTcp;
    std::string m_strLocalInterface;  // as the user typed it; the engine reads m_dwLocalIp
    uint32_t m_dwLocalIp = 0;         // network byte order; 0: all interfaces
    uint16_t m_wLocalPort = 0;        // host byte order
    std::string m_strRemoteHost;      // name, dotted quad or blank; resolved anew for every session
    uint16_t m_wRemotePort = 0;       // host byte order
    uint8_t m_bBounce = 0;            // connect to the client's own address
    int32_t m_nMaxSessions = 100;     // one client more is turned away
    int32_t m_nUdpTimeoutMs = 60000;  // silence after which a UDP session ends
    uint8_t m_bForwardIcmp = 0;
    uint8_t m_bFiltersEnabled = 0;
    IpRangeList m_allowRanges;
    IpRangeList m_blockRanges;

    /// Whether each client is connected back to its own address: bounce, or a blank remote host.
    bool IsTargetTheClient() const;

    bool operator==(const OpSettings&) const = default;
};

/// "TCP" or "UDP"; null for every other number.
const char* ProtocolText(int32_t nProtocol);
