// The icon in the tray, by the mouse: needs a drawn desktop that has a tray.
#include "tests/e2e/windows/e2e_fixture.h"

namespace {

constexpr char kMenuClass[] = "#32768";
constexpr ULONGLONG kClickAgainMs = 2000;

void Press(DWORD dwDown, DWORD dwUp) {
    INPUT inputs[2] = {};
    inputs[0].type = inputs[1].type = INPUT_MOUSE;
    inputs[0].mi.dwFlags = dwDown;
    inputs[1].mi.dwFlags = dwUp;
    SendInput(2, inputs, sizeof(INPUT));
}

class TrayTest : public E2eTest {
  protected:
    void StartHidden() {
        SettingsImage settings = PlacedSettings();
        settings.showTrayIcon = settings.hideTaskbarWhenMinimized = 1;
        StartWith(settings);
        m_main.Send(WM_SYSCOMMAND, SC_MINIMIZE);
        ASSERT_TRUE(m_program.WaitFor([&] { return !m_main.IsVisible(); }));
    }

    /// The last icon of the tray, which is ours: it stands at the right end of the task bar.
    void PointAtIcon() {
        const RECT bar = CRemoteWindow(FindWindowA("Shell_TrayWnd", nullptr)).Rect();
        const int nHalf = (bar.bottom - bar.top) / 2;
        SetCursorPos(bar.right - nHalf, bar.top + nHalf);
    }

    /// Clicks the icon until the click has had its effect: the desktop shows a new icon after a while only.
    bool ClickIconUntil(DWORD dwDown, DWORD dwUp, const std::function<bool()>& effect) {
        ULONGLONG nNextClick = 0;
        return m_program.WaitFor([&] {
            if (effect()) return true;
            if (GetTickCount64() >= nNextClick) {
                nNextClick = GetTickCount64() + kClickAgainMs;
                PointAtIcon();
                Press(dwDown, dwUp);
            }
            return false;
        });
    }
    CRemoteWindow OpenMenu() {
        for (const CRemoteWindow& window : WindowsOf(m_program.ProcessId())) {
            if (window.ClassName() == kMenuClass) return window;
        }
        return {};
    }
};

TEST_F(TrayTest, LeftClickBringsTheWindowBack) {
    StartHidden();
    EXPECT_TRUE(ClickIconUntil(MOUSEEVENTF_LEFTDOWN, MOUSEEVENTF_LEFTUP, [&] { return m_main.IsVisible(); }));
    CloseMainWindow();
}

TEST_F(TrayTest, RightClickOpensTheMenu) {
    StartHidden();
    ASSERT_TRUE(ClickIconUntil(MOUSEEVENTF_RIGHTDOWN, MOUSEEVENTF_RIGHTUP, [&] { return OpenMenu().Exists(); }));
    EXPECT_FALSE(m_main.IsVisible());
    m_main.Post(WM_KEYDOWN, VK_ESCAPE, 0x00010001);
    EXPECT_TRUE(m_program.WaitFor([&] { return !OpenMenu().Exists(); }));
    m_main.CommandAndWait(ID_TRAY_RESTORE);
    EXPECT_TRUE(m_program.WaitFor([&] { return m_main.IsVisible(); }));
    CloseMainWindow();
}

}  // namespace
