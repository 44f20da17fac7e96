// What is written and what comes back: the layout, the refusals, the question about the version.
#include "language/language_choice.h"
#include "tests/store/settings_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

// Stands in for the language's own: the linker takes this one, and leaves that object in its library.
void ChooseLanguage(LanguageSettings* pSettings, const std::string& /*strBrowser*/) {
    ++g_nLanguageChoices;
    pSettings->slotTable.Replace(Texts("new"));
    pSettings->languageFilePath = "chosen.txt";
}

TEST_F(SettingsFile, ANewRecordIsWrittenAsTheFormatSays) {
    LoadFrom((m_folder / "missing").string());
    const std::string strHead(
        "\x7C\x55\xD3\x92\x6E\x94\x45\x48\xA5\x51\xF5\xF1\xD0\xAF\xE4\x40"
        "\x14\0\0\0Velmoorstack ZELKOR\0\x01\0\0\0\0\0\0\0"
        "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
        "\0\0\0\0\0\x01\0\0\0\0",
        74);
    const std::string strWidths = U32(77) + U32(60) + U32(105) + U32(93) + U32(150) + U32(93);
    const std::string strNo = Text("");
    const std::string strLastUsed = strNo + strNo + U8(0) + U8(1) + U8(0) + U16(0) + U16(0) + U32(100) + U32(60000);
    const std::string strBehind = U8(0) + U8(1) + U8(0) + U8(1) + U8(0) + strNo + strNo + strNo + strNo + strNo +
                                  U32(1) + U8(0) + U8(0) + Text("new30") + strNo + Text("new31") + U32(10) + strNo +
                                  strNo + U32(0) + U8(0) + U8(0) + U8(0) + U8(0) + Text("chosen.txt");
    EXPECT_EQ(Save(), strHead + std::string(20, '\0') + Six(0) + strWidths + U32(0) + strLastUsed + strBehind);
}

TEST_F(SettingsFile, EveryFieldComesBackInItsPlace) {
    const SettingsFileResult result = Load(FileText().Bytes());
    EXPECT_EQ(result.status, SettingsFileStatus::Complete);
    EXPECT_EQ(result.strVersion, "1.0");
    EXPECT_FALSE(result.bOtherVersion);
    EXPECT_EQ(result.nOperationsTold, 3);
    EXPECT_THAT(s_messages, IsEmpty());
    EXPECT_EQ(g_nLanguageChoices, 0);
    const AppSettings& s = Settings();
    EXPECT_EQ(s.windowRect, (WindowRect{11, -12, 13, 14}));
    EXPECT_THAT(s.columnOrder, ElementsAre(21, 22, 23, 24, 25, 26));
    EXPECT_THAT(s.columnWidths, ElementsAre(31, 32, 33, 34, 35, 36));
    const OpSettings& last = s.lastOptions;
    EXPECT_THAT((std::vector{last.m_strLocalInterface, last.m_strRemoteHost, s.lastResolverText, s.lastAllowFrom,
                             s.lastBlockFrom, s.lastAllowTo, s.lastBlockTo, s.logDateFormat.Get(), s.logFilePath.Get(),
                             s.logEntryFormat.Get(), s.profileFolder, s.logFolder, s.languageFilePath, s.reservedText}),
                ElementsAre("lastif", "lasthost", "resolver", "afrom", "bfrom", "ato", "bto", "date", "logfile",
                            "entry", "profiles", "logs", "language.txt", "kept"));
    EXPECT_THAT((std::vector<int64_t>{s.languageCode, s.windowFlags, s.reservedFlag, last.m_bBounce, s.lastProtocolTcp,
                                      s.lastProtocolUdp, last.m_wLocalPort, last.m_wRemotePort, last.m_nMaxSessions,
                                      last.m_nUdpTimeoutMs}),
                ElementsAre(7, 3, 9, 41, 42, 43, 0x4445, 0x4647, 48, 49));
    EXPECT_THAT((std::vector<int64_t>{s.showTrayIcon, s.trayOnlyWhenMinimized, s.hideTaskbarWhenMinimized,
                                      s.showRateInBits, last.m_bForwardIcmp, s.autoStartMode, s.legalAccepted,
                                      s.autoLogEnabled, s.logIntervalSeconds, s.helpMode, s.noLogBlocked,
                                      s.startMinimizedSetting, s.minimizeOnClose, s.trayPromptDone}),
                ElementsAre(51, 52, 53, 54, 55, 61, 62, 63, 64, 65, 66, 67, 68, 69));
    EXPECT_EQ(s.modulePath, "") << "is told only where the file is the one beside the program";
    const IpRange range = {IpFromNumber(0x0A010203), IpFromNumber(0x0A010263)};
    const OpSettings expected = {17, "here", IpFromNumber(0x7F010203), 0x1234, "there.example", 0xFEDC, 3, -2, 70000,
                                 5,  6,      {range, range},           {range}};
    EXPECT_EQ(Op(1), expected);
    EXPECT_THAT(Op(0).m_allowRanges, IsEmpty());
    EXPECT_EQ(s.opCount, 3);
    EXPECT_EQ(s.runningOpCount, 2);
    std::vector<int> running;
    for (const CPortForwardOp* pOp = s.firstOp; pOp != nullptr; pOp = pOp->m_pNext) running.push_back(pOp->m_bRunning);
    EXPECT_THAT(running, ElementsAre(0, 2, 1)) << "the order of the file";
}

