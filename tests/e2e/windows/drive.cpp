// Drives the windows of a running program from the command line, for demonstrations and pictures.
//
// The arguments are steps, carried out in their order; numbers are those of resources/resource.h:
//   wait                  until the main window stands
//   show                  prints the list and the status lines
//   select ROW            clicks a row
//   fresh                 until the data rate has started over, as it does for a newly selected row, and is not zero
//   until ID TEXT         until this line of the main window reads so
//   command ID            gives the main window a command
//   dialog ID             until a dialog with this control is open; the steps below go to that dialog
//   press ID, set ID TEXT, choose ID        a button, an edit box, a radio button or check box of it
//   gone                  until it has closed
//   place                 prints left, top, right and bottom of the dialog, or of the main window
//   close                 closes the main window
// Ends with code 1 at the first step that fails.
#include <cstdio>
#include <deque>
#include <map>
#include <string>

#include "resources/resource.h"
#include "tests/e2e/windows/remote_list.h"
#include "tests/support/wait.h"

namespace {

/// A window that a user can use and that has this control.
CRemoteWindow WaitForWindowWith(int nControl) {
    CRemoteWindow found;
    static_cast<void>(WaitFor([&] {
        for (const CRemoteWindow& window : WindowsOf(kAnyProcess)) {
            if (window.IsEnabled() && window.Control(nControl).Exists()) found = window;
        }
        return found.Exists();
    }));
    return found;
}

class CDriver {
  public:
    explicit CDriver(std::deque<std::string> arguments) : m_arguments(std::move(arguments)) {}

    int Run() {
        while (!m_arguments.empty()) {
            const std::string strStep = Next();
            const auto it = kSteps.find(strStep);
            if (it != kSteps.end() && (this->*it->second)()) continue;
            std::printf("failed: %s\n", strStep.c_str());
            return 1;
        }
        return 0;
    }

  private:
    using Step = bool (CDriver::*)();
    static const std::map<std::string, Step> kSteps;

    std::string Next() {
        if (m_arguments.empty()) return {};
        const std::string strNext = m_arguments.front();
        m_arguments.pop_front();
        return strNext;
    }
    int NextNumber() { return std::atoi(Next().c_str()); }
    CRemoteWindow Main() {
        if (!m_main.Exists()) m_main = WaitForWindowWith(IDC_MAIN_LIST);
        return m_main;
    }

    // The first count is written by a timer, which comes only behind the whole start-up.
    bool Wait() {
        return WaitFor([this] { return Main().Text(IDC_MAIN_PROGRAM_THREADS) >= "3"; });
    }
    bool Show() {
        const CRemoteList list(Main().Control(IDC_MAIN_LIST));
        for (const std::string& strRow : list.Rows()) std::printf("  %s\n", strRow.c_str());
        static constexpr int kLines[][2] = {{IDC_MAIN_PROGRAM_THREADS_LABEL, IDC_MAIN_PROGRAM_THREADS},
                                            {IDC_MAIN_PROGRAM_SESSIONS_LABEL, IDC_MAIN_PROGRAM_SESSIONS},
                                            {IDC_MAIN_PFO_THREADS_LABEL, IDC_MAIN_PFO_THREADS},
                                            {IDC_MAIN_PFO_SESSIONS_LABEL, IDC_MAIN_PFO_SESSIONS},
                                            {IDC_MAIN_PFO_TOTAL_LABEL, IDC_MAIN_PFO_TOTAL},
                                            {IDC_MAIN_CLIENT_BYTES_LABEL, IDC_MAIN_CLIENT_BYTES},
                                            {IDC_MAIN_CLIENT_RATE_LABEL, IDC_MAIN_CLIENT_RATE},
                                            {IDC_MAIN_SERVER_BYTES_LABEL, IDC_MAIN_SERVER_BYTES},
                                            {IDC_MAIN_SERVER_RATE_LABEL, IDC_MAIN_SERVER_RATE}};
        for (const auto& [nLabel, nValue] : kLines) {
            std::printf("  %s %s\n", Main().Text(nLabel).c_str(), Main().Text(nValue).c_str());
        }
        return Main().Exists();
    }
    bool Select() { return CRemoteList(Main().Control(IDC_MAIN_LIST)).Select(NextNumber()); }
    bool Fresh() {
        const auto IsZero = [this] { return Main().Text(IDC_MAIN_CLIENT_RATE).starts_with("0 "); };
        return WaitFor(IsZero) && WaitFor([&] { return !IsZero(); });
    }
    bool Until() {
        const int nControl = NextNumber();
        const std::string strText = Next();
        return WaitFor([&] { return Main().Text(nControl) == strText; });
    }
    bool Command() {
        Main().Command(NextNumber());
        return true;
    }
    bool Dialog() {
        m_dialog = WaitForWindowWith(NextNumber());
        return m_dialog.Exists();
    }
    bool Press() {
        m_dialog.Command(NextNumber());
        return m_dialog.Exists();
    }
    bool Set() {
        const int nControl = NextNumber();
        m_dialog.SetText(nControl, Next());
        return m_dialog.Exists();
    }
    bool Choose() {
        m_dialog.Check(NextNumber());
        return m_dialog.Exists();
    }
    bool Gone() {
        return WaitFor([this] { return !m_dialog.Exists(); });
    }
    bool Place() {
        const RECT rect = m_dialog.Exists() ? m_dialog.Rect() : Main().Rect();
        return std::printf("%ld %ld %ld %ld\n", rect.left, rect.top, rect.right, rect.bottom) > 0;
    }
    bool Close() {
        const CRemoteWindow main = Main();
        main.Post(WM_CLOSE);
        return WaitFor([&] { return !main.Exists(); });
    }

    std::deque<std::string> m_arguments;
    CRemoteWindow m_main;
    CRemoteWindow m_dialog;
};

const std::map<std::string, CDriver::Step> CDriver::kSteps = {
    {"wait", &CDriver::Wait},     {"show", &CDriver::Show},   {"select", &CDriver::Select},
    {"fresh", &CDriver::Fresh},   {"until", &CDriver::Until}, {"command", &CDriver::Command},
    {"dialog", &CDriver::Dialog}, {"press", &CDriver::Press}, {"set", &CDriver::Set},
    {"choose", &CDriver::Choose}, {"gone", &CDriver::Gone},   {"place", &CDriver::Place},
    {"close", &CDriver::Close}};

}  // namespace

int main(int argc, char** argv) {
    return CDriver({argv + 1, argv + argc}).Run();
}
