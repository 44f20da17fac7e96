// The real main window over a record of settings that the test fills, driven from within its modal loop.
//
// The saved-settings file is the one beside the test program. The window runs as a service's does, whose close returns.
#pragma once

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "language/language_store.h"
#include "language/slots.h"
#include "platform/files/files.h"
#include "platform/mfc/list_ctrl.h"
#include "platform/system/process.h"
#include "platform/threads/threads_testing.h"
#include "resources/private_messages.h"
#include "resources/resource.h"
#include "shell/app_settings.h"
#include "shell/main_window/main_dlg.h"
#include "store/settings_file.h"
#include "tests/windows/window_script.h"

class MainWindowTest : public testing::Test {
  protected:
    MainWindowTest() {
        ApplyLanguage(&m_settings);
        m_settings.trayPromptDone = 1;
        RemoveFile();
    }
    ~MainWindowTest() override { RemoveFile(); }

    /// Adds an operation to the record, behind the others, as the file would hold it; the system chooses port 0.
    CPortForwardOp* Add(uint16_t wPort = 0, const std::string& strHost = "10.0.0.1", int32_t nProtocol = kProtocolTcp) {
        auto pOperation = std::make_unique<CPortForwardOp>();
        OpSettings& settings = pOperation->m_settings;
        settings.m_nProtocol = nProtocol;
        settings.m_strLocalInterface = "127.0.0.1";
        settings.m_dwLocalIp = IpFromNumber(0x7F000001);
        settings.m_wLocalPort = wPort;
        settings.m_strRemoteHost = strHost;
        settings.m_wRemotePort = 9;
        CPortForwardOp** ppLink = &m_settings.firstOp;
        while (*ppLink) ppLink = &(*ppLink)->m_pNext;
        *ppLink = pOperation.get();
        ++m_settings.opCount;
        m_settings.operations.push_back(std::move(pOperation));
        return *ppLink;
    }

    /// Runs the window and fnStep in its loop, and closes it then; what fnStep adds to the script comes during fnStep.
    void Open(const std::function<void()>& fnStep) {
        CMainDlg dialog(&m_settings, &m_hMainWnd, &m_bServiceStop, m_bStartMinimized);
        m_script.In(kProgramName, [&](const CWnd& window) {
            EXPECT_EQ(m_hMainWnd.load(), window.GetSafeHwnd());
            fnStep();
            m_bServiceStop = 1;
            window.SendMessage(WM_CLOSE);
        });
        EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    }
    /// The same; but everything is stopped before the close, and the window must count the threads of an idle program.
    void Run(const std::function<void()>& fnStep) {
        Open([&] {
            fnStep();
            Command(ID_PFO_STOP_ALL);
            AwaitText(IDC_MAIN_PROGRAM_THREADS, "3");
        });
        for (const auto& pOperation : m_settings.operations) EXPECT_EQ(pOperation->m_bRunning, 0);
    }

    // For use inside the window's loop

    /// Serves the window until the condition holds.
    void Await(const std::function<bool()>& condition, const std::string& strWhat) const {
        constexpr ULONGLONG kPatienceMs = 60000;
        const ULONGLONG nEnd = ::GetTickCount64() + kPatienceMs;
        while (!condition() && ::GetTickCount64() < nEnd) {
            ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
            MSG message = {};
            while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
                if (!::IsDialogMessageA(m_hMainWnd, &message)) ::DispatchMessageA(&message);
            }
        }
        EXPECT_TRUE(condition()) << "waited in vain for " << strWhat;
    }
    void AwaitText(int nId, const std::string& strText) const {
        Await([&] { return Window().GetDlgItemText(nId) == strText; }, strText + " in " + std::to_string(nId));
    }
    void AwaitStatus(const CPortForwardOp* pOperation, const std::string& strStatus) const {
        Await([&] { return Status(pOperation) == strStatus; }, strStatus);
    }
    CWnd Window() const { return CWnd(m_hMainWnd); }
    CListCtrl List() const { return {Window(), IDC_MAIN_LIST}; }
    void Send(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0) const {
        Window().SendMessage(nMessage, wParam, lParam);
    }
    void Command(int nId) const { Send(WM_COMMAND, static_cast<WPARAM>(nId)); }
    /// With the row as the selected one.
    void Command(int nId, int nRow) const {
        Select(nRow);
        Command(nId);
    }
    void Select(int nRow) const {
        List().SetSelectionMark(nRow);
        List().SetItemState(nRow, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    }
    void Notify(UINT nCode, int nColumn = 0) const {
        NMLISTVIEW record = {{List().GetSafeHwnd(), IDC_MAIN_LIST, nCode}, 0, nColumn, 0, 0, 0, {}, 0};
        Send(WM_NOTIFY, IDC_MAIN_LIST, reinterpret_cast<LPARAM>(&record));
    }
    /// Its texts with bars between them.
    std::string Row(int nRow) const {
        std::string strRow = List().GetItemText(nRow, 0);
        for (int i = 1; i < static_cast<int>(kColumnCount); ++i) strRow += "|" + List().GetItemText(nRow, i);
        return strRow;
    }
    /// That column of all rows, from the top.
    std::string Column(int nColumn) const {
        std::string strColumn;
        for (int i = 0; i < List().GetItemCount(); ++i) strColumn += List().GetItemText(i, nColumn) + " ";
        return strColumn;
    }
    std::string Status(const CPortForwardOp* pOperation) const {
        return List().GetItemText(List().FindItemByData(reinterpret_cast<LPARAM>(pOperation)), 0);
    }
    /// The buttons Edit, Delete, Start and Stop as letters, a dash for one that is disabled.
    std::string Buttons() const {
        const auto letter = [&](int nId, char ch) { return Window().GetDlgItem(nId).IsWindowEnabled() ? ch : '-'; };
        return {letter(ID_PFO_EDIT, 'E'), letter(ID_PFO_DELETE, 'D'), letter(ID_PFO_START, 'S'),
                letter(ID_PFO_STOP, 'T')};
    }
    /// The statuses of all rows, and the buttons.
    std::string State() const { return Column(0) + Buttons(); }
    /// Expects this menu once one is open, and closes it.
    void ExpectMenu(const std::string& strMenu) {
        m_script.In(kMenu, [strMenu](const CWnd& menu) {
            EXPECT_EQ(MenuText(reinterpret_cast<HMENU>(menu.SendMessage(MN_GETHMENU))), strMenu);
            ::EndMenu();
        });
    }
    void AnswerBox(uint32_t nTextSlot, uint32_t nTitleSlot, int nButton) {
        m_script.Answer(Text(nTitleSlot), Text(nTextSlot), nButton);
    }

    std::string Text(uint32_t nSlot) const { return m_settings.slotTable.Text(nSlot); }
    /// What the saved-settings file now holds, until the next call.
    const AppSettings& File() {
        m_pFile = std::make_unique<AppSettings>();
        EXPECT_EQ(LoadSettingsFile(m_pFile.get(), FilePath()).status, SettingsFileStatus::Complete);
        return *m_pFile;
    }
    static bool IsFileThere() { return FileSize(FilePath()) > 0; }
    static void RemoveFile() { ::DeleteFileA(FilePath().c_str()); }

    AppSettings m_settings;
    std::atomic<HWND> m_hMainWnd = nullptr;
    std::atomic<uint8_t> m_bServiceStop = 1;
    bool m_bStartMinimized = false;
    CWindowScript m_script;

  private:
    static std::string FilePath() { return SettingsPathFor(ModulePath()); }

    std::unique_ptr<AppSettings> m_pFile;
};
