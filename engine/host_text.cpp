#include "engine/host_text.h"

#include <new>

#include "platform/net/socket.h"

namespace {

constexpr char kBlanks[] = " \t";

// Host fields take this much; no host name is longer, and a settings file can hold any text.
constexpr size_t kMaxHostText = 4095;

std::string_view Trimmed(std::string_view strText) {
    const size_t nFirst = strText.find_first_not_of(kBlanks);
    if (nFirst == std::string_view::npos) return {};
    return strText.substr(nFirst, strText.find_last_not_of(kBlanks) - nFirst + 1);
}

}  // namespace

bool IsBlankText(const std::string& strText) {
    return Trimmed(strText).empty();
}

void TrimText(std::string* pstrText) {
    const std::string_view strTrimmed = Trimmed(*pstrText);
    const size_t nFirst = strTrimmed.empty() ? 0 : static_cast<size_t>(strTrimmed.data() - pstrText->data());
    // In place: a text that is only made shorter asks for no memory.
    pstrText->resize(nFirst + strTrimmed.size());
    pstrText->erase(0, nFirst);
}

HostResult ResolveHostText(std::string* pstrHost) {
    if (IsBlankText(*pstrHost)) return HostResult::Blank;
    TrimText(pstrHost);
    uint32_t dwIp = 0;
    if (!ResolveHostAddress(*pstrHost, &dwIp)) return HostResult::Unknown;
    *pstrHost = FormatIpAddress(dwIp);
    return HostResult::Resolved;
}

bool ParseHostAddress(std::string_view strHost, uint32_t* pdwIp) try {
    const std::string_view strTrimmed = Trimmed(strHost);
    return !strTrimmed.empty() && strTrimmed.size() <= kMaxHostText && ParseIpAddress(std::string(strTrimmed), pdwIp);
} catch (const std::bad_alloc&) {
    return false;
}

bool ResolveHostAddress(std::string_view strHost, uint32_t* pdwIp) try {
    if (ParseHostAddress(strHost, pdwIp)) return true;
    const std::string_view strTrimmed = Trimmed(strHost);
    return !strTrimmed.empty() && strTrimmed.size() <= kMaxHostText && ResolveHostName(std::string(strTrimmed), pdwIp);
} catch (const std::bad_alloc&) {
    return false;
}
