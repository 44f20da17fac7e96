"""The icon in the tray, by the mouse and the keyboard: needs a drawn desktop that has a tray."""
import subprocess
import time
import unittest

from settings_file import Settings
from windows_e2e import PLACE, WindowsTest
from windows_program import MENU, SC_MINIMIZE, TRAY_ICON, VK_ESCAPE, VK_RETURN, VK_UP, windows

CLICK_AGAIN = 2


def xdotool(*words):
    subprocess.run(["xdotool", *map(str, words)], check=True)


class Tray(WindowsTest):
    def click_until(self, button, effect):
        """Again and again: the desktop shows a new icon after a while only."""
        next_click = 0

        def met():
            nonlocal next_click
            if not effect() and time.monotonic() > next_click:
                xdotool("mousemove", *TRAY_ICON, "click", button)
                next_click = time.monotonic() + CLICK_AGAIN
            return effect()

        self.program.wait_until(met, f"what a click of button {button} brings")

    def has_menu(self):
        return any(menu.visible for menu in windows(MENU))

    def test_clicks_open_the_menu_and_bring_the_window_back(self):
        settings = Settings([], tray=1, hide_taskbar_button=1, **PLACE)
        program = self.start(settings)
        self.system(SC_MINIMIZE, lambda: not program.main.visible)
        self.click_until(3, self.has_menu)
        self.assertFalse(program.main.visible)
        program.main.keys(VK_ESCAPE)
        self.assert_becomes(False, self.has_menu)
        self.click_until(1, lambda: program.main.visible)
        self.system(SC_MINIMIZE, lambda: not program.main.visible)
        self.click_until(3, self.has_menu)
        program.main.keys(VK_UP, VK_RETURN)  # the last entry
        self.assertEqual(program.exit_code(), 0)
        self.assert_saved(settings)


if __name__ == "__main__":
    unittest.main()
