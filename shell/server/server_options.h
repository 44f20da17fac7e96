// The command line of the program without a window.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "engine/op_settings.h"

enum class ServerAction { Usage, Help, Version, RunFile, RunOperation };

struct ServerOptions {
    ServerAction action = ServerAction::Usage;
    std::string strError;  // Usage: what is wrong with the arguments
    bool bWait = false;    // goes on trying when no operation can be started at first
    std::string strFile;   // RunFile: the saved-settings file

    // RunOperation
    OpSettings operation;
    std::string strLogFile;  // empty: no log
};

/// The arguments behind the program's name.
ServerOptions ParseServerOptions(std::span<const char* const> arguments);

/// How to call the program, with line ends.
const char* ServerUsage();
