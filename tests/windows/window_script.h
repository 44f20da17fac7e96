// Drives the program's real dialogs and the system's own from within their modal loops, as a user does: step by step, each
// in the window that the step expects in front.
//
// A window that a step waits for and that does not come is reported, and everything that is open is closed: a fault shows
// as a failure and not as a hang. One script at a time, on the thread of the windows.
#pragma once

#include <deque>
#include <functional>
#include <string>

#include "platform/mfc/wnd.h"

class CWindowScript {
  public:
    CWindowScript();
    /// Reports the steps that did not run.
    ~CWindowScript();
    CWindowScript(const CWindowScript&) = delete;
    CWindowScript& operator=(const CWindowScript&) = delete;

    /// Runs once a dialog or message box with this title is open and enabled, behind the steps given before.
    CWindowScript& In(const std::string& strTitle, std::function<void(const CWnd& window)> fnStep);
    /// Expects this text in a message box and answers it with a button's id.
    CWindowScript& Answer(const std::string& strTitle, const std::string& strText, int nButton);
    /// Answers the system's dialog for a file name: the name, or a press of Cancel when it is empty.
    CWindowScript& ChooseFile(const std::string& strTitle, const std::string& strPath);

  private:
    struct Step {
        std::string strTitle;
        std::function<void(const CWnd& window)> fnStep;
    };
    static void CALLBACK Tick(HWND hWnd, UINT nMessage, UINT_PTR nTimer, DWORD dwTime);
    void RunStep();
    void GiveUp();

    std::deque<Step> m_steps;
    UINT_PTR m_nTimer = 0;
    ULONGLONG m_nWaitingSince = 0;  // milliseconds
    bool m_bGivenUp = false;
};

/// Presses a button of the dialog when the present step is over.
void Press(const CWnd& dialog, int nId);
/// Types the text into an edit field, key by key, behind what it holds.
void Type(const CWnd& edit, const std::string& strText);
/// The edit field of an editable combo box.
HWND EditOf(const CWnd& combo);
/// The text that a message box shows.
std::string BoxText(const CWnd& box);
