#include "tests/e2e/windows/e2e_fixture.h"

#include <algorithm>

namespace {

constexpr char kOptionsTitle[] = "Port forwarding options";

}  // namespace

E2eTest::E2eTest() {
    m_watchdog.emplace();
}

E2eTest::~E2eTest() = default;

void E2eTest::StartWith(const SettingsImage& settings) {
    m_program.Save(settings.Bytes());
    Restart();
}

void E2eTest::Restart() {
    ASSERT_TRUE(m_program.Start());
    UseMainWindow();
}

void E2eTest::UseMainWindow() {
    m_main = m_program.WaitForMainWindow();
    ASSERT_TRUE(m_main.Exists());
    ASSERT_EQ(m_main.Text(), "Velmoorstack ZELKOR");
}

void E2eTest::CloseMainWindow() {
    m_main.Post(WM_CLOSE);
    EXPECT_EQ(m_program.WaitForEnd(), 0u);
}

void E2eTest::ExpectValue(int nControl, const std::string& strValue) {
    EXPECT_TRUE(m_program.WaitFor([&] { return m_main.Text(nControl) == strValue; }))
        << "control " << nControl << " reads " << m_main.Text(nControl) << ", not " << strValue;
}

void E2eTest::ExpectStatus(int nRow, const std::string& strStatus) {
    EXPECT_TRUE(m_program.WaitFor([&] { return List().Cell(nRow, 0) == strStatus; }))
        << "row " << nRow << " reads " << List().Row(nRow) << ", not " << strStatus;
}

void E2eTest::ExpectSaved(const SettingsImage& settings) {
    const std::string strExpected = settings.Bytes();
    if (m_program.WaitFor([&] { return m_program.Saved() == strExpected; })) return;
    const std::string strSaved = m_program.Saved();
    const auto nAt = std::ranges::mismatch(strSaved, strExpected).in1 - strSaved.begin();
    ADD_FAILURE() << "the file has " << strSaved.size() << " bytes, not " << strExpected.size() << ", and differs at "
                  << nAt;
}

void E2eTest::ExpectDisabled(int nButton) {
    EXPECT_TRUE(m_program.WaitFor([&] { return !m_main.Control(nButton).IsEnabled(); })) << "button " << nButton;
}

CRemoteWindow E2eTest::Open(int nCommand, int nControl) {
    m_main.Command(nCommand);
    const CRemoteWindow dialog = m_program.WaitForDialogWith(nControl);
    EXPECT_TRUE(dialog.Exists()) << "nothing opens after command " << nCommand;
    return dialog;
}

void E2eTest::FillOptions(const CRemoteWindow& options, const OptionsInput& input) {
    EXPECT_EQ(options.Text(), kOptionsTitle);
    options.Check(input.kind == SocketKind::Tcp ? IDC_PFO_TCP : IDC_PFO_UDP);
    options.SetText(IDC_PFO_LOCAL_PORT, std::to_string(input.wLocalPort));
    options.SetText(IDC_PFO_LOCAL_INTERFACE, input.strLocalInterface);
    options.SetText(IDC_PFO_REMOTE_PORT, std::to_string(input.wRemotePort));
    options.SetText(IDC_PFO_REMOTE_HOST, input.strRemoteHost);
}

void E2eTest::AddOperation(const OptionsInput& input) {
    const int nCount = List().Count();
    const CRemoteWindow options = Open(ID_PFO_NEW, IDC_PFO_LOCAL_PORT);
    FillOptions(options, input);
    options.Command(IDOK);
    ASSERT_TRUE(m_program.WaitFor([&] { return !options.Exists() && List().Count() == nCount + 1; }));
    EXPECT_EQ(List().SelectedRow(), 0);
}

void E2eTest::Start(int nRow) {
    ASSERT_TRUE(List().Select(nRow));
    m_main.CommandAndWait(ID_PFO_START);
    ExpectStatus(nRow, "Started");
}

void E2eTest::Stop(int nRow) {
    ASSERT_TRUE(List().Select(nRow));
    m_main.CommandAndWait(ID_PFO_STOP);
    ExpectStatus(nRow, "Stopped");
}

void E2eTest::Answer(const std::string& strTitleAndText, int nButton) {
    const CRemoteWindow box = m_program.WaitForMessageBox();
    ASSERT_TRUE(box.Exists()) << "no message box: " << strTitleAndText;
    EXPECT_EQ(MessageBoxText(box), strTitleAndText);
    box.Command(nButton);
    EXPECT_TRUE(m_program.WaitFor([&] { return !box.Exists(); }));
}

SettingsImage PlacedSettings() {
    SettingsImage settings;
    settings.windowRect = {20, 30, 20 + 800, 30 + 500};
    settings.trayPromptDone = 1;
    return settings;
}

OperationImage OperationOf(const OptionsInput& input) {
    OperationImage op;
    op.nProtocol = input.kind == SocketKind::Tcp ? 6 : 17;
    op.wLocalPort = input.wLocalPort;
    op.wRemotePort = input.wRemotePort;
    op.strLocalInterface = input.strLocalInterface;
    op.strRemoteHost = input.strRemoteHost;
    return op;
}

void SetLastUsed(SettingsImage* pSettings, const OptionsInput& input) {
    pSettings->lastProtocolTcp = input.kind == SocketKind::Tcp;
    pSettings->lastProtocolUdp = input.kind == SocketKind::Udp;
    pSettings->lastLocalInterface = input.strLocalInterface;
    pSettings->lastRemoteHost = input.strRemoteHost;
    pSettings->lastLocalPort = input.wLocalPort;
    pSettings->lastRemotePort = input.wRemotePort;
}
