// When operations are started by themselves and tried again, and the options on the command line.
#include <gmock/gmock.h>

#include <array>
#include <utility>

#include "platform/net/socket.h"
#include "shell/app/command_line.h"
#include "shell/app_settings.h"
#include "shell/auto_start.h"
#include "shell/link_operation.h"
#include "shell/operation_keeper.h"
#include "tests/support/wait.h"

using testing::Optional;

namespace {

TEST(AutoStart, TheUserIsAskedOnlyWhereTheModeLeavesItOpen) {
    // Operations that ran, the mode, and whether they start: "yes", "no", or as the user answers.
    const std::tuple<int32_t, uint32_t, std::string> cases[] = {{0, kAutoStartAlways, "no"},
                                                                {0, kAutoStartAsk, "no"},
                                                                {-1, kAutoStartAlways, "no"},
                                                                {2, kAutoStartNever, "no"},
                                                                {2, kAutoStartAsk, "asked"},
                                                                {1, kAutoStartAlways, "yes"},
                                                                {1, 3, "asked"},
                                                                {1, 0xFFFFFFFF, "asked"}};
    for (const auto& [nRunning, dwMode, strStart] : cases) {
        AppSettings settings;
        settings.runningOpCount = nRunning;
        settings.autoStartMode = dwMode;
        for (const bool bAnswer : {true, false}) {
            bool bAsked = false;
            const bool bStart = ShouldStartOperations(settings, [&, bAnswer] { return bAsked = true, bAnswer; });
            EXPECT_EQ(bAsked, strStart == "asked") << nRunning << " ran, mode " << dwMode;
            EXPECT_EQ(bStart, bAsked ? bAnswer : strStart == "yes") << nRunning << " ran, mode " << dwMode;
        }
    }
}

TEST(OperationKeeper, WhatShouldRunIsTriedInTurnUntilItDoesAndToldOnce) {
    const CWatchdog watchdog;
    AppSettings settings;
    EngineCounters counters;
    LogQueue queue;
    std::array<CPortForwardOp, 3> ops;
    std::array<CSocket, 2> taken;
    std::string strTold;
    for (CPortForwardOp& op : ops) {
        LinkOperation(&op, settings, &counters, &queue);
        op.m_settings.m_dwLocalIp = IpFromNumber(0x7F000001);
        op.m_settings.m_nProtocol = kProtocolTcp;
    }
    for (size_t n : {0U, 1U}) {
        Endpoint local;
        EXPECT_EQ(taken[n].Open(SocketKind::Tcp), 0);
        EXPECT_EQ(taken[n].Bind({IpFromNumber(0x7F000001), 0}), 0);
        EXPECT_EQ(taken[n].Listen(1), 0);
        EXPECT_EQ(taken[n].LocalEndpoint(&local), 0);
        ops[n].m_settings.m_wLocalPort = local.wPort;
    }
    const auto report = [&](const CPortForwardOp* pOp, bool bStarted) {
        strTold += (bStarted ? "+" : "-") + std::to_string(pOp - ops.data());
    };
    COperationKeeper keeper(&settings, report, std::chrono::milliseconds(1));
    // Until each has had its turn, and the next is due later. How many steps that took, and what was told.
    const auto round = [&] {
        int nSteps = 0;
        for (const auto begin = keeper.NextTry(); keeper.NextTry() == begin; ++nSteps) keeper.TryNext();
        return std::to_string(nSteps) + std::exchange(strTold, "");
    };
    for (CPortForwardOp& op : ops) EXPECT_EQ(keeper.Keep(&op), &op == &ops[2]);
    EXPECT_EQ(std::exchange(strTold, ""), "-0-1+2");
    EXPECT_EQ(round(), "3") << "one in a step";
    taken[1].Close();
    EXPECT_EQ(round(), "3+1");
    ops[2].Stop();  // as if its listener had failed
    EXPECT_EQ(round(), "3+2");
    EXPECT_EQ(settings.wantedOps.size(), 3U);
    keeper.Release(ops.data());
    taken[0].Close();
    EXPECT_EQ(round(), "1");
    EXPECT_EQ(ops[0].m_bRunning, 0);
}

TEST(CommandLineTest, OptionsAreSubstringsInAnyCase) {
    for (const char* const pszLine : {"noinstal", "-NoInstall", " /NOINSTALLATION please"}) {
        const CommandLine line = ParseCommandLine(pszLine);
        EXPECT_TRUE(line.bNoInstall && line.bRecognised) << pszLine;
        EXPECT_FALSE(line.bUninstall || line.bUsage || line.bDoHelp || line.bStartMinimized) << pszLine;
    }
    const CommandLine line = ParseCommandLine("-noinstall -Start_Minimized -DEUTSCH -uninstall");
    EXPECT_TRUE(line.bNoInstall && line.bStartMinimized && line.bUninstall);
    EXPECT_THAT(line.languageCode, Optional(1u));
    EXPECT_THAT(ParseCommandLine("english deutsch").languageCode, Optional(1u));
    EXPECT_THAT(ParseCommandLine("english").languageCode, Optional(0u));
}

TEST(CommandLineTest, HelpShowsTheUsageUnlessTheHelpDialogIsMeant) {
    EXPECT_TRUE(ParseCommandLine("-uninstall -help").bUsage);
    EXPECT_TRUE(ParseCommandLine("/?").bUsage);
    const CommandLine line = ParseCommandLine("-DoHelp");
    EXPECT_TRUE(line.bDoHelp && line.bRecognised);
    EXPECT_FALSE(line.bUsage);
    EXPECT_TRUE(ParseCommandLine("-dohelp ?").bUsage);
}

TEST(CommandLineTest, OtherLinesAreNotRecognised) {
    for (const char* const pszLine : {"settings.kvr", "-start-minimized", "service"}) {
        EXPECT_FALSE(ParseCommandLine(pszLine).bRecognised) << pszLine;
    }
    EXPECT_TRUE(ParseCommandLine("-Service").bRecognised);
    EXPECT_TRUE(IsServiceCommandLine("x -SERVICE"));
    EXPECT_FALSE(IsServiceCommandLine("service"));
}

}  // namespace
