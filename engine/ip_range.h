// Lists of address ranges, by which an operation filters its clients.
#pragma once

#include <cstdint>
#include <vector>

/// Both ends are included; network byte order. A range whose first address lies above its last matches nothing.
struct IpRange {
    uint32_t dwFrom = 0;
    uint32_t dwTo = 0;

    bool operator==(const IpRange&) const = default;
};

/// A filter list. An entry whose dwFrom is 0 ends the list, wherever it stands: that is how the files mark its end.
using IpRangeList = std::vector<IpRange>;

/// Whether an address (network byte order) lies in one of the ranges. A linear walk.
bool IsInRanges(const IpRangeList& ranges, uint32_t dwIp);
/// Whether the list holds no entry ahead of its end.
bool IsEmptyList(const IpRangeList& ranges);
