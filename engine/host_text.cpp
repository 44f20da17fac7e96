#include "engine/host_text.h"

#include "language/text_table.h"
#include "platform/net/socket.h"
#include "platform/system/message_box.h"

namespace {

constexpr char kBlanks[] = " \t";

// Host fields take this much; no host name is longer, and a settings file can hold any text.
constexpr size_t kMaxHostText = 4095;

constexpr uint32_t kSlotNullHost = 69;
constexpr uint32_t kSlotUnresolvedHost = 70;

void ShowFailure(const std::string& strText) {
    Message message;
    message.strText = strText;
    message.icon = MessageIcon::Error;
    ShowMessage(message);
}

}  // namespace

bool IsBlankText(const std::string& strText) {
    return strText.find_first_not_of(kBlanks) == std::string::npos;
}

void TrimText(std::string* pstrText) {
    const size_t nFirst = pstrText->find_first_not_of(kBlanks);
    if (nFirst == std::string::npos) {
        pstrText->clear();
        return;
    }
    const size_t nLast = pstrText->find_last_not_of(kBlanks);
    *pstrText = pstrText->substr(nFirst, nLast - nFirst + 1);
}

bool ResolveHostText(std::string* pstrHost, const TextTable* pMessages) {
    if (IsBlankText(*pstrHost)) {
        if (pMessages != nullptr) ShowFailure(pMessages->Text(kSlotNullHost));
        return false;
    }
    TrimText(pstrHost);
    uint32_t dwIp = 0;
    const bool bFound =
        ParseIpAddress(*pstrHost, &dwIp) || (pstrHost->size() <= kMaxHostText && ResolveHostName(*pstrHost, &dwIp));
    if (!bFound) {
        if (pMessages != nullptr) ShowFailure(pMessages->Text(kSlotUnresolvedHost) + "\r\n" + *pstrHost + "\r\n");
        return false;
    }
    *pstrHost = FormatIpAddress(dwIp);
    return true;
}

bool ResolveHostAddress(const std::string& strHost, uint32_t* pdwIp) {
    std::string strResolved = strHost;
    return ResolveHostText(&strResolved, nullptr) && ParseIpAddress(strResolved, pdwIp);
}
