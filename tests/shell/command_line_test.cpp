// Options on the command line.
#include "shell/app/command_line.h"

#include <gmock/gmock.h>

using testing::Optional;

namespace {

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
