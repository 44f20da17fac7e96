// The application object: one static instance of a derived class, which the process's WinMain finds and runs.
//
// WinMain lives beside it, so a program that has an application object needs no start of its own. The object lives as
// long as the process; its members are fixed before InitInstance is called and may be read by any thread.
#pragma once

#include <string>

#include "platform/system/windows_api.h"

class CWinApp {
  public:
    /// The name is the caption of AfxMessageBox.
    explicit CWinApp(std::string strAppName);
    virtual ~CWinApp();
    CWinApp(const CWinApp&) = delete;
    CWinApp& operator=(const CWinApp&) = delete;

    /// The program. The process ends when it returns false; true asks for a message loop on the primary thread before.
    virtual bool InitInstance() = 0;

    /// Makes the system's common controls ready, list view and IP address control among them.
    bool Enable3dControls() const;
    /// An icon of the executable; shared, so nobody frees it. Null when there is none.
    HICON LoadIcon(UINT nIcon) const;

    /// The message loop of the primary thread, until WM_QUIT; returns its code.
    int Run();

    /// What stood behind the program's name; never null.
    const char* m_lpCmdLine = "";
    const std::string m_strAppName;
};

/// The instance, null before it is built and without one.
CWinApp* AfxGetApp();

/// A message box owned by the innermost open dialog of the calling thread, with the program's name as its caption.
int AfxMessageBox(const std::string& strText, UINT nFlags = MB_OK | MB_ICONEXCLAMATION);
