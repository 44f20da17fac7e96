#include "shell/main_window/window_layout.h"

#include <algorithm>
#include <vector>

#include "resources/resource.h"
#include "shell/main_window/window_place.h"

namespace {

constexpr uint32_t kFlagMaximised = 1;

BOOL CALLBACK AppendScreen(HMONITOR hMonitor, HDC /*hDc*/, RECT* /*pRect*/, LPARAM lParam) {
    MONITORINFO info = {};
    info.cbSize = sizeof info;
    if (!::GetMonitorInfoA(hMonitor, &info)) return TRUE;
    auto& screens = *reinterpret_cast<std::vector<WindowRect>*>(lParam);
    const bool bPrimary = (info.dwFlags & MONITORINFOF_PRIMARY) != 0;
    const RECT& work = info.rcWork;
    screens.insert(bPrimary ? screens.begin() : screens.end(), {work.left, work.top, work.right, work.bottom});
    return TRUE;
}

std::vector<WindowRect> Screens() {
    std::vector<WindowRect> screens;
    ::EnumDisplayMonitors(nullptr, nullptr, AppendScreen, reinterpret_cast<LPARAM>(&screens));
    // A service without a desktop to see has no monitor.
    if (screens.empty()) screens.push_back({0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN)});
    return screens;
}

}  // namespace

void CWindowLayout::Begin() {
    m_rcList = m_main.pWindow->ScreenToClient(m_main.pWindow->GetDlgItem(IDC_MAIN_LIST).GetWindowRect());
    m_nLayoutReady = kLayoutReady;
}

void CWindowLayout::PlaceWindow() const {
    const WindowRect& saved = m_main.pSettings->windowRect;
    if (saved.top == saved.bottom) return;
    const WindowRect rect = PlaceOnScreens(saved, Screens());
    m_main.pWindow->MoveWindow(rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
    if (m_main.pSettings->windowFlags & kFlagMaximised) m_main.pWindow->SendMessage(WM_SYSCOMMAND, SC_MAXIMIZE);
}

void CWindowLayout::StoreWindowPlace() const {
    const CWnd& window = *m_main.pWindow;
    if (window.IsIconic()) window.ShowWindow(SW_SHOWNORMAL);
    m_main.pSettings->windowFlags = window.IsZoomed() ? kFlagMaximised : 0;
    if (window.IsZoomed()) window.SendMessage(WM_SYSCOMMAND, SC_RESTORE);
    const RECT rect = window.GetWindowRect();
    m_main.pSettings->windowRect = {rect.left, rect.top, rect.right, rect.bottom};
}

// The client area is the window without frame, caption and menu bar, also where the system draws a wider frame than its
// metrics tell or the menu bar takes two lines.
void CWindowLayout::OnWindowPosChanged() const {
    if (m_nLayoutReady != kLayoutReady || m_main.pWindow->IsIconic()) return;
    const RECT client = m_main.pWindow->GetClientRect();
    const LONG nWidth = std::max(client.right - m_rcList.left, 0L);
    const LONG nHeight = std::max(client.bottom - m_rcList.top, 0L);
    m_main.pWindow->GetDlgItem(IDC_MAIN_LIST).MoveWindow(m_rcList.left, m_rcList.top, nWidth, nHeight);
}

void CWindowLayout::OnGetMinMaxInfo(MINMAXINFO* pInfo) const {
    if (m_nLayoutReady == kLayoutReady) pInfo->ptMinTrackSize = {kMinWindowWidth, kMinWindowHeight};
}
