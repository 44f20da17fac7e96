#include "platform/net/interfaces.h"

#include "platform/system/windows_api.h"

std::vector<uint32_t> LocalAddresses() {
    char szName[256] = {};
    if (gethostname(szName, sizeof(szName)) != 0) return {};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): Winsock answers each thread in a record of its own
    const hostent* const pHost = gethostbyname(szName);
    if (!pHost || pHost->h_addrtype != AF_INET) return {};
    std::vector<uint32_t> addresses;
    for (char** ppAddress = pHost->h_addr_list; *ppAddress; ++ppAddress)
        addresses.push_back(reinterpret_cast<const in_addr*>(*ppAddress)->s_addr);
    return addresses;
}
