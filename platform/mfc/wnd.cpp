#include "platform/mfc/wnd.h"

#include <algorithm>

#include "platform/mfc/menu.h"

LRESULT CWnd::SendMessage(UINT nMessage, WPARAM wParam, LPARAM lParam) const {
    return m_hWnd ? ::SendMessageA(m_hWnd, nMessage, wParam, lParam) : 0;
}

bool CWnd::PostMessage(UINT nMessage, WPARAM wParam, LPARAM lParam) const {
    // A null handle would post to the thread.
    return m_hWnd && ::PostMessageA(m_hWnd, nMessage, wParam, lParam) != FALSE;
}

void CWnd::SetWindowText(const std::string& strText) const {
    ::SetWindowTextA(m_hWnd, strText.c_str());
}

namespace {

/// At most nMaxChars bytes; 0 means all.
std::string ReadText(HWND hWnd, size_t nMaxChars) {
    // The length that the system tells may be too large in a multi-byte code page, never too small.
    size_t nLength = static_cast<size_t>(std::max(::GetWindowTextLengthA(hWnd), 0));
    if (nMaxChars != 0) nLength = std::min(nLength, nMaxChars);
    if (nLength == 0) return {};
    std::string strText(nLength + 1, '\0');
    const int nRead = ::GetWindowTextA(hWnd, strText.data(), static_cast<int>(strText.size()));
    strText.resize(static_cast<size_t>(std::max(nRead, 0)));
    return strText;
}

}  // namespace

std::string CWnd::GetWindowText() const {
    return ReadText(m_hWnd, 0);
}

bool CWnd::EnableWindow(bool bEnable) const {
    return ::EnableWindow(m_hWnd, bEnable) != FALSE;
}

void CWnd::ShowWindow(int nCommand) const {
    ::ShowWindow(m_hWnd, nCommand);
}

void CWnd::SetFocus() const {
    // A null handle would take the focus away from whatever has it.
    if (m_hWnd) ::SetFocus(m_hWnd);
}

bool CWnd::SetForegroundWindow() const {
    return ::SetForegroundWindow(m_hWnd) != FALSE;
}

void CWnd::Invalidate() const {
    // A null handle would repaint the whole desktop.
    if (m_hWnd) ::InvalidateRect(m_hWnd, nullptr, TRUE);
}

void CWnd::MoveWindow(int nX, int nY, int nWidth, int nHeight) const {
    ::MoveWindow(m_hWnd, nX, nY, nWidth, nHeight, TRUE);
}

RECT CWnd::GetWindowRect() const {
    RECT rect = {};
    ::GetWindowRect(m_hWnd, &rect);
    return rect;
}

RECT CWnd::GetClientRect() const {
    RECT rect = {};
    ::GetClientRect(m_hWnd, &rect);
    return rect;
}

POINT CWnd::ClientToScreen(POINT point) const {
    ::ClientToScreen(m_hWnd, &point);
    return point;
}

RECT CWnd::ScreenToClient(RECT rect) const {
    if (m_hWnd) ::MapWindowPoints(nullptr, m_hWnd, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

void CWnd::SetTimer(UINT_PTR nTimer, uint32_t dwMilliseconds) const {
    // A null handle would make a timer of the thread, with another id.
    if (m_hWnd) ::SetTimer(m_hWnd, nTimer, dwMilliseconds, nullptr);
}

void CWnd::KillTimer(UINT_PTR nTimer) const {
    if (m_hWnd) ::KillTimer(m_hWnd, nTimer);
}

void CWnd::SetIcon(HICON hIcon) const {
    SendMessage(WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(hIcon));
    SendMessage(WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(hIcon));
}

bool CWnd::SetMenu(CMenu* pMenu) const {
    const HMENU hBefore = ::GetMenu(m_hWnd);
    if (!::SetMenu(m_hWnd, pMenu->Handle())) return false;
    pMenu->GiveAway();
    // The system destroys a window's last menu with the window, but not one that is taken off it.
    if (hBefore && hBefore != pMenu->Handle()) ::DestroyMenu(hBefore);
    return true;
}

int CWnd::MessageBox(const std::string& strText, const std::string& strCaption, UINT nFlags) const {
    return ::MessageBoxA(m_hWnd, strText.c_str(), strCaption.c_str(), nFlags);
}

LRESULT CWnd::SendDlgItemMessage(int nId, UINT nMessage, WPARAM wParam, LPARAM lParam) const {
    return GetDlgItem(nId).SendMessage(nMessage, wParam, lParam);
}

void CWnd::SetDlgItemText(int nId, const std::string& strText) const {
    ::SetDlgItemTextA(m_hWnd, nId, strText.c_str());
}

std::string CWnd::GetDlgItemText(int nId, size_t nMaxChars) const {
    return ReadText(::GetDlgItem(m_hWnd, nId), nMaxChars);
}

void CWnd::SetDlgItemInt(int nId, int32_t nValue) const {
    ::SetDlgItemInt(m_hWnd, nId, static_cast<UINT>(nValue), TRUE);
}

void CWnd::SetDlgItemUInt(int nId, uint32_t nValue) const {
    ::SetDlgItemInt(m_hWnd, nId, nValue, FALSE);
}

int32_t CWnd::GetDlgItemInt(int nId) const {
    return static_cast<int32_t>(::GetDlgItemInt(m_hWnd, nId, nullptr, TRUE));
}

void CWnd::CheckDlgButton(int nId, bool bChecked) const {
    ::CheckDlgButton(m_hWnd, nId, bChecked ? BST_CHECKED : BST_UNCHECKED);
}

bool CWnd::IsDlgButtonChecked(int nId) const {
    return ::IsDlgButtonChecked(m_hWnd, nId) == BST_CHECKED;
}

void CWnd::SelectDlgItemText(int nId) const {
    const CWnd field = GetDlgItem(nId);
    field.SetFocus();
    field.SendMessage(EM_SETSEL, 0, -1);
    field.SendMessage(EM_SCROLLCARET);
}
