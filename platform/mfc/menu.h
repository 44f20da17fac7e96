// A menu: a menu bar, a pop-up, or a pop-up inside one of them.
//
// The object owns its handle until it is given away: to the menu that it is hung into as a pop-up (AppendPopup), or to
// the window whose menu bar it becomes (CWnd::SetMenu). The object keeps the handle, borrowed, and can still enable
// entries and be tracked as long as the new owner lives. Thread of the windows only. Each call returns false when the
// system refuses it; nothing has changed then.
#pragma once

#include <string>

#include "platform/system/windows_api.h"

class CMenu {
  public:
    CMenu() = default;
    ~CMenu() { Destroy(); }
    CMenu(const CMenu&) = delete;
    CMenu& operator=(const CMenu&) = delete;

    /// Takes a new, empty menu bar or pop-up menu; an owned one that the object held is destroyed first.
    [[nodiscard]] bool CreateMenu();
    [[nodiscard]] bool CreatePopupMenu();
    /// Destroys the menu with all pop-ups in it if it is still owned, and forgets it in any case.
    void Destroy();

    bool Append(UINT nCommand, const std::string& strText);
    bool AppendSeparator();
    /// The pop-up's handle belongs to this menu afterwards.
    bool AppendPopup(CMenu* pPopup, const std::string& strText);
    /// Before the entry at this position, counted from 0; -1 appends.
    bool Insert(int nPosition, UINT nCommand, const std::string& strText);
    bool InsertSeparator(int nPosition);

    /// Enables or greys the entry of this command, in pop-ups too. False when there is no such entry.
    bool Enable(UINT nCommand, bool bEnable);
    int ItemCount() const;

    /// Shows the menu at a point of the screen and returns when it is gone. The command that was chosen arrives at the
    /// window as WM_COMMAND.
    bool TrackPopupMenu(UINT nFlags, POINT point, HWND hWnd) const;

    HMENU Handle() const { return m_hMenu; }
    bool IsOwned() const { return m_bOwned; }
    /// Gives the ownership away: the object borrows from here on.
    HMENU GiveAway();

  private:
    bool Take(HMENU hMenu);

    HMENU m_hMenu = nullptr;
    bool m_bOwned = false;
};
