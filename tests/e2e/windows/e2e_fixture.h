// The vocabulary of the end-to-end tests: the program with its main window, and what a user does there.
#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "tests/e2e/windows/echo_servers.h"
#include "tests/e2e/windows/remote_program.h"
#include "tests/support/wait.h"

/// What a user puts into the options dialog; empty texts leave their field as it is.
struct OptionsInput {
    SocketKind kind = SocketKind::Tcp;
    uint16_t wLocalPort = 0;
    uint16_t wRemotePort = 0;
    std::string strLocalInterface = "127.0.0.1";
    std::string strRemoteHost = "127.0.0.1";
};

class E2eTest : public testing::Test {
  protected:
    E2eTest();
    ~E2eTest() override;

    /// Starts the program with this settings file and waits for its main window.
    void StartWith(const SettingsImage& settings);
    /// Starts it again with the file that it has saved.
    void Restart();
    void UseMainWindow();
    /// Closes the main window and expects an orderly end.
    void CloseMainWindow();

    CRemoteList List() const { return CRemoteList(m_main.Control(IDC_MAIN_LIST)); }
    /// Waits until the value line reads this.
    void ExpectValue(int nControl, const std::string& strValue);
    void ExpectStatus(int nRow, const std::string& strStatus);
    void ExpectSaved(const SettingsImage& settings);
    void ExpectDisabled(int nButton);

    /// The open dialog with the control, after the command.
    CRemoteWindow Open(int nCommand, int nControl);
    void FillOptions(const CRemoteWindow& options, const OptionsInput& input);
    /// New with OK; the new operation is row 0 and selected.
    void AddOperation(const OptionsInput& input);
    void Start(int nRow);
    void Stop(int nRow);
    /// Waits for the message box with this title and text and answers it.
    void Answer(const std::string& strTitleAndText, int nButton);

    std::optional<CWatchdog> m_watchdog;  // a test that is long by intention renews it
    CRemoteProgram m_program;
    CRemoteWindow m_main;
};

/// A settings file whose window stands at a place of its own, so that nothing in it changes by a mere run.
SettingsImage PlacedSettings();
OperationImage OperationOf(const OptionsInput& input);
/// The last-used fields as the options dialog leaves them.
void SetLastUsed(SettingsImage* pSettings, const OptionsInput& input);
