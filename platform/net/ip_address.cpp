#include "platform/net/ip_address.h"

#include <bit>
#include <cstdio>

#include "platform/net/socket_system.h"

bool ParseIpAddress(const std::string& strText, uint32_t* pdwIp) {
    const auto dwIp = inet_addr(strText.c_str());
    if (dwIp == INADDR_NONE) return false;
    *pdwIp = dwIp;
    return true;
}

std::string FormatIpAddress(uint32_t dwIp) {
    const uint32_t dwNumber = IpToNumber(dwIp);
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", dwNumber >> 24, dwNumber >> 16 & 0xFF, dwNumber >> 8 & 0xFF,
                  dwNumber & 0xFF);
    return text;
}

uint32_t IpToNumber(uint32_t dwIp) {
    if constexpr (std::endian::native == std::endian::big) return dwIp;
    return dwIp << 24 | (dwIp & 0xFF00) << 8 | (dwIp >> 8 & 0xFF00) | dwIp >> 24;
}

uint32_t IpFromNumber(uint32_t dwNumber) {
    return IpToNumber(dwNumber);
}
