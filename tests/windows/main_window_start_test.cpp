// How the main window comes up from a record, and what it leaves when it goes.
#include <gmock/gmock.h>

#include <array>

#include "platform/threads/threads.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/main_window/main_dlg_slots.h"
#include "shell/main_window/window_place.h"
#include "tests/windows/main_window_fixture.h"

using testing::ElementsAre;

namespace {

using MainWindowStartTest = MainWindowTest;

TEST_F(MainWindowStartTest, ShowsTheOperationsUpsideDownAndSavesThemInTheirOrder) {
    Add(kProtocolTcp, 80, "example.test");
    Add(kProtocolUdp, 53, " \t");
    Add(kProtocolTcp, 443, "hidden.test")->m_settings.m_bBounce = 1;
    m_settings.columnOrder = {5, 4, 3, 2, 1, 0};
    Run([&](const CWnd& window) {
        EXPECT_THAT(Row(window, 2), ElementsAre("Stopped", "TCP", "127.0.0.1", "80", "example.test", "9"));
        EXPECT_THAT(Row(window, 1), ElementsAre("Stopped", "UDP", "127.0.0.1", "53", "~\\_Client_/~", "9"));
        EXPECT_THAT(Row(window, 0), ElementsAre("Stopped", "TCP", "127.0.0.1", "443", "~\\_Client_/~", "9"));
        EXPECT_EQ(Buttons(window), "----");
        EXPECT_EQ(window.GetDlgItemText(IDC_MAIN_LIST_LABEL), Text(kSlotListLabel));
        Await([&] { return window.GetDlgItemText(IDC_MAIN_CLIENT_RATE) == "0 bps"; }, "the rate lines");
        EXPECT_EQ(window.GetDlgItemText(IDC_MAIN_CLIENT_BYTES), "0 Bytes");

        List(window).SetColumnWidth(4, 222);
        window.SendMessage(WM_SAVE_SETTINGS);
        const auto pFile = ReadFile();
        ASSERT_EQ(pFile->opCount, 3);
        EXPECT_EQ(pFile->firstOp->m_settings.m_wLocalPort, 80);
        EXPECT_EQ(pFile->firstOp->m_pNext->m_settings.m_wLocalPort, 53);
        EXPECT_EQ(pFile->firstOp->m_pNext->m_pNext->m_settings.m_wLocalPort, 443);
        EXPECT_THAT(pFile->columnOrder, ElementsAre(5, 4, 3, 2, 1, 0));
        EXPECT_THAT(pFile->columnWidths, ElementsAre(77, 60, 105, 93, 222, 93));
    });
}

TEST_F(MainWindowStartTest, WildSavedValuesComeUpUsable) {
    Add(-5, 1, "strange");
    m_settings.windowRect = {INT32_MIN, 90000, INT32_MAX, 90001};
    m_settings.columnOrder = {7, -1, 5, 5, 5, INT32_MAX};
    m_settings.columnWidths = {0, -1, INT32_MIN, INT32_MAX, 150, 93};
    m_settings.logIntervalSeconds = 0;
    m_settings.autoLogEnabled = 1;
    m_settings.runningOpCount = -3;
    m_settings.autoStartMode = 99;
    Run([&](const CWnd& window) {
        const RECT rect = window.GetWindowRect();
        EXPECT_GE(rect.right - rect.left, kMinWindowWidth);
        EXPECT_TRUE(::MonitorFromRect(&rect, MONITOR_DEFAULTTONULL));
        std::array<int32_t, kColumnCount> order = {};
        EXPECT_TRUE(List(window).GetColumnOrderArray(order));
        EXPECT_THAT(order, testing::UnorderedElementsAre(0, 1, 2, 3, 4, 5));
        for (int i = 0; i < 6; ++i) EXPECT_GT(List(window).GetColumnWidth(i), 20) << i;
        Select(window, 0);
        Command(window, ID_PFO_START);
        EXPECT_THAT(Row(window, 0), ElementsAre("Error starting", "", "127.0.0.1", "1", "strange", "9"));
    });
    const auto pFile = ReadFile();
    EXPECT_LT(pFile->windowRect.bottom, 20000);
    EXPECT_EQ(pFile->opCount, 1);
}

class AutoStartTest : public MainWindowTest {
  protected:
    /// What the row of a previously running operation says.
    std::string StatusWith(uint32_t dwMode) {
        m_settings.autoStartMode = dwMode;
        CPortForwardOp* const pRunning = Add(kProtocolTcp, 0, "127.0.0.1", true);
        CPortForwardOp* const pStopped = Add(kProtocolTcp, 0, "127.0.0.1");
        std::string strStatus;
        Run([&](const CWnd& window) {
            strStatus = Status(window, pRunning);
            EXPECT_EQ(Status(window, pStopped), "Stopped");
            EXPECT_FALSE(IsFileThere()) << "a start of the program's own does not save";
            EXPECT_EQ(Buttons(window), strStatus == "Started" ? "ED-T" : "----");
        });
        return strStatus;
    }
};

TEST_F(AutoStartTest, StartsWhatRan) {
    EXPECT_EQ(StatusWith(kAutoStartAlways), "Started");
}

TEST_F(AutoStartTest, NeverStarts) {
    EXPECT_EQ(StatusWith(kAutoStartNever), "Stopped");
}

TEST_F(AutoStartTest, AsksAndStartsOnYes) {
    m_script.Answer(Text(kSlotStartPreviousTitle), Text(kSlotStartPrevious), IDYES);
    EXPECT_EQ(StatusWith(kAutoStartAsk), "Started");
}

TEST_F(AutoStartTest, AnswerNoIsKeptInTheFile) {
    m_script.Answer(Text(kSlotStartPreviousTitle), Text(kSlotStartPrevious), IDNO);
    EXPECT_EQ(StatusWith(7), "Stopped");
    EXPECT_EQ(ReadFile()->runningOpCount, 0);
}

TEST_F(AutoStartTest, CloseDuringTheQuestionKeepsTheOperationsInTheFile) {
    Add(kProtocolTcp, 0, "127.0.0.1", true);
    m_script.In(Text(kSlotStartPreviousTitle), [&](const CWnd& box) {
        ::SendMessageA(m_hMainWnd, WM_CLOSE, 0, 0);
        const auto pFile = ReadFile();
        EXPECT_EQ(pFile->opCount, 1);
        EXPECT_EQ(pFile->runningOpCount, 1);
        Press(box, IDNO);
    });
    CMainDlg dialog(&m_settings, &m_hMainWnd, &m_bServiceStop, false);
    dialog.DoModal();
}

TEST_F(MainWindowStartTest, ComesUpWithoutAThreadForTheLogWriter) {
    FailThreadStartsAfter(0);
    CMainDlg dialog(&m_settings, &m_hMainWnd, &m_bServiceStop, false);
    m_script.In(kProgramName, [&](const CWnd& window) {
        Await([&] { return window.GetDlgItemText(IDC_MAIN_PROGRAM_THREADS) == "2"; }, "the count of threads");
        FailThreadStartsAfter(-1);
        window.SendMessage(WM_CLOSE);
    });
    const ULONGLONG nStart = ::GetTickCount64();
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    EXPECT_LT(::GetTickCount64() - nStart, 30000u);
    FailThreadStartsAfter(-1);
}

TEST_F(MainWindowStartTest, CloseWhileMaximisedSavesTheNormalRectangle) {
    m_settings.windowRect = {40, 30, 740, 480};
    m_settings.windowFlags = 1;
    Run([](const CWnd& window) { EXPECT_TRUE(window.IsZoomed()); });
    EXPECT_EQ(m_settings.windowRect, (WindowRect{40, 30, 740, 480}));
    EXPECT_EQ(ReadFile()->windowFlags, 1u);
}

TEST_F(MainWindowStartTest, CloseBoxMinimisesWhenItIsSetTo) {
    m_settings.minimizeOnClose = 1;
    m_bServiceStop = 0;
    Run([&](const CWnd& window) {
        window.SendMessage(WM_CLOSE);
        EXPECT_TRUE(window.IsIconic());
        EXPECT_FALSE(IsFileThere());
    });
    EXPECT_TRUE(IsFileThere()) << "the stop of the service is final";
}

TEST_F(MainWindowStartTest, FirstMinimiseAsksAndTheAnswerYesHidesAtOnce) {
    m_settings.trayPromptDone = 0;
    Run([&](const CWnd& window) {
        m_script.Answer(Text(kSlotHideInTrayTitle), Text(kSlotHideInTray), IDYES);
        window.SendMessage(WM_SYSCOMMAND, SC_MINIMIZE);
        EXPECT_FALSE(window.IsWindowVisible());
        EXPECT_TRUE(m_settings.showTrayIcon && m_settings.hideTaskbarWhenMinimized &&
                    m_settings.trayOnlyWhenMinimized && m_settings.trayPromptDone);
        window.SendMessage(WM_TRAY_NOTIFY, 0, WM_LBUTTONUP);
        EXPECT_TRUE(window.IsWindowVisible());
        EXPECT_FALSE(window.IsIconic());
        window.SendMessage(WM_SYSCOMMAND, SC_MINIMIZE);
        EXPECT_FALSE(window.IsWindowVisible()) << "and is not asked again";
        Command(window, ID_TRAY_RESTORE);
        EXPECT_TRUE(window.IsWindowVisible());
    });
}

TEST_F(MainWindowStartTest, StartsMinimisedWhenItIsToldTo) {
    m_bStartMinimized = true;
    Run([&](const CWnd& window) {
        Await([&] { return window.IsIconic(); }, "the minimised window");
        window.SendMessage(WM_SYSCOMMAND, SC_RESTORE);
        EXPECT_FALSE(window.IsIconic());
        EXPECT_EQ(m_settings.showTrayIcon, 0);
    });
}

TEST_F(MainWindowStartTest, ListFollowsTheWindowAndIsNowhereCutOff) {
    Run([](const CWnd& window) {
        for (const auto& [nWidth, nHeight] : {std::pair{640, 400}, {900, 600}, {100, 100}}) {
            window.MoveWindow(5, 5, nWidth, nHeight);
            const RECT client = window.GetClientRect();
            const RECT list = window.ScreenToClient(List(window).GetWindowRect());
            EXPECT_EQ(list.right, client.right) << nWidth;
            EXPECT_EQ(list.bottom, client.bottom) << nHeight;
        }
        const RECT rect = window.GetWindowRect();
        EXPECT_EQ(rect.right - rect.left, kMinWindowWidth);
        EXPECT_EQ(rect.bottom - rect.top, kMinWindowHeight);
    });
}

TEST_F(MainWindowStartTest, KeysThatMeanCancelDoNotCloseIt) {
    m_bServiceStop = 0;
    Run([](const CWnd& window) {
        for (const WPARAM nKey : {VK_ESCAPE, VK_CANCEL}) List(window).PostMessage(WM_KEYDOWN, nKey, 1);
        window.PostMessage(WM_COMMAND, IDCANCEL);
        window.PostMessage(WM_COMMAND, IDOK);
        bool bSeen = false;
        window.PostMessage(WM_NULL);
        Await([&] { return std::exchange(bSeen, true); }, "the keys to be served");
        EXPECT_TRUE(window.IsWindowVisible());
    });
}

}  // namespace
