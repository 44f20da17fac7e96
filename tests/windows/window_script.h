// Drives the program's windows, menus and the system's own dialogs from within their modal loops, as a user does: step
// by step, each in the window that the step expects in front.
//
// A window that does not come ends the test program with a message: a fault shows as a failure and not as a hang. One
// script at a time, on the thread of the windows.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <utility>

#include "platform/mfc/wnd.h"

/// The title under which a step finds an open menu.
inline constexpr char kMenu[] = "#32768";

class CWindowScript {
  public:
    using Action = std::function<void(const CWnd& window)>;

    CWindowScript();
    /// Reports the steps that did not run.
    ~CWindowScript();
    CWindowScript(const CWindowScript&) = delete;
    CWindowScript& operator=(const CWindowScript&) = delete;

    /// Runs once a dialog or message box with this title is open and enabled, behind the steps given before.
    CWindowScript& In(const std::string& strTitle, Action fnAction);
    CWindowScript& Press(const std::string& strTitle, int nButton);
    /// Expects this text in a message box and answers it with a button's id.
    CWindowScript& Answer(const std::string& strTitle, const std::string& strText, int nButton);
    /// Answers the system's dialog for a file name: the name, or a press of Cancel when it is empty.
    CWindowScript& ChooseFile(const std::string& strTitle, const std::string& strPath);

  private:
    static void CALLBACK Tick(HWND hWnd, UINT nMessage, UINT_PTR nTimer, DWORD dwTime);
    void RunStep();

    std::deque<std::pair<std::string, Action>> m_steps;
    const UINT_PTR m_nTimer;
    ULONGLONG m_nWaitingSince;  // milliseconds
};

/// Presses a button of the dialog when the present step is over.
void Press(const CWnd& dialog, int nId);
/// The entries: "Edit|-|(Stop)|PFO[Start]", a greyed one in round brackets, those of a pop-up in square ones.
std::string MenuText(HMENU hMenu);
