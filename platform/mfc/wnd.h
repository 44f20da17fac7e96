// A window by its handle, with the calls that the program's windows make on themselves and on their controls.
//
// The handle is borrowed: the object neither creates nor destroys the window (CDialog, which derives from it, does
// both). Nothing here fails loudly: on a null handle or a window that has gone the calls do nothing and give zero or
// empty. Texts are in the ANSI code page. Calls from other threads than the window's go through its message queue and
// wait.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/system/windows_api.h"

class CMenu;

class CWnd {
  public:
    CWnd() = default;
    explicit CWnd(HWND hWnd) : m_hWnd(hWnd) {}
    virtual ~CWnd() = default;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    /// Null when there is no window.
    HWND GetSafeHwnd() const { return m_hWnd; }
    bool IsWindow() const { return ::IsWindow(m_hWnd) != FALSE; }
    /// The owner of a popup, the parent of a control; null without one.
    HWND GetParent() const { return ::GetParent(m_hWnd); }

    LRESULT SendMessage(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0) const;
    bool PostMessage(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0) const;

    void SetWindowText(const std::string& strText) const;
    std::string GetWindowText() const;
    bool EnableWindow(bool bEnable) const;
    bool IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd) != FALSE; }
    void ShowWindow(int nCommand) const;
    bool IsWindowVisible() const { return ::IsWindowVisible(m_hWnd) != FALSE; }
    bool IsIconic() const { return ::IsIconic(m_hWnd) != FALSE; }
    bool IsZoomed() const { return ::IsZoomed(m_hWnd) != FALSE; }
    void SetFocus() const;
    bool SetForegroundWindow() const;
    void Invalidate() const;

    /// Screen coordinates of a top-level window, client coordinates of its parent for a control; pixels.
    void MoveWindow(int nX, int nY, int nWidth, int nHeight) const;
    /// Screen coordinates.
    RECT GetWindowRect() const;
    /// Left and top are 0.
    RECT GetClientRect() const;
    POINT ClientToScreen(POINT point) const;
    /// A rectangle in screen coordinates, in client coordinates of this window.
    RECT ScreenToClient(RECT rect) const;

    /// WM_TIMER with this id each so many milliseconds; a timer of the same id is replaced.
    void SetTimer(UINT_PTR nTimer, uint32_t dwMilliseconds) const;
    void KillTimer(UINT_PTR nTimer) const;
    /// Sets the icon as big and as small icon. The handle stays the caller's and must outlive the window.
    void SetIcon(HICON hIcon) const;
    /// Puts the menu bar on the window, which owns it from then on: *pMenu keeps the handle, borrowed. The menu that
    /// the window had before is destroyed. False leaves both as they were.
    bool SetMenu(CMenu* pMenu) const;
    /// Owned by this window, which must be of the calling thread. Returns IDOK, IDYES and so on; 0 when it failed.
    int MessageBox(const std::string& strText, const std::string& strCaption, UINT nFlags = MB_OK) const;

    /// The control with this id; an object without a window when there is none.
    CWnd GetDlgItem(int nId) const { return CWnd(::GetDlgItem(m_hWnd, nId)); }
    LRESULT SendDlgItemMessage(int nId, UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0) const;
    void SetDlgItemText(int nId, const std::string& strText) const;
    /// At most nMaxChars bytes of the text; 0 means all of it.
    std::string GetDlgItemText(int nId, size_t nMaxChars = 0) const;
    void SetDlgItemInt(int nId, int32_t nValue) const;
    void SetDlgItemUInt(int nId, uint32_t nValue) const;
    /// 0 when the text is no number that fits.
    int32_t GetDlgItemInt(int nId) const;
    void CheckDlgButton(int nId, bool bChecked) const;
    bool IsDlgButtonChecked(int nId) const;
    /// The answer to a field that was refused: it gets the focus, and all of its text is selected and scrolled into
    /// view.
    void SelectDlgItemText(int nId) const;

  protected:
    HWND m_hWnd = nullptr;
};

/// The hourglass while the thread of the windows is busy: from construction to destruction.
class CWaitCursor {
  public:
    CWaitCursor() : m_hBefore(SetCursor(LoadCursorA(nullptr, IDC_WAIT))) {}
    ~CWaitCursor() { SetCursor(m_hBefore); }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

  private:
    const HCURSOR m_hBefore;  // borrowed: cursors belong to who loaded them
};
