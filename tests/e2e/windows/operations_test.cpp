// Operations that a user sets up, runs, changes and removes, with real traffic through them.
#include "tests/e2e/windows/e2e_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kCloseSessions[] =
    "Continue and close current sessions?\": There is currently one or more session, choosing Yes will close all "
    "current sessions\r\n\r\nAre you sure you wish to continue?";
constexpr char kDelete[] =
    "Are you sure?: Are you sure you wish to delete the currently selected port forwarding operation?";
constexpr char kBadPort[] = "Invalid input value: The local port must be between 1 and 65535.";

std::string RowOf(const std::string& strStatus, const OptionsInput& input) {
    return strStatus + (input.kind == SocketKind::Tcp ? "|TCP|127.0.0.1|" : "|UDP|127.0.0.1|") +
           std::to_string(input.wLocalPort) + "|127.0.0.1|" + std::to_string(input.wRemotePort);
}

class OperationsTest : public E2eTest {
  protected:
    OptionsInput To(const CEchoServer& server, SocketKind kind) { return {kind, FreePort(kind), server.Port()}; }
    /// The selected operation: threads, sessions, sessions in all, bytes from the client's and from the server's side.
    void ExpectCounts(const std::array<std::string, 5>& counts) {
        const int controls[] = {IDC_MAIN_PFO_THREADS, IDC_MAIN_PFO_SESSIONS, IDC_MAIN_PFO_TOTAL, IDC_MAIN_CLIENT_BYTES,
                                IDC_MAIN_SERVER_BYTES};
        for (size_t n = 0; n < counts.size(); ++n) ExpectValue(controls[n], counts[n]);
    }

    const CEchoServer m_tcpServer{SocketKind::Tcp};
    const CEchoServer m_udpServer{SocketKind::Udp};
};

TEST_F(OperationsTest, ForwardTrafficAndTellOfIt) {
    SettingsImage settings = PlacedSettings();
    StartWith(settings);
    const OptionsInput tcp = To(m_tcpServer, SocketKind::Tcp);
    const OptionsInput udp = To(m_udpServer, SocketKind::Udp);
    AddOperation(tcp);
    AddOperation(udp);
    EXPECT_THAT(List().Rows(), ElementsAre(RowOf("Stopped", udp), RowOf("Stopped", tcp)));
    settings.operations = {OperationOf(tcp), OperationOf(udp)};
    SetLastUsed(&settings, udp);
    ExpectSaved(settings);

    Start(1);
    Start(0);
    ExpectValue(IDC_MAIN_PROGRAM_THREADS, "5");
    settings.operations[0].bRunning = settings.operations[1].bRunning = 1;
    ExpectSaved(settings);

    {
        CEchoClient udpClient(SocketKind::Udp, udp.wLocalPort);
        EXPECT_EQ(udpClient.Echo(std::string(1000, 'u')), std::string(1000, 'u'));
        ExpectCounts({"3", "1", "1", "1000 Bytes", "1000 Bytes"});
        ASSERT_TRUE(List().Select(1));
        ExpectCounts({"1", "0", "0", "0 Bytes", "0 Bytes"});
        CEchoClient tcpClient(SocketKind::Tcp, tcp.wLocalPort);
        EXPECT_EQ(tcpClient.Echo(std::string(3 * 524288, 't')), std::string(3 * 524288, 't'));
        ExpectCounts({"3", "1", "1", "1.50 MB", "1.50 MB"});
        ExpectValue(IDC_MAIN_PROGRAM_SESSIONS, "2");
    }
    ExpectCounts({"1", "0", "1", "1.50 MB", "1.50 MB"});

    m_main.CommandAndWait(ID_PFO_STOP_ALL);
    ExpectStatus(0, "Stopped");
    ExpectStatus(1, "Stopped");
    ExpectValue(IDC_MAIN_PROGRAM_THREADS, "3");
    ExpectValue(IDC_MAIN_PROGRAM_SESSIONS, "0");
    CloseMainWindow();
    settings.operations[0].bRunning = settings.operations[1].bRunning = 0;
    ExpectSaved(settings);
}

TEST_F(OperationsTest, DataRateFollowsTheTraffic) {
    StartWith(PlacedSettings());
    const OptionsInput tcp = To(m_tcpServer, SocketKind::Tcp);
    AddOperation(tcp);
    Start(0);
    ExpectValue(IDC_MAIN_CLIENT_RATE, "0 bps");
    CEchoClient client(SocketKind::Tcp, tcp.wLocalPort);
    EXPECT_TRUE(m_program.WaitFor([&] {
        EXPECT_EQ(client.Echo("0123456789"), "0123456789");
        return m_main.Text(IDC_MAIN_CLIENT_RATE).ends_with(" Kbps") &&
               m_main.Text(IDC_MAIN_SERVER_RATE).ends_with(" Kbps");
    })) << m_main.Text(IDC_MAIN_CLIENT_RATE);
    Stop(0);
    ExpectValue(IDC_MAIN_CLIENT_RATE, "0 bps");
    ExpectValue(IDC_MAIN_SERVER_RATE, "0 bps");
}

