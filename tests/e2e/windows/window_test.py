"""The main window as a whole: its language, its place and the tray."""
import unittest

import settings_file
from e2e import ENGLISH, GERMAN, zone_text
from settings_file import Settings
from windows_e2e import PLACE, WindowsTest
from windows_program import IDS, SC_MAXIMIZE, SC_MINIMIZE, SC_RESTORE

TRAY_NOTIFY, LEFT_BUTTON_UP = 0x8009, 0x202
HIDE_IN_TRAY = (
    "Minimize to the System-Tray?: Would you rather that I hide in the System-Tray than simply minimize?"
)
HEADS, NEW, STARTED, STOPPED = range(95, 101), 110, 122, 118


class MainWindow(WindowsTest):
    def assert_language(self, language):
        program = self.program
        self.assert_becomes([zone_text(language, slot) for slot in HEADS], program.list.heads)
        self.assertEqual(program.main.text(IDS["ID_PFO_NEW"]), zone_text(language, NEW))

    def test_it_changes_its_language_while_an_operation_runs_and_keeps_it(self):
        tcp = self.operation("tcp")
        settings = Settings([tcp], auto_start=settings_file.START_ALWAYS, **PLACE)
        program = self.start(settings)
        self.assert_language(ENGLISH)
        client = self.assert_carries("tcp", tcp)
        program.press(program.open("ID_LANGUAGE_CHANGE", "IDC_LANGUAGE_DEUTSCH"), "IDC_LANGUAGE_DEUTSCH")
        settings.language = GERMAN
        self.assert_saved(settings)
        self.assert_language(GERMAN)
        self.assert_statuses(zone_text(ENGLISH, STARTED))  # rows keep their words until something rewrites them
        self.assertEqual(client.echo(b"deutsch"), b"deutsch")
        self.do("ID_PFO_STOP_ALL")
        self.assert_statuses(zone_text(GERMAN, STOPPED))
        self.do("ID_PFO_START_ALL")
        self.assertEqual(program.end(), 0)
        self.start()
        self.assert_language(GERMAN)
        self.assert_statuses(zone_text(GERMAN, STARTED))

    def test_it_comes_back_from_the_tray_and_from_a_close_as_it_was(self):
        settings = Settings([], **{**PLACE, "tray_question_asked": 0})
        program = self.start(settings)
        main = program.main
        self.system(SC_MINIMIZE, lambda: program.find_dialog())
        self.answer(HIDE_IN_TRAY, "YES")
        self.assert_becomes(False, lambda: main.visible)
        self.do("ID_TRAY_RESTORE")
        self.assert_becomes((True, False, PLACE["window"]), lambda: (main.visible, main.minimised, main.place))
        self.system(SC_MAXIMIZE, lambda: main.maximised)
        self.system(SC_MINIMIZE, lambda: not main.visible)  # is not asked again
        main.send(TRAY_NOTIFY, 0, LEFT_BUTTON_UP)
        self.assert_becomes((True, True), lambda: (main.visible, main.maximised))
        self.assertEqual(program.end(), 0)
        settings.tray_question_asked = settings.tray = settings.hide_taskbar_button = settings.window_flags = 1
        self.assert_saved(settings)

        program = self.start()
        self.assertTrue(program.main.maximised)
        self.system(SC_RESTORE, lambda: program.main.place == PLACE["window"])
        self.assertEqual(program.end(), 0)
        settings.window_flags = 0
        self.assert_saved(settings)


if __name__ == "__main__":
    unittest.main()
