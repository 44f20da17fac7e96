// Starts of the program with every kind of settings file, and what its windows look like then.
#include "tests/e2e/windows/e2e_fixture.h"

using testing::ElementsAre;
using testing::SizeIs;

namespace {

constexpr char kStartPrevious[] =
    "Start previously running operations?: Would you like to start the previously running "
    "Port-Forwarding-Operations?";
constexpr char kForeignFile[] =
    "The saved settings file is not of Velmoorstack Software, default settings will be used.";

class StartUpTest : public E2eTest {
  protected:
    /// A running TCP operation, a UDP one that is not running, and a running one on a port that is taken.
    SettingsImage Operations(uint32_t autoStartMode) {
        SettingsImage settings = PlacedSettings();
        settings.autoStartMode = autoStartMode;
        settings.operations = {OperationOf(m_running), OperationOf(m_idle), OperationOf(m_taken)};
        settings.operations[0].bRunning = settings.operations[2].bRunning = 1;
        return settings;
    }
    std::vector<std::string> Statuses() {
        std::vector<std::string> statuses;
        for (int nRow = 0; nRow < List().Count(); ++nRow) statuses.push_back(List().Cell(nRow, 0));
        return statuses;
    }
    /// Starts the program with this file and answers its question.
    void Answered(const std::string& strFile, int nButton) {
        m_program.Save(strFile);
        ASSERT_TRUE(m_program.Start());
        ASSERT_TRUE(m_program.WaitForMessageBox().Exists());
        m_main = m_program.MainWindow();
        Answer(kStartPrevious, nButton);
        UseMainWindow();
    }
    void ExpectForwarding(bool bForwarding) {
        CEchoClient client(SocketKind::Tcp, m_running.wLocalPort);
        EXPECT_EQ(client.IsConnected(), bForwarding);
        EXPECT_EQ(bForwarding ? client.Echo("data") : "data", "data");
    }

