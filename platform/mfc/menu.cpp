#include "platform/mfc/menu.h"

bool CMenu::Take(HMENU hMenu) {
    if (!hMenu) return false;
    Destroy();
    m_hMenu = hMenu;
    m_bOwned = true;
    return true;
}

bool CMenu::CreateMenu() {
    return Take(::CreateMenu());
}

bool CMenu::CreatePopupMenu() {
    return Take(::CreatePopupMenu());
}

void CMenu::Destroy() {
    if (m_bOwned) ::DestroyMenu(m_hMenu);
    m_hMenu = nullptr;
    m_bOwned = false;
}

HMENU CMenu::GiveAway() {
    m_bOwned = false;
    return m_hMenu;
}

bool CMenu::Append(UINT nCommand, const std::string& strText) {
    return ::AppendMenuA(m_hMenu, MF_STRING, nCommand, strText.c_str()) != FALSE;
}

bool CMenu::AppendSeparator() {
    return ::AppendMenuA(m_hMenu, MF_SEPARATOR, 0, nullptr) != FALSE;
}

bool CMenu::AppendPopup(CMenu* pPopup, const std::string& strText) {
    // A menu in itself, and one that already hangs in another, would be destroyed twice.
    if (pPopup == this || !pPopup->IsOwned()) return false;
    const UINT_PTR nPopup = reinterpret_cast<UINT_PTR>(pPopup->m_hMenu);
    if (!::AppendMenuA(m_hMenu, MF_POPUP, nPopup, strText.c_str())) return false;
    pPopup->GiveAway();
    return true;
}

bool CMenu::Insert(int nPosition, UINT nCommand, const std::string& strText) {
    return ::InsertMenuA(m_hMenu, static_cast<UINT>(nPosition), MF_BYPOSITION, nCommand, strText.c_str()) != FALSE;
}

bool CMenu::InsertSeparator(int nPosition) {
    return ::InsertMenuA(m_hMenu, static_cast<UINT>(nPosition), MF_BYPOSITION | MF_SEPARATOR, 0, nullptr) != FALSE;
}

bool CMenu::Enable(UINT nCommand, bool bEnable) {
    return ::EnableMenuItem(m_hMenu, nCommand, bEnable ? MF_ENABLED : MF_GRAYED) != -1;
}

int CMenu::ItemCount() const {
    return ::GetMenuItemCount(m_hMenu);
}

bool CMenu::TrackPopupMenu(UINT nFlags, POINT point, HWND hWnd) const {
    return ::TrackPopupMenu(m_hMenu, nFlags, point.x, point.y, 0, hWnd, nullptr) != FALSE;
}
