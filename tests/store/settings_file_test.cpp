// What is written and what comes back: the layout, the refusals, the question about the version.
#include "store/settings_file.h"

#include <gmock/gmock.h>

#include "platform/files/files.h"
#include "platform/system/process.h"
#include "tests/store/settings_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(SettingsFile, ANewRecordIsWrittenAsTheFormatSays) {
    LoadFrom((m_folder / "missing").string());
    const std::string strFile = Save();
    const std::string strHead(
        "\x7C\x55\xD3\x92\x6E\x94\x45\x48\xA5\x51\xF5\xF1\xD0\xAF\xE4\x40"
        "\x14\0\0\0Velmoorstack ZELKOR\0\x01\0\0\0\0\0\0\0"
        "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
        "\0\0\0\0\0\x01\0\0\0\0",
        74);
    EXPECT_EQ(strFile.substr(0, 74), strHead);
    const std::string strColumns = U32(0) + U32(1) + U32(2) + U32(3) + U32(4) + U32(5) + U32(77) + U32(60) + U32(105) +
                                   U32(93) + U32(150) + U32(93);
    const std::string strEmpty = Text("");
    const std::string strLastUsed =
        strEmpty + strEmpty + U8(0) + U8(1) + U8(0) + U16(0) + U16(0) + U32(100) + U32(60000);
    const std::string strBehind = U8(0) + U8(1) + U8(0) + U8(1) + U8(0) + strEmpty + strEmpty + strEmpty + strEmpty +
                                  strEmpty + U32(1) + U8(0) + U8(0) + Text("new30") + strEmpty + Text("new31") +
                                  U32(10) + strEmpty + strEmpty + U32(0) + U8(0) + U8(0) + U8(0) + U8(0) +
                                  Text("chosen.txt");
    EXPECT_EQ(strFile.substr(74), std::string(20, '\0') + strColumns + U32(0) + strLastUsed + strBehind);
}

TEST_F(SettingsFile, EveryFieldComesBackInItsPlace) {
    const SettingsFileResult result = Load(CFileText().Bytes());
    EXPECT_EQ(result.status, SettingsFileStatus::Complete);
    EXPECT_EQ(result.strVersion, "1.0");
    EXPECT_FALSE(result.bOtherVersion);
    EXPECT_EQ(result.nOperationsTold, 3);
    EXPECT_THAT(s_messages, IsEmpty());
    EXPECT_EQ(g_nLanguageChoices, 0);
    const AppSettings& s = Settings();
    EXPECT_EQ(s.languageCode, 7u);
    EXPECT_EQ(s.windowRect, (WindowRect{11, -12, 13, 14}));
    EXPECT_EQ(s.windowFlags, 3u);
    EXPECT_THAT(s.columnOrder, ElementsAre(21, 22, 23, 24, 25, 26));
    EXPECT_THAT(s.columnWidths, ElementsAre(31, 32, 33, 34, 35, 36));
    EXPECT_THAT((std::vector{s.lastOptions.m_strLocalInterface, s.lastOptions.m_strRemoteHost, s.lastResolverText,
                             s.lastAllowFrom, s.lastBlockFrom, s.lastAllowTo, s.lastBlockTo, s.logDateFormat.Get(),
                             s.logFilePath.Get(), s.logEntryFormat.Get(), s.profileFolder, s.logFolder,
                             s.languageFilePath, s.reservedText}),
                ElementsAre("lastif", "lasthost", "resolver", "afrom", "bfrom", "ato", "bto", "date", "logfile",
                            "entry", "profiles", "logs", "language.txt", "kept"));
    EXPECT_THAT((std::vector<uint32_t>{s.reservedFlag, s.lastOptions.m_bBounce, s.lastProtocolTcp, s.lastProtocolUdp,
                                       s.lastOptions.m_wLocalPort, s.lastOptions.m_wRemotePort, s.showTrayIcon,
                                       s.trayOnlyWhenMinimized, s.hideTaskbarWhenMinimized, s.showRateInBits,
                                       s.lastOptions.m_bForwardIcmp}),
                ElementsAre(9, 41, 42, 43, 0x4445, 0x4647, 51, 52, 53, 54, 55));
    EXPECT_THAT(
        (std::vector<uint32_t>{s.autoStartMode, s.legalAccepted, s.autoLogEnabled, s.logIntervalSeconds, s.helpMode,
                               s.noLogBlocked, s.startMinimizedSetting, s.minimizeOnClose, s.trayPromptDone}),
        ElementsAre(61, 62, 63, 64, 65, 66, 67, 68, 69));
    EXPECT_EQ(s.lastOptions.m_nMaxSessions, 48);
    EXPECT_EQ(s.lastOptions.m_nUdpTimeoutMs, 49);
    EXPECT_EQ(s.modulePath, "") << "is told only where the file is the one beside the program";
}

