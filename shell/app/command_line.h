// What the program's command line asks for.
//
// Each option is a substring of the lower-cased line: there are no words and no dashes, and a longer word that holds an
// option is that option too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct CommandLine {
    bool bRecognised = false;  // one of the options below, "-service" included, stands in it
    bool bNoInstall = false;
    bool bUninstall = false;
    bool bStartMinimized = false;
    bool bDoHelp = false;
    bool bUsage = false;                   // the options are to be shown; nothing else happens then
    std::optional<uint32_t> languageCode;  // in force at the next start; the texts are loaded already
};

/// The line is what stands behind the program's name. An empty one asks for nothing.
CommandLine ParseCommandLine(const std::string& strLine);

/// Whether the line asks for the program to run as a service.
bool IsServiceCommandLine(const std::string& strLine);
