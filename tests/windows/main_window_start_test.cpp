// How the main window comes up from a record, stands, goes to the tray, and what it leaves when it goes.
#include "platform/mfc/win_app.h"
#include "shell/app/app_main.h"
#include "shell/main_window/window_place.h"
#include "tests/windows/main_window_fixture.h"

#include <shellapi.h>

using testing::ElementsAre;

namespace {

using MainWindowStartTest = MainWindowTest;

TEST_F(MainWindowStartTest, EveryEntryOfTheBarGivesItsCommandInEachLanguage) {
    const std::pair<UINT, uint32_t> entries[] = {{ID_FILE_EXIT, kSlotExit},
                                                 {ID_SETTINGS_MISC, kSlotMiscellaneous},
                                                 {ID_SETTINGS_AUTO_LOG, kSlotAutoLog},
                                                 {ID_PFO_START, kSlotStart},
                                                 {ID_PFO_STOP, kSlotStop},
                                                 {ID_PFO_START_ALL, kSlotStartAll},
                                                 {ID_PFO_STOP_ALL, kSlotStopAll},
                                                 {ID_LANGUAGE_CHANGE, kSlotChangeLanguage},
                                                 {ID_HELP_HELP, kSlotHelp},
                                                 {ID_HELP_ABOUT, kSlotAbout}};
    Run([&] {
        m_script.Press(kProgramName, IDC_LANGUAGE_DEUTSCH);
        Command(ID_LANGUAGE_CHANGE);
        EXPECT_EQ(Text(kSlotFileMenu), "Datei");
        for (const auto& [nId, nSlot] : entries) {
            char szText[256] = "";
            ::GetMenuStringA(::GetMenu(m_hMainWnd), nId, szText, sizeof szText, MF_BYCOMMAND);
            EXPECT_EQ(szText, Text(nSlot)) << nId;
        }
    });
}

TEST_F(MainWindowStartTest, ShowsTheOperationsUpsideDownAndSavesThemInTheirOrder) {
    Add(80, "example.test");
    Add(53, " \t", kProtocolUdp);
    Add(443, "hidden.test")->m_settings.m_bBounce = 1;
    m_settings.columnOrder = {5, 4, 3, 2, 1, 0};
    Run([&] {
        EXPECT_EQ(Row(0), "Stopped|TCP|127.0.0.1|443|~\\_Client_/~|9");
        EXPECT_EQ(Row(1), "Stopped|UDP|127.0.0.1|53|~\\_Client_/~|9");
        EXPECT_EQ(Row(2), "Stopped|TCP|127.0.0.1|80|example.test|9");
        EXPECT_EQ(Buttons(), "----");
        AwaitText(IDC_MAIN_LIST_LABEL, Text(kSlotListLabel));
        AwaitText(IDC_MAIN_CLIENT_RATE, "0 bps");
        AwaitText(IDC_MAIN_CLIENT_BYTES, "0 Bytes");
        EXPECT_EQ(MenuText(::GetMenu(m_hMainWnd)),
                  "File[Exit]|Settings[(Miscellaneous)|(Automatic-logging)]|PFO[Start|Stop|-|Start All|Stop All]|"
                  "Language[Change]|Help[(Help)|(About)]");
        List().SetColumnWidth(4, 222);
        Send(WM_SAVE_SETTINGS);
        const CPortForwardOp* pSaved = File().firstOp;
        for (const auto& pOperation : m_settings.operations) {
            EXPECT_EQ(pSaved->m_settings, pOperation->m_settings);
            pSaved = pSaved->m_pNext;
        }
        EXPECT_THAT(File().columnOrder, ElementsAre(5, 4, 3, 2, 1, 0));
        EXPECT_THAT(File().columnWidths, ElementsAre(77, 60, 105, 93, 222, 93));
    });
}

TEST_F(MainWindowStartTest, ComesUpUsableFromWildValuesAndWithoutAThreadForTheLogWriter) {
    const std::string strHost(600, 'h');
    Add(1, strHost, -5);
    m_settings.windowRect = {INT32_MIN, 90000, INT32_MAX, 90001};
    m_settings.columnOrder = {7, -1, 5, 5, 5, INT32_MAX};
    m_settings.columnWidths = {0, -1, INT32_MIN, INT32_MAX, 150, 93};
    m_settings.logIntervalSeconds = 0;
    m_settings.autoLogEnabled = m_settings.startMinimizedSetting = 1;
    FailThreadStartsAfter(0);
    Open([&] {
        AwaitText(IDC_MAIN_PROGRAM_THREADS, "2");
        Await([&] { return Window().IsIconic(); }, "the start minimised");
        Command(ID_PFO_START, 0);
        EXPECT_EQ(Row(0), "Error starting||127.0.0.1|1|" + strHost + "|9");
    });
    FailThreadStartsAfter(-1);
    const WindowRect& saved = File().windowRect;
    const RECT rect = {saved.left, saved.top, saved.right, saved.bottom};
    EXPECT_TRUE(::MonitorFromRect(&rect, MONITOR_DEFAULTTONULL));
    EXPECT_THAT(File().columnOrder, testing::UnorderedElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(File().columnWidths, testing::Each(testing::Gt(20)));
}

TEST_F(MainWindowStartTest, WhatRanIsStartedByTheModeOrTheAnswer) {
    CPortForwardOp* const pRunning = Add();
    CPortForwardOp* const pStopped = Add();
    const std::tuple<uint32_t, int, std::string> cases[] = {
        {kAutoStartAlways, 0, "Started"}, {kAutoStartNever, 0, "Stopped"}, {7, IDYES, "Started"}, {7, IDNO, "Stopped"}};
    for (const auto& [dwMode, nAnswer, strStatus] : cases) {
        m_settings.autoStartMode = dwMode;
        m_settings.runningOpCount = pRunning->m_bRunning = 1;
        if (nAnswer) AnswerBox(kSlotStartPrevious, kSlotStartPreviousTitle, nAnswer);
        Run([&, strExpected = strStatus] {
            EXPECT_EQ(Status(pRunning), strExpected) << m_settings.autoStartMode;
            EXPECT_EQ(Status(pStopped), "Stopped");
            EXPECT_EQ(Buttons(), pRunning->m_bRunning ? "ED-T" : "----");
            EXPECT_FALSE(IsFileThere()) << "a start of the program's own does not save";
        });
        EXPECT_EQ(File().runningOpCount, 0) << "the answer No is kept";
        RemoveFile();
    }
}

TEST_F(MainWindowStartTest, CloseDuringTheQuestionKeepsTheOperationsInTheFile) {
    m_settings.runningOpCount = Add()->m_bRunning = 1;
    m_script.In(Text(kSlotStartPreviousTitle), [&](const CWnd& box) {
        Send(WM_CLOSE);
        EXPECT_EQ(File().opCount, 1);
        EXPECT_EQ(File().runningOpCount, 1);
        Press(box, IDNO);
    });
    EXPECT_EQ(CMainDlg(&m_settings, &m_hMainWnd, &m_bServiceStop, false).DoModal(), IDCANCEL);
}

TEST_F(MainWindowStartTest, TheSavedLanguageIsInForceFromTheStart) {
    class CApp : public CWinApp {
      public:
        CApp() : CWinApp(kProgramName) {}
        bool InitInstance() override { return false; }
    };
    const CApp app;
    const std::string strEnglish = Text(kSlotListLabel);
    m_settings.languageCode = 1;
    ASSERT_EQ(SaveSettingsFile(m_settings, nullptr), 0);
    ApplyLanguage(&m_settings);
    ASSERT_NE(Text(kSlotListLabel), strEnglish);
    g_bServiceStop = 1;
    m_script.In(kProgramName, [&](const CWnd& window) {
        EXPECT_EQ(window.GetDlgItemText(IDC_MAIN_LIST_LABEL), Text(kSlotListLabel));
        window.SendMessage(WM_CLOSE);
    });
    AppMain(1);
    EXPECT_EQ(File().languageCode, 1u);
}

TEST_F(MainWindowStartTest, ListFollowsTheWindowWhichHasASmallestSize) {
    m_settings.windowRect = {40, 30, 740, 480};
    m_settings.windowFlags = 1;
    Run([&] {
        EXPECT_TRUE(Window().IsZoomed());
        Send(WM_SYSCOMMAND, SC_RESTORE);
        EXPECT_EQ(Window().GetWindowRect().bottom, 480);
        for (const int nSize : {640, 900, 100}) {
            Window().MoveWindow(5, 5, nSize, nSize * 2 / 3);
            const RECT client = Window().GetClientRect();
            const RECT list = Window().ScreenToClient(List().GetWindowRect());
            EXPECT_TRUE(list.right == client.right && list.bottom == client.bottom) << nSize;
        }
        Send(WM_SYSCOMMAND, SC_MAXIMIZE);
    });
    EXPECT_EQ(File().windowFlags, 1u);
    EXPECT_EQ(File().windowRect, (WindowRect{5, 5, 5 + kMinWindowWidth, 5 + kMinWindowHeight})) << "the normal place";
}

TEST_F(MainWindowStartTest, CloseBoxMinimisesWhenItIsSetToAndKeysThatMeanCancelDoNothing) {
    m_settings.minimizeOnClose = 1;
    m_bStartMinimized = true;
    m_bServiceStop = 0;
    CPortForwardOp* const pOperation = Add();
    Run([&] {
        Await([&] { return Window().IsIconic(); }, "the start minimised");
        Send(WM_SYSCOMMAND, SC_RESTORE);
        Select(0);
        AwaitText(IDC_MAIN_CLIENT_RATE, "0 bps");
        pOperation->m_dBytesFromClient = 1e9;
        Await([&] { return Window().GetDlgItemText(IDC_MAIN_CLIENT_RATE) != "0 bps"; }, "half a second of timers");
        EXPECT_FALSE(Window().IsIconic()) << "it was minimised once";
        for (const WPARAM nKey : {VK_ESCAPE, VK_CANCEL}) List().PostMessage(WM_KEYDOWN, nKey, 1);
        for (const WPARAM nId : {IDOK, IDCANCEL}) Window().PostMessage(WM_COMMAND, nId);
        Window().PostMessage(WM_CLOSE);
        Await([&] { return Window().IsIconic(); }, "the close");
        EXPECT_FALSE(IsFileThere());
    });
    EXPECT_TRUE(IsFileThere()) << "the stop of the service is final";
}

// What became of the icon in the task bar: "+" put up, "-" taken away.
std::string g_strIcon;

/// A window in place of the system's task bar. It stays until the thread ends.
void PutUpTaskBar() {
    WNDCLASSA record = {};
    record.lpszClassName = "Shell_TrayWnd";
    record.lpfnWndProc = [](HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam) -> LRESULT {
        if (nMessage != WM_COPYDATA) return ::DefWindowProcA(hWnd, nMessage, wParam, lParam);
        const bool bAway = reinterpret_cast<const COPYDATASTRUCT*>(lParam)->dwData == NIM_DELETE;
        if (g_strIcon.ends_with('+') == bAway) g_strIcon += bAway ? '-' : '+';
        return TRUE;
    };
    if (!::RegisterClassA(&record)) return;
    ::CreateWindowA(record.lpszClassName, "", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(MainWindowStartTest, TrayFollowsItsSettings) {
    PutUpTaskBar();
    // showTrayIcon, trayOnlyWhenMinimized, hideTaskbarWhenMinimized; the icon at first, minimised, shown again, closed.
    const std::tuple<uint8_t, uint8_t, uint8_t, const char*, const char*, const char*, const char*> cases[] = {
        {0, 1, 1, "", "", "", ""},
        {1, 1, 0, "", "+", "+-", "+-"},
        {1, 1, 1, "", "+", "+-", "+-"},
        {1, 0, 0, "+", "+", "+", "+-"},
        {1, 0, 1, "+", "+", "+", "+-"}};
    for (const auto& each : cases) {
        const auto& [bShow, bOnly, bHide, pszFirst, pszMinimised, pszShown, pszClosed] = each;
        SCOPED_TRACE(testing::PrintToString(each));
        g_strIcon.clear();
        m_settings.showTrayIcon = bShow;
        m_settings.trayOnlyWhenMinimized = bOnly;
        m_settings.hideTaskbarWhenMinimized = bHide;
        Run([&] {
            EXPECT_EQ(g_strIcon, std::get<3>(each));
            Send(WM_SYSCOMMAND, SC_MAXIMIZE);
            Send(WM_SYSCOMMAND, SC_MINIMIZE);
            EXPECT_EQ(g_strIcon, std::get<4>(each));
            EXPECT_EQ(Window().IsWindowVisible(), !(std::get<0>(each) && std::get<2>(each)));
            Send(WM_TRAY_NOTIFY, 0, WM_LBUTTONUP);
            EXPECT_TRUE(Window().IsZoomed()) << "it comes back as it was";
            Command(ID_TRAY_RESTORE);
            EXPECT_TRUE(Window().IsWindowVisible() && !Window().IsIconic());
            EXPECT_EQ(g_strIcon, std::get<5>(each));
        });
        EXPECT_EQ(g_strIcon, pszClosed);
    }
}

TEST_F(MainWindowStartTest, FirstMinimiseAsksOnceAndTheTrayHasAMenu) {
    m_settings.trayPromptDone = 0;
    Run([&] {
        AnswerBox(kSlotHideInTray, kSlotHideInTrayTitle, IDYES);
        Send(WM_SYSCOMMAND, SC_MINIMIZE);
        EXPECT_FALSE(Window().IsWindowVisible()) << "the answer counts at once";
        ExpectMenu("(About)|-|Restore|Minimize|-|Exit");
        Send(WM_TRAY_NOTIFY, 0, WM_RBUTTONDOWN);
        Send(WM_TRAY_NOTIFY, 0, WM_LBUTTONUP);
        EXPECT_TRUE(Window().IsWindowVisible());
        Send(WM_SYSCOMMAND, SC_MAXIMIZE);
        Send(WM_TRAY_NOTIFY, 0, WM_LBUTTONUP);
        EXPECT_TRUE(Window().IsZoomed()) << "a window that is shown stays as it is";
        Command(ID_TRAY_MINIMIZE);
        EXPECT_FALSE(Window().IsWindowVisible()) << "and is not asked again";
    });
    EXPECT_EQ(File().trayPromptDone, 1);
    EXPECT_TRUE(File().showTrayIcon && File().hideTaskbarWhenMinimized && File().trayOnlyWhenMinimized);
}

TEST_F(MainWindowStartTest, ANoToTheTrayIsAnAnswerToo) {
    m_settings.trayPromptDone = 0;
    Run([&] {
        AnswerBox(kSlotHideInTray, kSlotHideInTrayTitle, IDNO);
        Send(WM_SYSCOMMAND, SC_MINIMIZE);
        EXPECT_TRUE(Window().IsWindowVisible() && Window().IsIconic());
    });
    EXPECT_EQ(File().trayPromptDone, 1);
    EXPECT_FALSE(File().showTrayIcon);
}

}  // namespace
