#include "engine/ip_range.h"

#include "platform/net/ip_address.h"

bool IsInRanges(const IpRangeList& ranges, uint32_t dwIp) {
    const uint32_t dwNumber = IpToNumber(dwIp);
    for (const IpRange& range : ranges) {
        if (range.dwFrom == 0) return false;
        if (IpToNumber(range.dwFrom) <= dwNumber && dwNumber <= IpToNumber(range.dwTo)) return true;
    }
    return false;
}

bool IsEmptyList(const IpRangeList& ranges) {
    return ranges.empty() || ranges.front().dwFrom == 0;
}