TEST_F(SettingsFile, OperationsComeBackInTheirOrder) {
    Load(CFileText().Bytes());
    ASSERT_EQ(Settings().opCount, 3);
    EXPECT_EQ(Settings().operations.size(), 3u);
    EXPECT_EQ(Settings().runningOpCount, 2);
    EXPECT_THAT((std::vector<int>{Op(0).m_bRunning, Op(1).m_bRunning, Op(2).m_bRunning}), ElementsAre(0, 2, 1));
    EXPECT_EQ(Op(2).m_pNext, nullptr);
    const CPortForwardOp& op = Op(1);
    const IpRange range = {IpFromNumber(0x0A010203), IpFromNumber(0x0A010263)};
    EXPECT_THAT(op.m_settings.m_allowRanges, ElementsAre(range, range));
    EXPECT_THAT(op.m_settings.m_blockRanges, ElementsAre(range));
    EXPECT_THAT(Op(0).m_settings.m_allowRanges, IsEmpty());
    EXPECT_THAT(
        (std::vector<int64_t>{op.m_settings.m_bBounce, op.m_settings.m_nProtocol, op.m_settings.m_wLocalPort,
                              op.m_settings.m_wRemotePort, op.m_settings.m_nMaxSessions, op.m_settings.m_nUdpTimeoutMs,
                              op.m_settings.m_bForwardIcmp, op.m_settings.m_bFiltersEnabled}),
        ElementsAre(3, 17, 0x1234, 0xFEDC, -2, 70000, 5, 6));
    EXPECT_EQ(op.m_settings.m_dwLocalIp, IpFromNumber(0x7F010203));
    EXPECT_EQ(op.m_settings.m_strLocalInterface, "here");
    EXPECT_EQ(op.m_settings.m_strRemoteHost, "there.example");
}