TEST_F(OperationsTest, EditWithAnOpenSessionAsksAndMovesTheListener) {
    SettingsImage settings = PlacedSettings();
    StartWith(settings);
    OptionsInput tcp = To(m_tcpServer, SocketKind::Tcp);
    AddOperation(tcp);
    Start(0);
    CEchoClient client(SocketKind::Tcp, tcp.wLocalPort);
    ASSERT_EQ(client.Echo("before"), "before");
    ExpectValue(IDC_MAIN_PFO_SESSIONS, "1");

    const CRemoteWindow options = Open(ID_PFO_EDIT, IDC_PFO_LOCAL_PORT);
    EXPECT_EQ(options.Text(IDC_PFO_LOCAL_PORT), std::to_string(tcp.wLocalPort));
    tcp.wLocalPort = FreePort(SocketKind::Tcp);
    FillOptions(options, tcp);
    options.Command(IDOK);
    Answer(kCloseSessions, IDNO);
    EXPECT_TRUE(options.Exists());
    EXPECT_EQ(client.Echo("between"), "between") << "the answer No must leave the session alone";

    options.Command(IDOK);
    Answer(kCloseSessions, IDYES);
    EXPECT_TRUE(client.IsClosedByPeer());
    ExpectStatus(0, "Started");
    EXPECT_THAT(List().Rows(), ElementsAre(RowOf("Started", tcp)));
    CEchoClient again(SocketKind::Tcp, tcp.wLocalPort);
    EXPECT_EQ(again.Echo("after"), "after");

    CloseMainWindow();
    settings.operations = {OperationOf(tcp)};
    settings.operations[0].bRunning = 1;
    SetLastUsed(&settings, tcp);
    ExpectSaved(settings);
}

TEST_F(OperationsTest, DeleteRunningOperationEndsItsSessions) {
    StartWith(PlacedSettings());
    const OptionsInput tcp = To(m_tcpServer, SocketKind::Tcp);
    AddOperation(tcp);
    Start(0);
    CEchoClient client(SocketKind::Tcp, tcp.wLocalPort);
    ASSERT_EQ(client.Echo("data"), "data");

    m_main.Command(ID_PFO_DELETE);
    Answer(kDelete, IDNO);
    ExpectStatus(0, "Started");
    m_main.Command(ID_PFO_DELETE);
    Answer(kDelete, IDYES);
    EXPECT_TRUE(client.IsClosedByPeer());
    EXPECT_TRUE(m_program.WaitFor([&] { return List().Count() == 0; }));
    for (const int nButton : {ID_PFO_EDIT, ID_PFO_DELETE, ID_PFO_START, ID_PFO_STOP}) ExpectDisabled(nButton);
    ExpectValue(IDC_MAIN_PROGRAM_THREADS, "3");
    EXPECT_FALSE(CEchoClient(SocketKind::Tcp, tcp.wLocalPort).IsConnected());
}

TEST_F(OperationsTest, FailedStartIsTold) {
    StartWith(PlacedSettings());
    OptionsInput taken = To(m_tcpServer, SocketKind::Tcp);
    taken.wLocalPort = m_tcpServer.Port();
    AddOperation(taken);
    m_main.CommandAndWait(ID_PFO_START);
    ExpectStatus(0, "Error starting");
    ExpectValue(IDC_MAIN_PROGRAM_THREADS, "3");

    // A change that makes it startable is taken up by the next start.
    taken.wLocalPort = FreePort(SocketKind::Tcp);
    const CRemoteWindow options = Open(ID_PFO_EDIT, IDC_PFO_LOCAL_PORT);
    FillOptions(options, taken);
    options.Command(IDOK);
    ExpectStatus(0, "Stopped");
    Start(0);
    EXPECT_EQ(CEchoClient(SocketKind::Tcp, taken.wLocalPort).Echo("data"), "data");
}

TEST_F(OperationsTest, RefusedInputKeepsTheDialogAndNothingElse) {
    const SettingsImage settings = PlacedSettings();
    StartWith(settings);
    const CRemoteWindow options = Open(ID_PFO_NEW, IDC_PFO_LOCAL_PORT);
    FillOptions(options, {SocketKind::Udp, 0, 5, "", "127.0.0.1"});
    options.Command(IDOK);
    Answer(kBadPort, IDOK);
    EXPECT_TRUE(m_program.WaitFor([&] { return options.IsEnabled(); }));
    options.Command(IDCANCEL);
    EXPECT_TRUE(m_program.WaitFor([&] { return !options.Exists(); }));
    EXPECT_THAT(List().Rows(), IsEmpty());
    ExpectSaved(settings);
}

}  // namespace
