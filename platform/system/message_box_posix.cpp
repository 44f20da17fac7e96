#include "platform/system/message_box.h"

#include <cstdio>

namespace {

// A message of several lines stays readable among other lines of standard error.
std::string OnOneLine(const std::string& strText) {
    std::string strLine;
    for (const char ch : strText) {
        const bool bBreak = ch == '\r' || ch == '\n' || ch == '\t';
        if (!bBreak) strLine += ch;
        if (bBreak && !strLine.empty() && strLine.back() != ' ') strLine += ' ';
    }
    while (!strLine.empty() && strLine.back() == ' ') strLine.pop_back();
    return strLine;
}

}  // namespace

bool ShowSystemMessage(const Message& message) {
    const std::string strText = OnOneLine(message.strText);
    const char* const pszAnswer = message.buttons == MessageButtons::YesNo ? " (answered with Yes)" : "";
    if (message.strCaption.empty()) {
        std::fprintf(stderr, "%s%s\n", strText.c_str(), pszAnswer);
    } else {
        std::fprintf(stderr, "%s: %s%s\n", OnOneLine(message.strCaption).c_str(), strText.c_str(), pszAnswer);
    }
    return true;
}
