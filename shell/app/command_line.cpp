#include "shell/app/command_line.h"

#include <algorithm>

namespace {

constexpr uint32_t kEnglish = 0;
constexpr uint32_t kGerman = 1;

std::string LowerCased(std::string strText) {
    std::transform(strText.begin(), strText.end(), strText.begin(),
                   [](char ch) { return 'A' <= ch && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch; });
    return strText;
}

bool Holds(const std::string& strLowered, const char* pszOption) {
    return strLowered.find(pszOption) != std::string::npos;
}

}  // namespace

CommandLine ParseCommandLine(const std::string& strLine) {
    const std::string strLowered = LowerCased(strLine);
    CommandLine line;
    line.bNoInstall = Holds(strLowered, "noinstal");
    line.bUninstall = Holds(strLowered, "uninstal");
    if (Holds(strLowered, "english")) line.languageCode = kEnglish;
    if (Holds(strLowered, "deutsch")) line.languageCode = kGerman;
    line.bStartMinimized = Holds(strLowered, "start_minimized");
    line.bDoHelp = Holds(strLowered, "-dohelp");
    line.bUsage = Holds(strLowered, "?") || (Holds(strLowered, "help") && !line.bDoHelp);
    line.bRecognised = line.bNoInstall || line.bUninstall || line.languageCode || line.bStartMinimized ||
                       IsServiceCommandLine(strLine) || line.bDoHelp;
    return line;
}

bool IsServiceCommandLine(const std::string& strLine) {
    return Holds(LowerCased(strLine), "-service");
}
