// The program under test as a process of its own, in a scratch folder of its own.
//
// Owned by a test, used from its thread. The executable is copied into the folder, so that its settings file stands
// beside it there. The end of the object ends the process if it still runs, and removes the folder.
//
// Every wait ends early when the process ends: a crash shows at once, not after a deadline.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tests/e2e/windows/remote_list.h"
#include "tests/e2e/windows/remote_window.h"
#include "tests/e2e/windows/settings_image.h"

class CRemoteProgram {
  public:
    CRemoteProgram();
    ~CRemoteProgram();
    CRemoteProgram(const CRemoteProgram&) = delete;
    CRemoteProgram& operator=(const CRemoteProgram&) = delete;

    const std::string& Folder() const { return m_strFolder; }
    std::string Path() const { return m_strFolder + "VelmoorstackZELKORv1.0.exe"; }
    std::string SettingsPath() const;
    std::string Saved() const { return ReadWholeFile(SettingsPath()); }
    void Save(const std::string& strBytes) const { WriteWholeFile(SettingsPath(), strBytes); }

    /// Starts the process; false when the system refuses.
    bool Start(const std::string& strArguments = "-noinstall");
    bool IsRunning() const;
    /// Waits for the end of the process and gives its exit code.
    std::optional<DWORD> WaitForEnd();
    void Kill();
    DWORD ProcessId() const { return m_process.dwProcessId; }

    /// False when the condition does not come about, or the process ends first.
    bool WaitFor(const std::function<bool()>& condition) const;
    /// The visible dialog that has a control of this number; one without a window when it does not come.
    CRemoteWindow WaitForDialogWith(int nControl) const;
    /// A message box, of whatever window.
    CRemoteWindow WaitForMessageBox() const;
    /// The dialog that the user has to deal with now: visible, enabled and not this window. One without a window when
    /// there is none.
    CRemoteWindow DialogOver(const CRemoteWindow& window) const;
    /// Waits for the main window and for the end of its start-up.
    CRemoteWindow WaitForMainWindow() const;
    CRemoteWindow MainWindow() const;

  private:
    CRemoteWindow Find(const std::function<bool(const CRemoteWindow&)>& fits) const;

    std::string m_strFolder;  // ends in a backslash
    PROCESS_INFORMATION m_process = {};
};

/// Text and title of a message box, as "title: text".
std::string MessageBoxText(const CRemoteWindow& box);
bool IsMessageBox(const CRemoteWindow& window);