TEST_F(SettingsFile, ALoadAndASaveKeepEveryByte) {
    CFileText file;
    file.m_records.push_back(Record(U32(0), U32(0)));
    file.m_records.push_back(U8(0) + U32(0x80000001) + U8(0xFF) + U8(0xFE) + file.m_records[0].substr(7));
    file.m_strCount = U32(5);
    file.m_strBehind.replace(0, Text("lastif").size(), Text(std::string(999'999, 'x')));
    EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::Complete);
    EXPECT_TRUE(Save() == file.Bytes());
}

TEST_F(SettingsFile, ASecondLoadKeepsNothingOfTheFirst) {
    Load(CFileText().Bytes());
    ASSERT_EQ(WriteWholeFile(m_strPath, {}), 0);
    EXPECT_EQ(LoadSettingsFile(&Settings(), m_strPath).status, SettingsFileStatus::NotOfProgram);
    EXPECT_EQ(Settings().firstOp, nullptr);
    EXPECT_EQ(Settings().opCount + Settings().runningOpCount, 0);
    EXPECT_THAT(Settings().operations, IsEmpty());
    EXPECT_EQ(Settings().lastOptions.m_nMaxSessions, 100);
    EXPECT_EQ(Settings().languageCode, 7u) << "the language in force is no default";
}

TEST_F(SettingsFile, TheChainIsWhatIsWritten) {
    Load(CFileText().Bytes());
    Settings().opCount = 40;
    Op(0).m_pNext = &Op(2);
    const std::string strFile = Save();
    Load(strFile);
    EXPECT_EQ(Settings().opCount, 2);
    EXPECT_EQ(Settings().lastOptions.m_nMaxSessions, 48);
}

TEST_F(SettingsFile, WithoutAFileTheLanguageIsAskedAndNothingElse) {
    const SettingsFileResult result = LoadFrom("");
    EXPECT_EQ(result.status, SettingsFileStatus::NotFound);
    EXPECT_NE(result.nError, 0);
    EXPECT_EQ(g_nLanguageChoices, 1);
    EXPECT_THAT(s_messages, IsEmpty());
    EXPECT_EQ(Settings().modulePath, ModulePath());
    EXPECT_EQ(Settings().languageFilePath, "chosen.txt") << "the choice came behind the clearing";
    EXPECT_EQ(Settings().logDateFormat.Get(), "new30") << "the templates speak the language chosen";
    EXPECT_EQ(Settings().logEntryFormat.Get(), "new31");
}

TEST_F(SettingsFile, AForeignFileIsRefusedInTheLanguageChosen) {
    const std::string strBehind = CFileText().Bytes().substr(64);
    const std::string strMagic = Header().substr(0, 16);
    const struct {
        std::string strBytes;
        SettingsFileStatus status;
        const char* pszText;
    } cases[] = {
        {"", SettingsFileStatus::NotOfProgram, "new64"},
        {strMagic.substr(0, 15), SettingsFileStatus::NotOfProgram, "new64"},
        {'\x7D' + Header().substr(1) + strBehind, SettingsFileStatus::WrongMagic, "new65"},
        {strMagic.substr(0, 15) + '\x41' + Header().substr(16) + strBehind, SettingsFileStatus::WrongMagic, "new65"},
        {std::string(16, '\x7C'), SettingsFileStatus::WrongMagic, "new65"},
        {strMagic, SettingsFileStatus::WrongName, "new66"},
        {strMagic + U32(0) + strBehind, SettingsFileStatus::WrongName, "new66"},
        {Header("Velmoorstack ZELKO") + strBehind, SettingsFileStatus::WrongName, "new66"},
        {Header("Velmoorstack ZELKOR2") + strBehind, SettingsFileStatus::WrongName, "new66"},
    };
    for (const auto& test : cases) {
        for (const bool bBeside : {false, true}) {
            SCOPED_TRACE(std::to_string(test.strBytes.size()) + test.pszText);
            EXPECT_EQ((bBeside ? LoadBeside(test.strBytes) : Load(test.strBytes)).status, test.status);
            EXPECT_EQ(g_nLanguageChoices, 1);
            ASSERT_EQ(s_messages.size(), 1u);
            EXPECT_EQ(s_messages[0].strText, test.pszText);
            EXPECT_EQ(s_messages[0].strCaption, "");
            EXPECT_EQ(s_messages[0].icon, MessageIcon::Information);
            EXPECT_EQ(s_messages[0].buttons, MessageButtons::Ok);
            EXPECT_EQ(Settings().lastOptions.m_nMaxSessions, 100);
            EXPECT_EQ(Settings().opCount, 0);
            EXPECT_EQ(Settings().logDateFormat.Get(), "old30");
        }
    }
}

TEST_F(SettingsFile, TheNameIsComparedWithoutCase) {
    for (const char* pszName : {"VELMOORSTACK ZELKOR", "velmoorstack zelkor"}) {
        CFileText file;
        file.m_strHeader = Header(pszName);
        EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::Complete);
        EXPECT_THAT(s_messages, IsEmpty());
    }
}

TEST_F(SettingsFile, AnotherVersionIsReadOnlyIfTheUserWants) {
    CFileText file;
    for (const auto& [nMajor, nMinor] : {std::pair{1u, 1u}, std::pair{2u, 0u}, std::pair{0xFFFFFFFFu, 10u}}) {
        file.m_strHeader = Header("Velmoorstack ZELKOR", nMajor, nMinor);
        for (const bool bYes : {false, true}) {
            const SettingsFileResult result = LoadBeside(file.Bytes(), bYes);
            EXPECT_EQ(result.status, bYes ? SettingsFileStatus::Complete : SettingsFileStatus::OtherVersion);
            EXPECT_EQ(result.bOtherVersion, bYes);
            EXPECT_EQ(result.strVersion, std::to_string(nMajor) + "." + std::to_string(nMinor));
            EXPECT_EQ(g_nLanguageChoices, 1);
            ASSERT_EQ(s_messages.size(), 1u);
            EXPECT_EQ(s_messages[0].strText, "new215");
            EXPECT_EQ(s_messages[0].strCaption, "new216");
            EXPECT_EQ(s_messages[0].icon, MessageIcon::Question);
            EXPECT_EQ(s_messages[0].buttons, MessageButtons::YesNo);
            EXPECT_EQ(Settings().opCount, bYes ? 3 : 0);
            EXPECT_EQ(Settings().languageFilePath, bYes ? "language.txt" : "chosen.txt");
        }
    }
}

TEST_F(SettingsFile, AFileThatWasNamedIsReadWhateverItsVersion) {
    CFileText file;
    file.m_strHeader = Header("Velmoorstack ZELKOR", 1, 1);
    const SettingsFileResult result = Load(file.Bytes());
    EXPECT_EQ(result.status, SettingsFileStatus::Complete);
    EXPECT_TRUE(result.bOtherVersion);
    EXPECT_EQ(Settings().opCount, 3);
    EXPECT_EQ(g_nLanguageChoices, 0);
    EXPECT_THAT(s_messages, IsEmpty());
}

TEST_F(SettingsFile, ASaveWithoutAPathGoesBesideTheProgram) {
    Load(CFileText().Bytes());
    EXPECT_EQ(SaveSettingsFile(Settings(), nullptr), 0);
    EXPECT_TRUE(Read(m_strBeside) == CFileText().Bytes());
    EXPECT_EQ(LoadFrom("").status, SettingsFileStatus::Complete);
    EXPECT_EQ(SettingsPathFor("C:\\a b\\zelkor.EXE"), "C:\\a b\\zelkor.KVR");
    EXPECT_EQ(SettingsPathFor(""), "");
}

TEST_F(SettingsFile, AFileThatCannotBeWrittenIsLeftAlone) {
    Load(CFileText().Bytes());
    // No system lets anybody write to the file of a program that runs.
    const std::string strProgram = ModulePath();
    const int64_t nSize = FileSize(strProgram);
    EXPECT_NE(SaveSettingsFile(Settings(), strProgram.c_str()), 0);
    EXPECT_EQ(FileSize(strProgram), nSize);
    EXPECT_NE(SaveSettingsFile(Settings(), (m_folder / "no" / "zelkor.KVR").string().c_str()), 0);
    EXPECT_NE(SaveSettingsFile(Settings(), ""), 0);
}

}  // namespace