    const CEchoServer m_server{SocketKind::Tcp};
    OptionsInput m_running{SocketKind::Tcp, FreePort(SocketKind::Tcp), m_server.Port()};
    OptionsInput m_idle{SocketKind::Udp, FreePort(SocketKind::Udp), 9};
    OptionsInput m_taken{SocketKind::Tcp, m_server.Port(), 9};
};

TEST_F(StartUpTest, FirstRunAsksForTheLanguage) {
    ASSERT_TRUE(m_program.Start());
    const CRemoteWindow choice = m_program.WaitForDialogWith(IDC_LANGUAGE_FILE);
    ASSERT_TRUE(choice.Exists());
    EXPECT_FALSE(m_program.MainWindow().Exists());
    choice.Command(IDC_LANGUAGE_ENGLISH);
    UseMainWindow();
    EXPECT_EQ(List().Count(), 0);
    EXPECT_THAT(List().ColumnWidths(), ElementsAre(77, 60, 105, 93, 150, 93));
    for (const int nButton : {ID_PFO_EDIT, ID_PFO_DELETE, ID_PFO_START, ID_PFO_STOP}) ExpectDisabled(nButton);
    ExpectValue(IDC_MAIN_CLIENT_RATE, "0 bps");
    ExpectSaved(SettingsImage());
}

TEST_F(StartUpTest, ForeignFileIsToldOfAndReplaced) {
    m_program.Save(std::string(64, 'x'));
    ASSERT_TRUE(m_program.Start());
    m_program.WaitForDialogWith(IDC_LANGUAGE_FILE).Command(IDC_LANGUAGE_ENGLISH);
    const CRemoteWindow box = m_program.WaitForMessageBox();
    ASSERT_TRUE(box.Exists());
    EXPECT_THAT(MessageBoxText(box), testing::EndsWith(kForeignFile));
    box.Command(IDOK);
    UseMainWindow();
    ExpectSaved(SettingsImage());
}

TEST_F(StartUpTest, ModeAlwaysStartsWhatRan) {
    const SettingsImage settings = Operations(0);
    StartWith(settings);
    EXPECT_THAT(Statuses(), ElementsAre("Error starting", "Stopped", "Started")) << "the file upside down";
    ExpectForwarding(true);
    CloseMainWindow();
    SettingsImage saved = settings;
    saved.operations[2].bRunning = 0;
    ExpectSaved(saved);
}

TEST_F(StartUpTest, ModeAskStartsOnYes) {
    Answered(Operations(1).Bytes(), IDYES);
    EXPECT_THAT(Statuses(), ElementsAre("Error starting", "Stopped", "Started"));
    ExpectForwarding(true);
}

TEST_F(StartUpTest, ModeAskForgetsOnNo) {
    Answered(Operations(1).Bytes(), IDNO);
    EXPECT_THAT(Statuses(), ElementsAre("Stopped", "Stopped", "Stopped"));
    ExpectForwarding(false);
    CloseMainWindow();
    // Nothing is stored as running any more, so the next start asks nothing.
    Restart();
    EXPECT_FALSE(m_program.DialogOver(m_main).Exists());
}

TEST_F(StartUpTest, ModeNeverLeavesAllStopped) {
    StartWith(Operations(2));
    EXPECT_THAT(Statuses(), ElementsAre("Stopped", "Stopped", "Stopped"));
    ExpectForwarding(false);
}

TEST_F(StartUpTest, UnknownModeAsks) {
    Answered(Operations(4711).Bytes(), IDYES);
    ExpectForwarding(true);
}

TEST_F(StartUpTest, WildValuesComeUpUsable) {
    SettingsImage settings = Operations(0xFFFFFFFF);
    settings.languageCode = 4711;
    settings.windowRect = {-30000, 2000000000, 7, -2000000000};
    settings.windowFlags = 0xFFFFFFFF;
    settings.columnOrder = {7, -1, 2, 2, 2147483647, -2147483647 - 1};
    settings.columnWidths = {-1, 2147483647, 0, 65536, -2147483647 - 1, 30};
    settings.autoLogEnabled = 255;
    settings.logIntervalSeconds = 0xFFFFFFFF;
    settings.logFilePath = "?*<>|\\\\:";
    settings.logEntryFormat = std::string(5000, '%');
    settings.lastMaxSessions = -5;
    settings.operations[0].bRunning = settings.operations[2].bRunning = 0;
    settings.operations[1].nProtocol = 99;
    settings.operations[1].nMaxSessions = -2147483647 - 1;
    settings.operations[1].nUdpTimeoutMs = -1;
    settings.operations[1].strRemoteHost = std::string(20000, 'h');
    settings.operations[2].blockRanges = "odd";
    StartWith(settings);
    EXPECT_THAT(Statuses(), SizeIs(testing::Ge(2u)));

    Start(List().Count() - 1);
    ExpectForwarding(true);
    const CRemoteWindow options = Open(ID_PFO_NEW, IDC_PFO_LOCAL_PORT);
    options.Command(IDCANCEL);
    EXPECT_TRUE(m_program.WaitFor([&] { return !options.Exists(); }));
    m_main.CommandAndWait(ID_PFO_START_ALL);
    m_main.CommandAndWait(ID_PFO_STOP_ALL);
    ExpectStatus(List().Count() - 1, "Stopped");
    CloseMainWindow();
    Restart();
    CloseMainWindow();
}

TEST_F(StartUpTest, CutOffFileKeepsTheWholeOperations) {
    SettingsImage settings = Operations(2);
    settings.operations[2].strRemoteHost = "cut-off-here";
    const std::string strWhole = settings.Bytes();
    // How to start the running one is told behind the cut, so the default holds: the user is asked.
    Answered(strWhole.substr(0, strWhole.find("off-here")), IDYES);
    EXPECT_THAT(Statuses(), ElementsAre("Stopped", "Started"));
}

}  // namespace
