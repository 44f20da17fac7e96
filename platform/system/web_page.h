// Pages on the web, shown by the user's browser.
#pragma once

#include <string>

/// Starts the browser program with the page. Does not wait, and a failure is not told.
void OpenWebPage(const std::string& strBrowser, const std::string& strUrl);
