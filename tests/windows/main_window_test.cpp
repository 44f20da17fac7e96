// The commands of the main window on real operations.
#include "tests/support/process.h"
#include "tests/windows/main_window_fixture.h"

namespace {

constexpr char kOptionsTitle[] = "Port forwarding options";

using MainWindowCommandTest = MainWindowTest;

/// Whether somebody listens for the operation.
bool CanConnect(CPortForwardOp* pOperation) {
    CSocket socket;
    return socket.Open(SocketKind::Tcp) == 0 &&
           socket.Connect({pOperation->m_settings.m_dwLocalIp, pOperation->ListenPort()}) == 0;
}

// The first test of the process that sorts: the direction is one for all windows and starts with the largest on top.
TEST_F(MainWindowCommandTest, AColumnClickSortsAndTheNextOneReverses) {
    for (const uint16_t wPort : std::initializer_list<uint16_t>{4002, 4003, 4001}) Add(wPort);
    Run([&] {
        Notify(LVN_COLUMNCLICK, 3);
        EXPECT_EQ(Column(3), "4003 4002 4001 ");
        Notify(LVN_COLUMNCLICK, 3);
        EXPECT_EQ(Column(3), "4001 4002 4003 ");
        Send(WM_SAVE_SETTINGS);
        EXPECT_EQ(File().firstOp->m_settings.m_wLocalPort, 4003) << "the bottom row is first in the file";
    });
}

TEST_F(MainWindowCommandTest, StartAndStopOfTheSelectedRow) {
    CPortForwardOp* const pOperation = Add();
    CPortForwardOp* const pOther = Add(0, "10.0.0.1", kProtocolUdp);
    Run([&] {
        Command(ID_PFO_START, 1);
        EXPECT_EQ(State(), "Stopped Started ED-T");
        EXPECT_TRUE(CanConnect(pOperation));
        EXPECT_EQ(File().runningOpCount, 1);
        AwaitText(IDC_MAIN_PFO_THREADS, "1");
        Command(ID_PFO_START);
        EXPECT_EQ(State(), "Stopped Started ED-T") << "a second start changes nothing";

        Command(ID_PFO_STOP, 0);
        EXPECT_EQ(State(), "Stopped Started EDS-") << "nor does the stop of a stopped row";
        AwaitText(IDC_MAIN_PFO_THREADS, "0");

        pOther->m_settings.m_nProtocol = kProtocolTcp;
        pOther->m_settings.m_wLocalPort = pOperation->ListenPort();
        Command(ID_PFO_START_ALL);
        EXPECT_EQ(State(), "Error starting Started EDS-") << "from below";

        Command(ID_PFO_STOP, 1);
        EXPECT_EQ(Column(0), "Error starting Stopping ");
        AwaitStatus(pOperation, "Stopped");
        EXPECT_EQ(Buttons(), "EDS-");
        EXPECT_FALSE(CanConnect(pOperation));
    });
}

TEST_F(MainWindowCommandTest, CommandsAreRefusedWithoutARowAndWhileItIsStopping) {
    CPortForwardOp* const pOperation = Add();
    Run([&] {
        for (const int nId : {ID_PFO_EDIT, ID_PFO_DELETE, ID_PFO_START, ID_PFO_STOP}) {
            AnswerBox(kSlotNoneSelected, kSlotNoneSelectedTitle, IDOK);
            Command(nId);
        }
        const std::pair<int, uint32_t> refusals[] = {
            {ID_PFO_START, kSlotNoStart}, {ID_PFO_EDIT, kSlotNoEdit}, {ID_PFO_DELETE, kSlotNoDelete}};
        for (const auto& [nId, nSlot] : refusals) {
            AnswerBox(nSlot, kSlotNotWhileStopping, IDOK);
            Command(ID_PFO_START, 0);
            Command(ID_PFO_STOP);
            Command(nId);  // its message box serves the worker meanwhile
            AwaitStatus(pOperation, "Stopped");
        }
    });
}

TEST_F(MainWindowCommandTest, ContextMenuGreysWhatDoesNotFit) {
    Add();
    Run([&] {
        Notify(NM_RCLICK);  // without a row there is no menu
        Command(ID_CONTEXT_MENU);
        for (const char* const pszMenu : {"Edit|-|Start|(Stop)|-|Delete", "Edit|-|(Start)|Stop|-|Delete"}) {
            Select(0);
            for (const UINT nCode : {NM_RCLICK, NM_DBLCLK}) {
                ExpectMenu(pszMenu);
                Notify(nCode);
            }
            ExpectMenu(pszMenu);
            bool bGone = false;
            m_script.In(kProgramName, [&](const CWnd&) { bGone = true; });
            List().SetFocus();
            List().PostMessage(WM_KEYDOWN, VK_RETURN, 0x001C0001);
            Await([&] { return bGone; }, "the menu by the Enter key");
            Command(ID_PFO_START);
        }
    });
}

TEST_F(MainWindowCommandTest, DeleteTakesTheRowAndTheOperation) {
    Add();
    Run([&] {
        AnswerBox(kSlotSureToDelete, kSlotSure, IDNO);
        AnswerBox(kSlotSureToDelete, kSlotSure, IDYES);
        Command(ID_PFO_START, 0);
        Command(ID_PFO_DELETE);
        EXPECT_EQ(State(), "Started ED-T");
        Command(ID_PFO_DELETE);
        EXPECT_EQ(Column(0), "Stopping ");
        EXPECT_EQ(File().opCount, 1) << "the row was still there";
        Await([&] { return List().GetItemCount() == 0; }, "the row to go");
        EXPECT_TRUE(m_settings.operations.empty());
        EXPECT_EQ(m_settings.firstOp, nullptr);
        EXPECT_EQ(State(), "----");
    });
    EXPECT_EQ(File().opCount, 0);
}

TEST_F(MainWindowCommandTest, StatusLinesLetGoOfADeletedOperation) {
    Add();
    // The test keeps it, so that it can still change.
    const auto pOperation = std::move(m_settings.operations.front());
    m_settings.operations.clear();
    const auto set = [&](int32_t nTotal, double dBytes) {
        pOperation->m_nTotalSessions = nTotal;
        pOperation->m_dBytesFromClient = dBytes;
    };
    const auto rateIsZero = [&] { return Window().GetDlgItemText(IDC_MAIN_CLIENT_RATE) == "0 bps"; };
    Run([&] {
        AnswerBox(kSlotSureToDelete, kSlotSure, IDYES);
        Select(0);
        Await(rateIsZero, "the first rate");
        set(7, 1e9);
        AwaitText(IDC_MAIN_PFO_TOTAL, "7");
        Await([&] { return !rateIsZero(); }, "the rate");
        Command(ID_PFO_DELETE);
        Await([&] { return List().GetItemCount() == 0; }, "the row to go");
        set(8, 2e9);
        Await(rateIsZero, "the rates to start over");
        EXPECT_EQ(Window().GetDlgItemText(IDC_MAIN_PFO_TOTAL), "7");
    });
}

TEST_F(MainWindowCommandTest, EditOfARunningRowStopsAppliesAndStartsAgain) {
    CPortForwardOp* const pOther = Add(0, "alpha.test");
    CPortForwardOp* const pOperation = Add();
    const OpSettings& settings = pOperation->m_settings;
    pOperation->m_settings.m_allowRanges = {{1, 2}};
    pOperation->m_settings.m_blockRanges = {{3, 4}, {5, 6}};
    OpSettings expected = settings;
    Run([&] {
        m_script.In(kOptionsTitle, [&](const CWnd& dialog) {
            dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, std::to_string(pOperation->ListenPort()));
            dialog.SetDlgItemText(IDC_PFO_REMOTE_PORT, "7777");
            RemoveFile();
            dialog.SendMessage(WM_SAVE_SETTINGS);
            EXPECT_TRUE(IsFileThere()) << "dialogs pass the message on";
            Command(ID_PFO_DELETE);
            Press(dialog, IDOK);
        });
        AnswerBox(kSlotNoDelete, kSlotNotWhileStopping, IDOK);
        Command(ID_PFO_START_ALL);
        Command(ID_PFO_EDIT, 0);
        EXPECT_EQ(Status(pOperation), "Stopping");
        EXPECT_EQ(settings, expected) << "the old settings stay until it has stopped";
        // The row moves while the worker is at it.
        for (int i = 0; i < 6; ++i) Notify(LVN_COLUMNCLICK, i);
        AwaitStatus(pOperation, "Started");
        expected.m_wRemotePort = 7777;
        expected.m_wLocalPort = pOperation->ListenPort();
        EXPECT_EQ(settings, expected);
        EXPECT_THAT(Column(5), testing::HasSubstr("7777"));
        EXPECT_TRUE(CanConnect(pOperation));
        EXPECT_EQ(Status(pOther), "Started");
    });
}

