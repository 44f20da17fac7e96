// A long row of commands in no order that a user would choose. At its end the window lives, every thread has gone and no
// handle is left.
//
// ZELKOR_E2E_COMMANDS sets another number of commands, ZELKOR_E2E_SEED another row. Ten thousand take minutes, so the
// tests of every build run a tenth of them.
#include <random>

#include "tests/e2e/windows/e2e_fixture.h"
#include "tests/support/process.h"

namespace {

constexpr int kCommands = 10000;
constexpr unsigned kSeed = 20070125;
constexpr int kWarmUp = 10;  // the first tenth brings in what the system loads once
constexpr int kMostRows = 8;
constexpr int32_t kHandleSlack = 2;  // a timer's or a message's, at any moment
constexpr int kPerWatchdog = 250;

unsigned FromEnvironment(const char* pszName, unsigned nElse) {
    char szValue[32] = "";
    return GetEnvironmentVariableA(pszName, szValue, sizeof szValue) ? static_cast<unsigned>(std::stoul(szValue))
                                                                     : nElse;
}

class RandomCommandsTest : public E2eTest {
  protected:
    RandomCommandsTest() : m_nSeed(FromEnvironment("ZELKOR_E2E_SEED", kSeed)), m_random(m_nSeed) {
        // Some operations share a port, so that some starts fail.
        for (int n = 0; n < kMostRows - 2; ++n) m_ports.push_back(FreePort(SocketKind::Tcp));
    }

    int Below(int nEnd) { return std::uniform_int_distribution<int>(0, nEnd - 1)(m_random); }
    bool OneIn(int nEnd) { return Below(nEnd) == 0; }

    OptionsInput RandomInput() {
        const SocketKind kind = OneIn(2) ? SocketKind::Tcp : SocketKind::Udp;
        const uint16_t wPort = m_ports[static_cast<size_t>(Below(static_cast<int>(m_ports.size())))];
        return {kind, wPort, kind == SocketKind::Tcp ? m_tcpServer.Port() : m_udpServer.Port()};
    }

    int RandomCommand() {
        const int nRows = List().Count();
        if (nRows < 2) return ID_PFO_NEW;
        if (nRows >= kMostRows) return ID_PFO_DELETE;
        static constexpr int kAll[] = {ID_PFO_START, ID_PFO_START,     ID_PFO_START,    ID_PFO_START, ID_PFO_START,
                                       ID_PFO_STOP,  ID_PFO_STOP,      ID_PFO_STOP,     ID_PFO_STOP,  ID_PFO_STOP,
                                       ID_PFO_EDIT,  ID_PFO_START_ALL, ID_PFO_STOP_ALL, ID_PFO_NEW,   ID_PFO_DELETE};
        return OneIn(200) ? ID_LANGUAGE_CHANGE : kAll[Below(std::size(kAll))];
    }

    /// Gives the dialog something to do, or an end.
    void AnswerDialog(const CRemoteWindow& dialog) {
        if (IsMessageBox(dialog)) {
            const bool bQuestion = dialog.Control(IDYES).Exists();
            dialog.Command(bQuestion ? (OneIn(3) ? IDNO : IDYES) : IDOK);
        } else if (dialog.Control(IDC_LANGUAGE_DEUTSCH).Exists()) {
            static constexpr int kLanguages[] = {IDC_LANGUAGE_DEUTSCH, IDC_LANGUAGE_ENGLISH, IDC_LANGUAGE_FRANCAIS};
            dialog.Command(kLanguages[Below(std::size(kLanguages))]);
        } else {
            const OptionsInput input = RandomInput();
            dialog.Check(input.kind == SocketKind::Tcp ? IDC_PFO_TCP : IDC_PFO_UDP);
            dialog.SetText(IDC_PFO_LOCAL_PORT, std::to_string(input.wLocalPort));
            dialog.SetText(IDC_PFO_REMOTE_PORT, std::to_string(input.wRemotePort));
            dialog.SetText(IDC_PFO_LOCAL_INTERFACE, input.strLocalInterface);
            dialog.SetText(IDC_PFO_REMOTE_HOST, input.strRemoteHost);
            dialog.Command(OneIn(3) ? IDCANCEL : IDOK);
        }
    }

    /// Carries one command out, with every dialog that it opens. False when the program does not come back from it.
    bool Run(int nCommand) {
        CPendingCommand command(m_main, nCommand);
        CRemoteWindow answered;
        return m_program.WaitFor([&] {
            const CRemoteWindow dialog = m_program.DialogOver(m_main);
            if (dialog.Exists() && dialog != answered) AnswerDialog(answered = dialog);
            if (!dialog.Exists()) answered = {};
            return command.IsDone();
        });
    }

    bool RunOne() {
        const int nRows = List().Count();
        if (nRows > 0) {
            const int nRow = Below(nRows);
            List().Select(nRow);
        }
        if (OneIn(10)) {
            List().ClickColumn(Below(6));
            return true;
        }
        if (OneIn(10)) CEchoClient(SocketKind::Tcp, RandomInput().wLocalPort);
        return Run(RandomCommand());
    }

    int32_t Handles() const { return CountHandlesOf(m_program.ProcessId()); }

    /// Repeated, since a change of a running operation that is under way starts it again.
    void StopAll() {
        ASSERT_TRUE(m_program.WaitFor([&] {
            return Run(ID_PFO_STOP_ALL) && m_main.Text(IDC_MAIN_PROGRAM_THREADS) == "3";
        })) << m_main.Text(IDC_MAIN_PROGRAM_THREADS);
        ExpectValue(IDC_MAIN_PROGRAM_SESSIONS, "0");
    }

    const unsigned m_nSeed;
    std::mt19937 m_random;
    const CEchoServer m_tcpServer{SocketKind::Tcp};
    const CEchoServer m_udpServer{SocketKind::Udp};
    std::vector<uint16_t> m_ports;
};

TEST_F(RandomCommandsTest, LeaveALiveWindowAndNothingBehind) {
    const int nCommands = static_cast<int>(FromEnvironment("ZELKOR_E2E_COMMANDS", kCommands));
    std::printf("seed %u, %d commands\n", m_nSeed, nCommands);
    StartWith(PlacedSettings());
    int32_t nHandles = 0;
    for (int n = 0; n < nCommands; ++n) {
        if (n == nCommands / kWarmUp) {
            StopAll();
            nHandles = Handles();
        }
        if (n % kPerWatchdog == 0) m_watchdog.emplace();
        ASSERT_TRUE(RunOne()) << "command " << n;
    }
    StopAll();
    m_watchdog.emplace();
    // Threads that are parked for the next start end by themselves when none comes.
    EXPECT_TRUE(m_program.WaitFor([&] { return Handles() <= nHandles + kHandleSlack; }))
        << "from " << nHandles << " to " << Handles();
    EXPECT_FALSE(m_program.DialogOver(m_main).Exists());
    CloseMainWindow();
}

}  // namespace