TEST_F(SettingsFile, ALoadAndASaveKeepEveryByte) {
    FileText file;
    file.m_records.push_back(Record(U32(0), U32(0)));
    file.m_records.push_back(U8(0) + U32(0x80000001) + U8(0xFF) + U8(0xFE) + file.m_records[0].substr(7));
    file.m_strCount = U32(5);
    file.m_strFirst = Text(std::string(999'999, 'x'));
    EXPECT_EQ(Load(file.Bytes()).status, SettingsFileStatus::Complete);
    EXPECT_TRUE(Save() == file.Bytes());
    Settings().opCount = 40;
    Settings().firstOp->m_pNext = Settings().operations[4].get();
    file.m_records.erase(file.m_records.begin() + 1, file.m_records.begin() + 4);
    file.m_strCount = U32(2);
    EXPECT_TRUE(Save() == file.Bytes()) << "the chain is what is written";
    Settings().wantedOps = {Settings().operations[0].get(), Settings().operations[4].get()};
    file.m_records[0] = Record(U32(0), U32(0), 1);
    EXPECT_TRUE(Save() == file.Bytes()) << "and what is to run counts as running";
}

TEST_F(SettingsFile, ASecondLoadKeepsNothingOfTheFirst) {
    Load(FileText().Bytes());
    Write(m_strPath, "");
    EXPECT_EQ(LoadSettingsFile(&Settings(), m_strPath).status, SettingsFileStatus::NotOfProgram);
    EXPECT_EQ(Settings().firstOp, nullptr);
    EXPECT_EQ(Settings().opCount + Settings().runningOpCount, 0);
    EXPECT_THAT(Settings().operations, IsEmpty());
    EXPECT_EQ(Settings().lastOptions, OpSettings());
    EXPECT_EQ(Settings().languageCode, 7u) << "the language in force is no default";
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
}

TEST_F(SettingsFile, AForeignFileIsRefusedInTheLanguageChosen) {
    const std::string strBehind = FileText().Bytes().substr(64);
    const std::string strMagic = Header().substr(0, 16);
    using enum SettingsFileStatus;
    for (const auto& [strBytes, status, strMessage] :
         {std::tuple<std::string, SettingsFileStatus, std::string>{"", NotOfProgram, "new64||i|ok"},
          {strMagic.substr(0, 15), NotOfProgram, "new64||i|ok"},
          {'\x7D' + Header().substr(1) + strBehind, WrongMagic, "new65||i|ok"},
          {strMagic.substr(0, 15) + '\x41' + Header().substr(16) + strBehind, WrongMagic, "new65||i|ok"},
          {strMagic, WrongName, "new66||i|ok"},
          {strMagic + U32(0) + strBehind, WrongName, "new66||i|ok"},
          {Header("Velmoorstack ZELKO") + strBehind, WrongName, "new66||i|ok"},
          {Header("Velmoorstack ZELKOR2") + strBehind, WrongName, "new66||i|ok"}}) {
        for (const bool bBeside : {false, true}) {
            SCOPED_TRACE(std::to_string(strBytes.size()) + strMessage);
            EXPECT_EQ((bBeside ? LoadBeside(strBytes) : Load(strBytes)).status, status);
            EXPECT_EQ(g_nLanguageChoices, 1);
            EXPECT_THAT(s_messages, ElementsAre(strMessage));
            EXPECT_EQ(Settings().lastOptions, OpSettings());
            EXPECT_EQ(Settings().opCount, 0);
            EXPECT_EQ(Settings().logDateFormat.Get(), "old30");
        }
    }
}

TEST_F(SettingsFile, AnotherVersionIsReadOnlyIfTheUserWants) {
    FileText file;
    for (const auto& [nMajor, nMinor] : {std::pair{1u, 1u}, std::pair{2u, 0u}, std::pair{0xFFFFFFFFu, 10u}}) {
        file.m_strHeader = Header("VELMOORSTACK zelkor", nMajor, nMinor);  // its case does not count
        for (const bool bNamed : {false, true}) {
            for (const bool bYes : {false, true}) {
                s_bAnswer = bYes;
                const auto result = bNamed ? Load(file.Bytes()) : LoadBeside(file.Bytes(), bYes);
                const bool bRead = bNamed || bYes;
                EXPECT_EQ(result.status, bRead ? SettingsFileStatus::Complete : SettingsFileStatus::OtherVersion);
                EXPECT_EQ(result.bOtherVersion, bRead);
                EXPECT_EQ(result.strVersion, std::to_string(nMajor) + "." + std::to_string(nMinor));
                EXPECT_EQ(g_nLanguageChoices, bNamed ? 0 : 1);
                EXPECT_EQ(s_messages, std::vector<std::string>(bNamed ? 0 : 1, "new215|new216|?|yes no"));
                EXPECT_EQ(Settings().opCount, bRead ? 3 : 0);
                EXPECT_EQ(Settings().languageFilePath, bRead ? "language.txt" : "chosen.txt");
            }
        }
    }
}

TEST_F(SettingsFile, ASaveWithoutAPathGoesBesideTheProgram) {
    Load(FileText().Bytes());
    EXPECT_EQ(SaveSettingsFile(Settings(), nullptr), 0);
    EXPECT_TRUE(Read(m_strBeside) == FileText().Bytes());
    EXPECT_EQ(SettingsPathFor("C:\\a b\\zelkor.EXE"), "C:\\a b\\zelkor.KVR");
    EXPECT_EQ(SettingsPathFor(""), "");
}

TEST_F(SettingsFile, WhatSomeoneElsePutInItsPlaceIsNotSavedOver) {
    Load(FileText().Bytes());
    CSettingsFile file(m_strPath);
    const auto save = [&] {
        const SettingsSaveResult result = file.Save(Settings());
        return result.bForeign ? "foreign" : result.nError == 0 ? "saved" : "failed";
    };
    EXPECT_STREQ(save(), "foreign") << "there was none when nothing had been read";
    EXPECT_EQ(file.Load(&Settings()).status, SettingsFileStatus::Complete);
    for (const uint32_t nCode : {1U, 2U}) {
        Settings().languageCode = nCode;
        EXPECT_STREQ(save(), "saved");
    }
    const std::string strSaved = Read(m_strPath);
    for (const std::string& strOther : {FileText().Bytes(), std::string(), strSaved + "x"}) {
        Write(m_strPath, strOther);
        EXPECT_STREQ(save(), "foreign");
        EXPECT_TRUE(Read(m_strPath) == strOther);
    }
    std::filesystem::remove(m_strPath);
    EXPECT_STREQ(save(), "failed");
    EXPECT_FALSE(std::filesystem::exists(m_strPath));
    Write(m_strPath, strSaved);
    EXPECT_STREQ(save(), "saved") << "it is the same file again";
}

TEST_F(SettingsFile, AFileThatCannotBeWrittenIsLeftAlone) {
    Load(FileText().Bytes());
    // No system lets anybody write to the file of a program that runs.
    const int64_t nSize = FileSize(ModulePath());
    EXPECT_NE(SaveSettingsFile(Settings(), ModulePath().c_str()), 0);
    EXPECT_EQ(FileSize(ModulePath()), nSize);
    EXPECT_NE(SaveSettingsFile(Settings(), (m_folder / "no" / "zelkor.KVR").string().c_str()), 0);
    EXPECT_NE(SaveSettingsFile(Settings(), ""), 0);
}