TEST_F(MainWindowCommandTest, NewOperationComesInAtTheTopAndIsSaved) {
    Add();
    const auto fill = [](int nButton) {
        return [nButton](const CWnd& dialog) {
            dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "8080");
            dialog.SetDlgItemText(IDC_PFO_REMOTE_PORT, "80");
            dialog.SetDlgItemText(IDC_PFO_REMOTE_HOST, "127.0.0.1");
            Press(dialog, nButton);
        };
    };
    Run([&] {
        m_script.In(kOptionsTitle, fill(IDCANCEL)).In(kOptionsTitle, fill(IDOK));
        Command(ID_PFO_NEW);
        EXPECT_EQ(m_settings.operations.size(), 1u);
        EXPECT_FALSE(IsFileThere());
        Command(ID_PFO_NEW);
        EXPECT_EQ(Row(0), "Stopped|TCP|0.0.0.0|8080|127.0.0.1|80");
        EXPECT_EQ(List().GetSelectionMark(), 0);
        EXPECT_EQ(Buttons(), "EDS-");
        EXPECT_EQ(File().opCount, 2);
    });
}

TEST_F(MainWindowCommandTest, WorkerThatCannotBeStartedLeavesTheOperationAsItWas) {
    CPortForwardOp* const pOperation = Add();
    Run([&] {
        AnswerBox(kSlotSureToDelete, kSlotSure, IDYES);
        Command(ID_PFO_START, 0);
        FailThreadStartsAfter(0);
        Command(ID_PFO_STOP);
        Command(ID_PFO_DELETE);
        FailThreadStartsAfter(-1);
        EXPECT_EQ(State(), "Started ED-T");
        EXPECT_TRUE(CanConnect(pOperation));
        Command(ID_PFO_STOP);
        AwaitStatus(pOperation, "Stopped");
    });
}

TEST_F(MainWindowCommandTest, CloseWhileWorkersAreAtItIsSafe) {
    for (int i = 0; i < 8; ++i) Add(0, "10.0.0.1", i % 2 ? kProtocolUdp : kProtocolTcp);
    ReleaseParkedThreads();
    const int32_t nThreads = CountThreads();
    Open([&] {
        Command(ID_PFO_START_ALL);
        Command(ID_PFO_STOP_ALL);
    });
    EXPECT_EQ(File().opCount, 8);
    // The workers' steps find no window any more.
    const auto areGone = [nThreads] {
        ReleaseParkedThreads();
        return CountThreads() <= nThreads;
    };
    Await(areGone, "the workers");
    for (const auto& pOperation : m_settings.operations) EXPECT_EQ(pOperation->m_bRunning, 0);
}

}  // namespace
