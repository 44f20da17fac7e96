#include "tests/windows/main_window_fixture.h"

#include <algorithm>

#include "language/language_store.h"
#include "platform/files/files.h"
#include "resources/resource.h"
#include "store/settings_file.h"

namespace {

std::string FilePath() {
    return SettingsPathFor(ModulePath());
}

uint16_t FreePort(int32_t nProtocol) {
    CSocket socket;
    Endpoint local;
    EXPECT_EQ(socket.Open(nProtocol == kProtocolUdp ? SocketKind::Udp : SocketKind::Tcp), 0);
    EXPECT_EQ(socket.Bind({0, 0}), 0);
    EXPECT_EQ(socket.LocalEndpoint(&local), 0);
    return local.wPort;
}

void ServeMessages() {
    MSG message = {};
    while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        ::TranslateMessage(&message);
        ::DispatchMessageA(&message);
    }
}

}  // namespace

MainWindowTest::MainWindowTest() {
    ::DeleteFileA(FilePath().c_str());
    ApplyLanguage(&m_settings);
    m_settings.trayPromptDone = 1;
}

MainWindowTest::~MainWindowTest() {
    ::DeleteFileA(FilePath().c_str());
}

CPortForwardOp* MainWindowTest::Add(int32_t nProtocol, uint16_t wLocalPort, const std::string& strRemoteHost,
                                    bool bRunning) {
    auto pOperation = std::make_unique<CPortForwardOp>();
    pOperation->m_settings.m_nProtocol = nProtocol;
    pOperation->m_settings.m_wLocalPort = wLocalPort != 0 ? wLocalPort : FreePort(nProtocol);
    EXPECT_TRUE(ParseIpAddress("127.0.0.1", &pOperation->m_settings.m_dwLocalIp));
    pOperation->m_settings.m_strLocalInterface = "127.0.0.1";
    pOperation->m_settings.m_strRemoteHost = strRemoteHost;
    pOperation->m_settings.m_wRemotePort = 9;
    pOperation->m_bRunning = bRunning;
    CPortForwardOp** ppLink = &m_settings.firstOp;
    while (*ppLink) ppLink = &(*ppLink)->m_pNext;
    *ppLink = pOperation.get();
    ++m_settings.opCount;
    if (bRunning) ++m_settings.runningOpCount;
    m_settings.operations.push_back(std::move(pOperation));
    return *ppLink;
}

void MainWindowTest::Run(const std::function<void(const CWnd& window)>& fnStep) {
    CMainDlg dialog(&m_settings, &m_hMainWnd, &m_bServiceStop, m_bStartMinimized);
    m_script.In(kProgramName, [&](const CWnd& window) {
        EXPECT_EQ(m_hMainWnd.load(), window.GetSafeHwnd());
        fnStep(window);
        Command(window, ID_PFO_STOP_ALL);
        Await([&] { return window.GetDlgItemText(IDC_MAIN_PROGRAM_THREADS) == "3"; }, "an idle program");
        m_bServiceStop = 1;
        window.SendMessage(WM_CLOSE);
    });
    EXPECT_EQ(dialog.DoModal(), IDCANCEL);
    // The window had gone from the list's operations before, so that they can be destroyed with the record.
    for (const auto& pOperation : m_settings.operations) EXPECT_EQ(pOperation->m_bRunning, 0);
}

void MainWindowTest::Await(const std::function<bool()>& condition, const std::string& strWhat) {
    constexpr ULONGLONG kPatienceMs = 30000;
    const ULONGLONG nStart = ::GetTickCount64();
    while (!condition()) {
        if (::GetTickCount64() - nStart > kPatienceMs) {
            ADD_FAILURE() << "waited in vain for " << strWhat;
            return;
        }
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 10, QS_ALLINPUT);
        ServeMessages();
    }
}

CListCtrl MainWindowTest::List(const CWnd& window) {
    return CListCtrl(window, IDC_MAIN_LIST);
}

void MainWindowTest::Select(const CWnd& window, int nRow) {
    List(window).SetSelectionMark(nRow);
    List(window).SetItemState(nRow, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
}

void MainWindowTest::Command(const CWnd& window, int nId) {
    window.SendMessage(WM_COMMAND, static_cast<WPARAM>(nId));
}

std::vector<std::string> MainWindowTest::Row(const CWnd& window, int nRow) {
    std::vector<std::string> texts;
    for (int i = 0; i < static_cast<int>(kColumnCount); ++i) texts.push_back(List(window).GetItemText(nRow, i));
    return texts;
}

std::string MainWindowTest::Status(const CWnd& window, const CPortForwardOp* pOperation) {
    const int nRow = List(window).FindItemByData(reinterpret_cast<LPARAM>(pOperation));
    return nRow < 0 ? "no row" : List(window).GetItemText(nRow, 0);
}

void MainWindowTest::AwaitStatus(const CWnd& window, const CPortForwardOp* pOperation, const std::string& strStatus) {
    Await([&] { return Status(window, pOperation) == strStatus; }, strStatus);
}

std::string MainWindowTest::Buttons(const CWnd& window) {
    std::string strButtons;
    constexpr std::pair<int, char> kButtons[] = {
        {ID_PFO_EDIT, 'E'}, {ID_PFO_DELETE, 'D'}, {ID_PFO_START, 'S'}, {ID_PFO_STOP, 'T'}};
    for (const auto& [nId, chLetter] : kButtons) {
        strButtons += window.GetDlgItem(nId).IsWindowEnabled() ? chLetter : '-';
    }
    return strButtons;
}

std::unique_ptr<AppSettings> MainWindowTest::ReadFile() const {
    auto pSettings = std::make_unique<AppSettings>();
    EXPECT_EQ(LoadSettingsFile(pSettings.get(), FilePath()).status, SettingsFileStatus::Complete);
    // Nothing runs there: the flag only tells what the file says.
    return pSettings;
}

bool MainWindowTest::IsFileThere() const {
    return FileSize(FilePath()) > 0;
}
