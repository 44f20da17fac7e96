// The command line of the program without a window.
#include "shell/server/server_options.h"

#include <gmock/gmock.h>

#include <sstream>
#include <vector>

#include "platform/net/socket.h"

namespace {

using testing::HasSubstr;

ServerOptions Parse(const std::string& strLine) {
    std::istringstream stream(strLine);
    std::vector<std::string> words;
    for (std::string strWord; stream >> strWord;) words.push_back(strWord);
    std::vector<const char*> arguments;
    for (const std::string& strWord : words) arguments.push_back(strWord.c_str());
    return ParseServerOptions(arguments);
}

TEST(ServerOptions, OneWordIsACommandOrAFile) {
    EXPECT_EQ(Parse("--help").action, ServerAction::Help);
    EXPECT_EQ(Parse("--version").action, ServerAction::Version);
    for (const std::string strFile : {"saved.KVR", "./-h", "./tcp"}) {
        const ServerOptions options = Parse(strFile);
        EXPECT_EQ(options.action, ServerAction::RunFile) << strFile;
        EXPECT_EQ(options.strFile, strFile);
    }
}

TEST(ServerOptions, AnOperationHasDefaults) {
    const ServerOptions options = Parse("tcp 10.1.2.3:8080 there.example:80");
    EXPECT_EQ(options.action, ServerAction::RunOperation);
    EXPECT_EQ(options.operation.m_nProtocol, kProtocolTcp);
    EXPECT_EQ(FormatIpAddress(options.operation.m_dwLocalIp), "10.1.2.3");
    EXPECT_EQ(options.operation.m_wLocalPort, 8080);
    EXPECT_EQ(options.operation.m_strRemoteHost, "there.example");
    EXPECT_EQ(options.operation.m_wRemotePort, 80);
    EXPECT_EQ(options.strLogFile, "");
    EXPECT_EQ(options.operation.m_nMaxSessions, 100);
    EXPECT_EQ(options.operation.m_nUdpTimeoutMs, 60000);
}

TEST(ServerOptions, OptionsComeInAnyOrderAndTheLastOneCounts) {
    const ServerOptions options =
        Parse("--timeout 1000 --log a.log --max 2147483647 --log b.log udp 127.0.0.1:65535 localhost:1");
    EXPECT_EQ(options.action, ServerAction::RunOperation);
    EXPECT_EQ(options.operation.m_nProtocol, kProtocolUdp);
    EXPECT_EQ(options.operation.m_wLocalPort, 65535);
    EXPECT_EQ(options.operation.m_wRemotePort, 1);
    EXPECT_EQ(options.strLogFile, "b.log");
    EXPECT_EQ(options.operation.m_nMaxSessions, 2147483647);
    EXPECT_EQ(options.operation.m_nUdpTimeoutMs, 1000);
}

TEST(ServerOptions, AddressesMayBeLeftOut) {
    for (const std::string strLocal : {":8080", "*:8080", "0.0.0.0:8080"}) {
        const ServerOptions options = Parse("udp " + strLocal + " :53");
        EXPECT_EQ(options.action, ServerAction::RunOperation) << strLocal;
        EXPECT_EQ(options.operation.m_dwLocalIp, 0u);
        EXPECT_EQ(options.operation.m_wLocalPort, 8080);
        EXPECT_EQ(options.operation.m_strRemoteHost, "");
        EXPECT_EQ(options.operation.m_wRemotePort, 53);
    }
}

TEST(ServerOptions, WrongArgumentsAreNamed) {
    const struct {
        const char* pszLine;
        const char* pszReason;
    } cases[] = {
        {"", "needs a protocol"},
        {"--help --version", "--help"},
        {"saved.KVR --help", "needs a protocol"},
        {"--log", "--log needs a value"},
        {"-h", "-h"},
        {"tcp", "needs a protocol"},
        {"--max -1 tcp :1 a:1", "-1"},
        {"--max 2147483648 tcp :1 a:1", "2147483648"},
        {"--max 5x tcp :1 a:1", "5x"},
        {"--timeout 999 udp :1 a:1", "999"},
        {"TCP :1 a:1", "not TCP"},
        {"tcp 1 a:1", "LOCALIP:PORT"},
        {"tcp 1.2.3.4.5:1 a:1", "LOCALIP:PORT"},
        {"tcp 1.2.3.256:1 a:1", "LOCALIP:PORT"},
        {"tcp :0 a:1", "LOCALIP:PORT"},
        {"tcp :65536 a:1", "LOCALIP:PORT"},
        {"tcp :+1 a:1", "LOCALIP:PORT"},
        {"tcp :1 a", "HOST:PORT"},
        {"tcp :1 a:", "HOST:PORT"},
        {"tcp :1 a:1 b:1", "needs a protocol"},
        {"tcp :1 a:1 --max 5", "needs a protocol"},
    };
    for (const auto& each : cases) {
        const ServerOptions options = Parse(each.pszLine);
        EXPECT_EQ(options.action, ServerAction::Usage) << each.pszLine;
        EXPECT_THAT(options.strError, HasSubstr(each.pszReason)) << each.pszLine;
    }
    EXPECT_EQ(ParseServerOptions(std::vector<const char*>{""}).action, ServerAction::Usage);
}

}  // namespace
