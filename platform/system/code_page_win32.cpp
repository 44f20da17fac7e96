#include "platform/system/code_page.h"

#include <climits>
#include <new>

#include "platform/system/windows_api.h"

bool WideToAnsi(std::u16string_view strWide, std::string* pstrAnsi) try {
    pstrAnsi->clear();
    if (strWide.empty()) return true;
    if (strWide.size() > INT_MAX) return false;
    const auto* const pWide = reinterpret_cast<const wchar_t*>(strWide.data());
    const int nWide = static_cast<int>(strWide.size());
    // The system refuses a default character for UTF-8, which needs none.
    const char* const pszDefault = GetACP() == CP_UTF8 ? nullptr : "\xBF";
    const int nSize = WideCharToMultiByte(CP_ACP, 0, pWide, nWide, nullptr, 0, pszDefault, nullptr);
    pstrAnsi->resize(static_cast<size_t>(nSize));
    return WideCharToMultiByte(CP_ACP, 0, pWide, nWide, pstrAnsi->data(), nSize, pszDefault, nullptr) == nSize &&
           nSize > 0;
} catch (const std::bad_alloc&) {
    pstrAnsi->clear();
    return false;
}

bool IsLeadByte(char ch) {
    return IsDBCSLeadByte(static_cast<BYTE>(ch)) != 0;
}
