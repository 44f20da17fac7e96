// The commands of the main window on real operations.
#include <gmock/gmock.h>

#include "platform/threads/threads.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/main_window/main_dlg_slots.h"
#include "tests/support/left_over.h"
#include "tests/windows/main_window_fixture.h"

using testing::ElementsAre;

namespace {

constexpr char kOptionsTitle[] = "Port forwarding options";

using MainWindowCommandTest = MainWindowTest;

/// Whether somebody listens on the port.
bool CanConnect(uint16_t wPort) {
    uint32_t dwIp = 0;
    CSocket socket;
    return ParseIpAddress("127.0.0.1", &dwIp) && socket.Open(SocketKind::Tcp) == 0 &&
           socket.Connect({dwIp, wPort}) == 0;
}

void ClickColumn(const CWnd& window, int nColumn) {
    NMLISTVIEW click = {};
    click.hdr = {::GetDlgItem(window.GetSafeHwnd(), IDC_MAIN_LIST), IDC_MAIN_LIST, static_cast<UINT>(LVN_COLUMNCLICK)};
    click.iSubItem = nColumn;
    window.SendMessage(WM_NOTIFY, IDC_MAIN_LIST, reinterpret_cast<LPARAM>(&click));
}

// The first test of the process that sorts: the direction is one for all windows and starts with the largest on top.
TEST_F(MainWindowCommandTest, AColumnClickSortsAndTheNextOneReverses) {
    for (const uint16_t wPort : std::initializer_list<uint16_t>{4002, 4003, 4001})
        Add(kProtocolTcp, wPort, "127.0.0.1");
    Run([&](const CWnd& window) {
        const auto ports = [&] {
            std::string strPorts;
            for (int i = 0; i < 3; ++i) strPorts += Row(window, i)[3] + " ";
            return strPorts;
        };
        ClickColumn(window, 3);
        EXPECT_EQ(ports(), "4003 4002 4001 ");
        ClickColumn(window, 3);
        EXPECT_EQ(ports(), "4001 4002 4003 ");
        window.SendMessage(WM_SAVE_SETTINGS);
        EXPECT_EQ(ReadFile()->firstOp->m_settings.m_wLocalPort, 4003) << "the bottom row is first in the file";
    });
}

TEST_F(MainWindowCommandTest, StartAndStopOfTheSelectedRow) {
    CPortForwardOp* const pOperation = Add(kProtocolTcp, 0, "127.0.0.1");
    Add(kProtocolUdp, 0, "127.0.0.1");
    Run([&](const CWnd& window) {
        Select(window, 1);
        EXPECT_EQ(Buttons(window), "EDS-");
        Command(window, ID_PFO_START);
        EXPECT_EQ(Status(window, pOperation), "Started");
        EXPECT_EQ(Buttons(window), "ED-T");
        EXPECT_TRUE(CanConnect(pOperation->m_settings.m_wLocalPort));
        EXPECT_EQ(ReadFile()->runningOpCount, 1);
        Await([&] { return window.GetDlgItemText(IDC_MAIN_PFO_THREADS) == "1"; }, "the status of the operation");
        Command(window, ID_PFO_START);
        EXPECT_EQ(Status(window, pOperation), "Started") << "a second start changes nothing";

        Select(window, 0);
        EXPECT_EQ(Buttons(window), "EDS-");
        Command(window, ID_PFO_STOP);
        EXPECT_EQ(Status(window, pOperation), "Started") << "the stop of a stopped row does nothing";

        Select(window, 1);
        Command(window, ID_PFO_STOP);
        EXPECT_EQ(Status(window, pOperation), "Stopping");
        AwaitStatus(window, pOperation, "Stopped");
        EXPECT_EQ(Buttons(window), "EDS-");
        EXPECT_FALSE(CanConnect(pOperation->m_settings.m_wLocalPort));
    });
}

TEST_F(MainWindowCommandTest, StartThatFailsShowsInTheRow) {
    CPortForwardOp* const pFirst = Add(kProtocolTcp, 0, "127.0.0.1");
    CPortForwardOp* const pSecond = Add(kProtocolTcp, pFirst->m_settings.m_wLocalPort, "127.0.0.1");
    Run([&](const CWnd& window) {
        Command(window, ID_PFO_START_ALL);
        EXPECT_EQ(Status(window, pFirst), "Started") << "the bottom row comes first";
        EXPECT_EQ(Status(window, pSecond), "Error starting");
        EXPECT_EQ(List(window).GetSelectionMark(), 0);
        EXPECT_EQ(ReadFile()->opCount, 2) << "one save at the end";
    });
}

TEST_F(MainWindowCommandTest, CommandsWithoutARowSaySo) {
    Run([&](const CWnd& window) {
        for (int i = 0; i < 4; ++i) m_script.Answer(Text(kSlotNoneSelectedTitle), Text(kSlotNoneSelected), IDOK);
        for (const int nId : {ID_PFO_EDIT, ID_PFO_DELETE, ID_PFO_START, ID_PFO_STOP}) Command(window, nId);
    });
}

TEST_F(MainWindowCommandTest, CommandsAreRefusedWhileTheRowIsStopping) {
    CPortForwardOp* const pOperation = Add(kProtocolTcp, 0, "127.0.0.1");
    const auto expectRefusal = [&](const CWnd& window, int nId, uint32_t nSlot) {
        m_script.Answer(Text(kSlotNotWhileStopping), Text(nSlot), IDOK);
        Select(window, 0);
        Command(window, ID_PFO_START);
        Command(window, ID_PFO_STOP);
        Command(window, nId);  // its message box serves the worker meanwhile
        AwaitStatus(window, pOperation, "Stopped");
    };
    Run([&](const CWnd& window) {
        expectRefusal(window, ID_PFO_START, kSlotNoStart);
        expectRefusal(window, ID_PFO_EDIT, kSlotNoEdit);
        expectRefusal(window, ID_PFO_DELETE, kSlotNoDelete);
    });
}

TEST_F(MainWindowCommandTest, DeleteTakesTheRowTheOperationAndTheStatus) {
    CPortForwardOp* const pOperation = Add(kProtocolTcp, 0, "127.0.0.1");
    Run([&](const CWnd& window) {
        m_script.Answer(Text(kSlotSure), Text(kSlotSureToDelete), IDNO);
        m_script.Answer(Text(kSlotSure), Text(kSlotSureToDelete), IDYES);
        Select(window, 0);
        Command(window, ID_PFO_START);
        Command(window, ID_PFO_DELETE);
        EXPECT_EQ(Status(window, pOperation), "Started");
        Command(window, ID_PFO_DELETE);
        EXPECT_EQ(Status(window, pOperation), "Stopping");
        EXPECT_EQ(ReadFile()->opCount, 1) << "the row was still there";
        Await([&] { return List(window).GetItemCount() == 0; }, "the row to go");
        EXPECT_TRUE(m_settings.operations.empty());
        EXPECT_EQ(m_settings.firstOp, nullptr);
        EXPECT_EQ(Buttons(window), "----");
        window.SendMessage(WM_SAVE_SETTINGS);
        EXPECT_EQ(ReadFile()->opCount, 0);
    });
}

TEST_F(MainWindowCommandTest, EditOfARunningRowStopsAppliesAndStartsAgain) {
    CPortForwardOp* const pOperation = Add(kProtocolTcp, 0, "127.0.0.1");
    CPortForwardOp* const pOther = Add(kProtocolTcp, 0, "alpha.test");
    Run([&](const CWnd& window) {
        m_script.In(kOptionsTitle, [](const CWnd& dialog) {
            dialog.SetDlgItemText(IDC_PFO_REMOTE_PORT, "7777");
            Press(dialog, IDOK);
        });
        Command(window, ID_PFO_START_ALL);
        Select(window, 1);
        Command(window, ID_PFO_EDIT);
        EXPECT_EQ(Status(window, pOperation), "Stopping");
        EXPECT_EQ(pOperation->m_settings.m_wRemotePort, 9)
            << "the live operation keeps its settings until it has stopped";
        // The row moves while the worker is at it.
        for (int i = 0; i < 6; ++i) ClickColumn(window, i);
        AwaitStatus(window, pOperation, "Started");
        EXPECT_EQ(pOperation->m_settings.m_wRemotePort, 7777);
        const int nRow = List(window).FindItemByData(reinterpret_cast<LPARAM>(pOperation));
        EXPECT_EQ(Row(window, nRow).back(), "7777");
        EXPECT_TRUE(CanConnect(pOperation->m_settings.m_wLocalPort));
        EXPECT_EQ(Status(window, pOther), "Started");
    });
}

TEST_F(MainWindowCommandTest, NewOperationComesInAtTheTopAndIsSaved) {
    Add(kProtocolTcp, 0, "127.0.0.1");
    const auto press = [](int nButton) {
        return [nButton](const CWnd& dialog) {
            dialog.SetDlgItemText(IDC_PFO_LOCAL_PORT, "8080");
            dialog.SetDlgItemText(IDC_PFO_REMOTE_PORT, "80");
            dialog.SetDlgItemText(IDC_PFO_REMOTE_HOST, "127.0.0.1");
            Press(dialog, nButton);
        };
    };
    Run([&](const CWnd& window) {
        m_script.In(kOptionsTitle, press(IDCANCEL)).In(kOptionsTitle, press(IDOK));
        Command(window, ID_PFO_NEW);
        EXPECT_EQ(m_settings.operations.size(), 1u);
        EXPECT_FALSE(IsFileThere());
        Command(window, ID_PFO_NEW);
        EXPECT_THAT(Row(window, 0), ElementsAre("Stopped", "TCP", "0.0.0.0", "8080", "127.0.0.1", "80"));
        EXPECT_EQ(List(window).GetSelectionMark(), 0);
        EXPECT_EQ(Buttons(window), "EDS-");
        EXPECT_EQ(ReadFile()->opCount, 2);
    });
}

TEST_F(MainWindowCommandTest, WorkerThatCannotBeStartedLeavesTheOperationAsItWas) {
    CPortForwardOp* const pOperation = Add(kProtocolTcp, 0, "127.0.0.1");
    Run([&](const CWnd& window) {
        m_script.Answer(Text(kSlotSure), Text(kSlotSureToDelete), IDYES);
        Select(window, 0);
        Command(window, ID_PFO_START);
        FailThreadStartsAfter(0);
        Command(window, ID_PFO_STOP);
        Command(window, ID_PFO_DELETE);
        FailThreadStartsAfter(-1);
        EXPECT_EQ(Status(window, pOperation), "Started");
        EXPECT_EQ(Buttons(window), "ED-T");
        EXPECT_TRUE(CanConnect(pOperation->m_settings.m_wLocalPort));
        Command(window, ID_PFO_STOP);
        AwaitStatus(window, pOperation, "Stopped");
    });
}

TEST_F(MainWindowCommandTest, CloseWhileWorkersAreAtItIsSafe) {
    for (int i = 0; i < 8; ++i) Add(i % 2 ? kProtocolUdp : kProtocolTcp, 0, "127.0.0.1");
    ReleaseParkedThreads();
    const int32_t nThreads = CountThreads();
    CMainDlg dialog(&m_settings, &m_hMainWnd, &m_bServiceStop, false);
    m_script.In(kProgramName, [&](const CWnd& window) {
        Command(window, ID_PFO_START_ALL);
        Command(window, ID_PFO_STOP_ALL);
        window.SendMessage(WM_CLOSE);
    });
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    EXPECT_EQ(ReadFile()->opCount, 8);
    // The workers' steps find no window any more.
    const auto areGone = [nThreads] {
        ReleaseParkedThreads();
        return CountThreads() <= nThreads;
    };
    Await(areGone, "the workers");
    for (const auto& pOperation : m_settings.operations) EXPECT_EQ(pOperation->m_bRunning, 0);
}

}  // namespace
