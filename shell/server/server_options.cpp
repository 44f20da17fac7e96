#include "shell/server/server_options.h"

#include <charconv>
#include <limits>

#include "platform/net/socket.h"

namespace {

constexpr char kUsage[] =
    "Usage:\n"
    "  zelkor [--wait] FILE.KVR\n"
    "      Runs the operations of a saved-settings file that were running when it was saved, until SIGINT or\n"
    "      SIGTERM. The file is then saved again, unless it is cut off, of another version, or was changed meanwhile.\n"
    "  zelkor [--wait] [--log FILE] [--max N] [--timeout MS] tcp|udp LOCALIP:PORT HOST:PORT\n"
    "      Runs one operation. LOCALIP may be left out or be *, for all interfaces; without HOST the connections\n"
    "      go back to the client's own address.\n"
    "        --log FILE     appends the session events to FILE, once a second\n"
    "        --max N        maximum simultaneous sessions (100)\n"
    "        --timeout MS   end of a silent UDP session, in milliseconds, at least 1000 (60000)\n"
    "  zelkor --help | --version\n"
    "An operation that cannot be started is tried again every five seconds, and stays marked as running in the file.\n"
    "If none can be started at first, zelkor ends, unless --wait is given: then it goes on trying.\n"
    "Exit codes: 0 orderly end, 1 wrong arguments, 2 the file was refused or could not be read, 3 no operation could\n"
    "be started.\n";

// A decimal number of the whole text, within the bounds.
bool ParseNumber(const std::string& strText, int32_t nLowest, int32_t nHighest, int32_t* pnValue) {
    const char* const pEnd = strText.data() + strText.size();
    const auto result = std::from_chars(strText.data(), pEnd, *pnValue);
    return result.ec == std::errc() && result.ptr == pEnd && *pnValue >= nLowest && *pnValue <= nHighest;
}

bool ParsePort(const std::string& strText, uint16_t* pwPort) {
    int32_t nPort = 0;
    if (!ParseNumber(strText, 1, 65535, &nPort)) return false;
    *pwPort = static_cast<uint16_t>(nPort);
    return true;
}

// "address:port", split at the last colon.
bool SplitAddress(const std::string& strText, std::string* pstrHost, uint16_t* pwPort) {
    const size_t nColon = strText.rfind(':');
    if (nColon == std::string::npos) return false;
    *pstrHost = strText.substr(0, nColon);
    return ParsePort(strText.substr(nColon + 1), pwPort);
}

bool ParseLocal(const std::string& strText, OpSettings* pOperation) {
    std::string strIp;
    if (!SplitAddress(strText, &strIp, &pOperation->m_wLocalPort)) return false;
    return strIp.empty() || strIp == "*" || ParseIpAddress(strIp, &pOperation->m_dwLocalIp);
}

ServerOptions Wrong(const std::string& strError) {
    ServerOptions options;
    options.strError = strError;
    return options;
}

// One "--name value". Empty, or what is wrong.
std::string ReadOption(const std::string& strName, const std::string& strValue, ServerOptions* pOptions) {
    constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
    if (strName == "--log") {
        pOptions->strLogFile = strValue;
        return strValue.empty() ? "--log needs the path of a file" : "";
    }
    if (strName == "--max") {
        const bool bValid = ParseNumber(strValue, 1, kHighest, &pOptions->operation.m_nMaxSessions);
        return bValid ? "" : "--max needs a number above 0, not " + strValue;
    }
    if (strName == "--timeout") {
        const bool bValid = ParseNumber(strValue, kMinUdpTimeoutMs, kHighest, &pOptions->operation.m_nUdpTimeoutMs);
        return bValid ? "" : "--timeout needs at least 1000 milliseconds, not " + strValue;
    }
    return "unknown option " + strName;
}

bool IsProtocol(const std::string& strWord) {
    return strWord == "tcp" || strWord == "udp";
}

ServerOptions ReadOperation(std::span<const char* const> words, ServerOptions options) {
    if (words.size() != 3) return Wrong("an operation needs a protocol, LOCALIP:PORT and HOST:PORT");
    const std::string strProtocol = words[0];
    if (!IsProtocol(strProtocol)) return Wrong("the protocol is tcp or udp, not " + strProtocol);
    OpSettings& operation = options.operation;
    operation.m_nProtocol = strProtocol == "tcp" ? kProtocolTcp : kProtocolUdp;
    if (!ParseLocal(words[1], &operation)) {
        return Wrong(std::string("LOCALIP:PORT needs a numeric address and a port from 1 to 65535, not ") + words[1]);
    }
    if (!SplitAddress(words[2], &operation.m_strRemoteHost, &operation.m_wRemotePort)) {
        return Wrong(std::string("HOST:PORT needs a port from 1 to 65535, not ") + words[2]);
    }
    options.action = ServerAction::RunOperation;
    return options;
}

bool IsOption(const std::string& strWord) {
    return strWord.starts_with("-");
}

// A file whose name begins like an option, or is that of a protocol, can be given with its folder.
bool IsFileName(const std::string& strWord) {
    return !strWord.empty() && !IsProtocol(strWord);
}

}  // namespace

ServerOptions ParseServerOptions(std::span<const char* const> arguments) {
    ServerOptions options;
    const std::string strOnly = arguments.size() == 1 ? arguments[0] : "";
    if (strOnly == "--help" || strOnly == "--version") {
        options.action = strOnly == "--help" ? ServerAction::Help : ServerAction::Version;
        return options;
    }
    bool bOfOperation = false;
    size_t nWord = 0;
    while (nWord < arguments.size() && IsOption(arguments[nWord])) {
        const std::string strName = arguments[nWord++];
        if (strName == "--wait") {
            options.bWait = true;
            continue;
        }
        if (nWord == arguments.size()) return Wrong(strName + " needs a value");
        const std::string strError = ReadOption(strName, arguments[nWord++], &options);
        if (!strError.empty()) return Wrong(strError);
        bOfOperation = true;
    }
    const auto words = arguments.subspan(nWord);
    if (bOfOperation || words.size() != 1 || !IsFileName(words[0])) return ReadOperation(words, options);
    options.action = ServerAction::RunFile;
    options.strFile = words[0];
    return options;
}

const char* ServerUsage() {
    return kUsage;
}
