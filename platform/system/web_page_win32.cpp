#include "platform/system/web_page.h"

#include "platform/system/windows_api.h"

#include <shellapi.h>

void OpenWebPage(const std::string& strBrowser, const std::string& strUrl) {
    const std::string strQuoted = '"' + strUrl + '"';
    ::ShellExecuteA(nullptr, nullptr, strBrowser.c_str(), strQuoted.c_str(), nullptr, SW_SHOWNORMAL);
}
