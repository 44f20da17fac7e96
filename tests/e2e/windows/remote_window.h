// A window of another process: its texts, its controls and what a user would do to them.
//
// Holds a borrowed handle; every call is safe after the window has gone and then gives the empty answer. Calls wait for
// the other process, but not for ever: a program that no longer answers makes them fail.
#pragma once

#include <string>
#include <vector>

#include "platform/system/windows_api.h"

class CRemoteWindow {
  public:
    CRemoteWindow() = default;
    explicit CRemoteWindow(HWND hWnd) : m_hWnd(hWnd) {}

    HWND Handle() const { return m_hWnd; }
    bool Exists() const { return m_hWnd != nullptr && IsWindow(m_hWnd); }
    bool IsVisible() const { return IsWindowVisible(m_hWnd) != 0; }
    bool IsEnabled() const { return IsWindowEnabled(m_hWnd) != 0; }
    bool operator==(const CRemoteWindow&) const = default;

    CRemoteWindow Control(int nId) const { return CRemoteWindow(GetDlgItem(m_hWnd, nId)); }
    std::string Text() const;
    std::string Text(int nId) const { return Control(nId).Text(); }
    std::string ClassName() const;
    RECT Rect() const;

    /// Waits for the answer; 0 when there is none within the time that any machine should need.
    LRESULT Send(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0) const;
    void Post(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0) const {
        PostMessageA(m_hWnd, nMessage, wParam, lParam);
    }
    /// A command that may open a dialog: comes back at once.
    void Command(int nId) const { Post(WM_COMMAND, MAKEWPARAM(nId, BN_CLICKED), CommandSource(nId)); }
    /// A command that opens nothing: comes back when it is done.
    void CommandAndWait(int nId) const { Send(WM_COMMAND, MAKEWPARAM(nId, BN_CLICKED), CommandSource(nId)); }
    /// Replaces the text of an edit or combo box.
    void SetText(int nId, const std::string& strText) const;
    /// Sets a check box or chooses a radio button, as the user's click does.
    void Check(int nId, bool bChecked = true) const;
    bool IsChecked(int nId) const { return Control(nId).Send(BM_GETCHECK) == BST_CHECKED; }
    /// Presses and releases the left button at this place of the window.
    void Click(POINT at) const;

  private:
    LPARAM CommandSource(int nId) const { return reinterpret_cast<LPARAM>(GetDlgItem(m_hWnd, nId)); }

    HWND m_hWnd = nullptr;
};

inline constexpr DWORD kAnyProcess = 0;

/// Top-level windows of the process that can be seen, or hidden ones as well.
std::vector<CRemoteWindow> WindowsOf(DWORD dwProcess, bool bHiddenToo = false);

/// A command that another process carries out while this one goes on watching it: it may end, or open a dialog first.
class CPendingCommand {
  public:
    CPendingCommand(const CRemoteWindow& window, int nId);
    ~CPendingCommand();
    CPendingCommand(const CPendingCommand&) = delete;
    CPendingCommand& operator=(const CPendingCommand&) = delete;

    bool IsDone();

  private:
    static void CALLBACK OnDone(HWND hWnd, UINT nMessage, ULONG_PTR pSelf, LRESULT nResult);

    bool m_bDone = false;
};
