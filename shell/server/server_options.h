// The command line of the program without a window.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/net/ip_address.h"

enum class ServerAction { Usage, Help, Version, RunFile, RunOperation };

struct ServerOptions {
    ServerAction action = ServerAction::Usage;
    std::string strError;  // Usage: what is wrong with the arguments
    std::string strFile;   // RunFile: the saved-settings file

    // RunOperation
    int32_t nProtocol = 0;
    Endpoint local;
    std::string strRemoteHost;  // empty: the client's own address
    uint16_t wRemotePort = 0;
    std::string strLogFile;  // empty: no log
    int32_t nMaxSessions = 100;
    int32_t nUdpTimeoutMs = 60000;
};

/// The arguments behind the program's name.
ServerOptions ParseServerOptions(std::span<const char* const> arguments);

/// How to call the program, with line ends.
const char* ServerUsage();
