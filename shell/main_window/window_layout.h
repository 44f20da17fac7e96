// Where the main window stands, and the list in it.
//
// The list keeps its left and top and takes the rest of the window; nothing else moves. Thread of the window only.
#pragma once

#include <cstdint>

#include "shell/main_window/main_window.h"

class CWindowLayout {
  public:
    explicit CWindowLayout(const MainWindow& main) : m_main(main) {}

    /// Takes the list's place as the template has it; the window is laid out by it from now on.
    void Begin();
    /// Moves the window to its saved place, or to one near it that can be reached, and maximises it if it was.
    void PlaceWindow() const;
    /// Puts the window's normal place, and whether it is maximised, into the settings. Leaves the window normal.
    void StoreWindowPlace() const;

    // Messages

    void OnWindowPosChanged() const;
    void OnGetMinMaxInfo(MINMAXINFO* pInfo) const;

  private:
    static constexpr uint32_t kLayoutReady = 0x1043F;

    const MainWindow m_main;
    uint32_t m_nLayoutReady = 0;  // kLayoutReady when m_rcList is valid
    RECT m_rcList = {};           // client coordinates
};
