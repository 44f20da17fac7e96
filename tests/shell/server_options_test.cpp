// The command line of the program without a window.
#include "shell/server/server_options.h"

#include <gmock/gmock.h>

#include <sstream>
#include <vector>

#include "platform/net/socket.h"

namespace {

/// What the arguments mean, in one line.
std::string Meaning(const std::string& strLine) {
    std::istringstream stream(strLine);
    const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
    std::vector<const char*> arguments;
    for (const std::string& strWord : words) arguments.push_back(strWord.c_str());
    const ServerOptions options = ParseServerOptions(arguments);
    const OpSettings& operation = options.operation;
    std::ostringstream meaning;
    if (options.bWait) meaning << "wait ";
    if (options.action == ServerAction::Usage) meaning << "wrong: " << options.strError;
    if (options.action == ServerAction::Help) meaning << "help";
    if (options.action == ServerAction::Version) meaning << "version";
    if (options.action == ServerAction::RunFile) meaning << "file " << options.strFile;
    if (options.action == ServerAction::RunOperation) {
        meaning << ProtocolText(operation.m_nProtocol) << " " << FormatIpAddress(operation.m_dwLocalIp) << ":"
                << operation.m_wLocalPort << " " << operation.m_strRemoteHost << ":" << operation.m_wRemotePort
                << " max " << operation.m_nMaxSessions << " timeout " << operation.m_nUdpTimeoutMs << " log "
                << options.strLogFile;
    }
    return meaning.str();
}

TEST(ServerOptions, ArgumentsMeanAnOperationAFileOrACommand) {
    const std::pair<const char*, const char*> cases[] = {
        {"--help", "help"},
        {"--version", "version"},
        {"saved.KVR", "file saved.KVR"},
        {"./-h", "file ./-h"},
        {"--wait saved.KVR", "wait file saved.KVR"},
        {"--max 1 --wait udp :1 :2", "wait UDP 0.0.0.0:1 :2 max 1 timeout 60000 log "},
        {"./tcp", "file ./tcp"},
        {"tcp 10.1.2.3:8080 there:80", "TCP 10.1.2.3:8080 there:80 max 100 timeout 60000 log "},
        {"--timeout 1000 --log a --max 2147483647 --log b udp 127.0.0.1:65535 localhost:1",
         "UDP 127.0.0.1:65535 localhost:1 max 2147483647 timeout 1000 log b"},
        {"udp :8080 :53", "UDP 0.0.0.0:8080 :53 max 100 timeout 60000 log "},
        {"udp *:8080 :53", "UDP 0.0.0.0:8080 :53 max 100 timeout 60000 log "}};
    for (const auto& [pszLine, pszMeaning] : cases) EXPECT_EQ(Meaning(pszLine), pszMeaning) << pszLine;
}

TEST(ServerOptions, WrongArgumentsAreNamed) {
    const std::vector<std::string> operationless = {
        "", "saved.KVR --help", "tcp", "tcp :1 a:1 b:1", "tcp :1 a:1 --max 5", "--wait", "--log a saved.KVR"};
    for (const std::string& strLine : operationless) {
        EXPECT_THAT(Meaning(strLine), testing::ContainsRegex("wrong: .*needs a protocol")) << strLine;
    }
    for (const std::string strLocal : {"1", "1.2.3.4.5:1", "1.2.3.256:1", ":0", ":65536", ":+1"}) {
        EXPECT_THAT(Meaning("tcp " + strLocal + " a:1"), testing::ContainsRegex("wrong: .*LOCALIP:PORT")) << strLocal;
    }
    for (const std::string strRemote : {"a", "a:"}) {
        EXPECT_THAT(Meaning("tcp :1 " + strRemote), testing::ContainsRegex("wrong: .*HOST:PORT")) << strRemote;
    }
    const std::pair<std::string, std::string> cases[] = {
        {"--help --version", "--help"}, {"--log", "--log needs a value"}, {"-h", "-h"}, {"TCP :1 a:1", "not TCP"}};
    for (const auto& [strLine, strReason] : cases) {
        EXPECT_THAT(Meaning(strLine), testing::ContainsRegex("wrong: .*" + strReason)) << strLine;
    }
    for (const std::string strNumber : {"--max -1", "--max 2147483648", "--max 5x", "--timeout 999"}) {
        const std::string strValue = strNumber.substr(strNumber.find(' ') + 1);
        EXPECT_THAT(Meaning(strNumber + " tcp :1 a:1"), testing::ContainsRegex("wrong: .*" + strValue)) << strNumber;
    }
    EXPECT_EQ(ParseServerOptions(std::vector<const char*>{""}).action, ServerAction::Usage);
}

}  // namespace
