// When operations are started by themselves, and the options on the command line.
#include <gmock/gmock.h>

#include "shell/app/command_line.h"
#include "shell/app_settings.h"
#include "shell/auto_start.h"

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
