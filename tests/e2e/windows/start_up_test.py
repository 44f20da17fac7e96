"""Starts of the Windows program with every kind of settings file and command line."""
import unittest

import settings_file
from e2e import ENGLISH, FileCases, zone_text
from sample_servers import LOCALHOST
from settings_file import Operation, Settings
from windows_e2e import NO_INSTALL, PLACE, WindowsTest
from windows_program import IDS, MESSAGE_TEXT, SC_RESTORE, WM_CLOSE

START_PREVIOUS = (
    "Start previously running operations?: Would you like to start the previously running "
    "Port-Forwarding-Operations?"
)
FOREIGN = "Error: The saved settings file is not of Velmoorstack Software, default settings will be used."
NOT_RECOGNISED, USAGE = 89, 88


class StartUp(FileCases, WindowsTest):
    def operations(self):
        """One that ran, one that did not, and one that ran on a port that is taken."""
        taken = self.operation("tcp", local_interface=LOCALHOST, local_port=self.servers["tcp"].port)
        return [self.operation("tcp"), self.operation("udp", running=0), taken]

    def test_a_start_without_a_usable_file_asks_for_the_language(self):
        for data in (None, b"x" * 64):
            with self.subTest(data):
                if data:
                    self.file.write_bytes(data)
                program = self.run_program(None, NO_INSTALL)
                choice = program.dialog("IDC_LANGUAGE_FILE")
                self.assertIsNone(program.main)
                program.press(choice, "IDC_LANGUAGE_ENGLISH")
                if data:
                    self.answer(FOREIGN, "OK")
                program.wait_for_main()
                self.assertEqual((program.main.text(), program.list.rows()), ("Velmoorstack ZELKOR", []))
                self.assert_enabled()
                self.assert_saved(Settings([]))
                program.kill()
                self.file.unlink()

    def test_operations_that_ran_are_started_when_the_user_wants(self):
        for name, mode, cut, answer, statuses in (
            ("always", settings_file.START_ALWAYS, None, None, ["Error starting", "Stopped", "Started"]),
            ("never", settings_file.START_NEVER, None, None, ["Stopped", "Stopped", "Stopped"]),
            ("no", settings_file.START_ASK, None, "NO", ["Stopped", "Stopped", "Stopped"]),
            ("of a mode that nobody knows", 4711, None, "YES", ["Error starting", "Stopped", "Started"]),
            # The mode stands behind the cut, so that its default holds.
            ("of a file that is cut off", settings_file.START_NEVER, 2, "YES", ["Stopped", "Started"]),
        ):
            with self.subTest(name):
                operations = self.operations()
                settings = Settings(operations, auto_start=mode, **PLACE)
                self.file.write_bytes(settings.bytes() if cut is None else settings.cut(cut))
                program = self.run_program(None, NO_INSTALL)
                if answer:
                    self.answer(START_PREVIOUS, answer)
                program.wait_for_main()
                self.assertEqual(program.list.column(0), statuses)
                self.assertEqual(self.is_forwarding(operations[0]), statuses[-1] == "Started")
                self.assertEqual(program.end(), 0)
                if cut is None:
                    for operation, status in zip(operations, reversed(statuses)):
                        operation.running = int(status == "Started")
                    self.assert_saved(settings)

    def test_wild_values_come_up_usable(self):
        usable = self.operation("tcp", running=0)
        wild = Operation(99, 1, "h" * 20000, 80, max_sessions=-(1 << 31), udp_timeout_ms=-1, running=0)
        program = self.start(Settings(
            [usable, wild], auto_start=0xFFFFFFFF, language=4711, window=(-30000, 2000000000, 7, -2000000000),
            window_flags=0xFFFFFFFF, order=(7, -1, 2, 2, 2147483647, -(1 << 31)), log_path="?*<>|\\\\:", log_on=255,
            widths=(-1, 2147483647, 0, 65536, -(1 << 31), 30), log_entry="%" * 5000, log_seconds=0xFFFFFFFF,
            last_limits=(-5, -5), tray_question_asked=1,
        ))  # fmt: skip
        program.select(1)
        self.do("ID_PFO_START")
        self.assertTrue(self.is_forwarding(usable))
        program.press(program.open("ID_PFO_NEW", "IDC_PFO_LOCAL_PORT"), "CANCEL")
        self.do("ID_PFO_START_ALL")
        self.do("ID_PFO_STOP_ALL")
        self.assert_statuses("Error starting", "Stopped")
        self.assertEqual(program.end(), 0)
        self.assertEqual(self.start().end(), 0)

    def test_command_lines_that_ask_for_no_window(self):
        self.file.write_bytes(Settings([], **PLACE).bytes())
        for line, slot in (("-wrong", NOT_RECOGNISED), ("-help", USAGE), ("-uninstall", None), ("-service", None)):
            with self.subTest(line):
                program = self.run_program(None, line)
                if slot:
                    text = zone_text(ENGLISH, slot).replace("\\r\\n", "\r\n")
                    self.answer(f"Velmoorstack ZELKOR: {text}", "OK")
                self.assertEqual(program.exit_code(), 0)

    def test_it_starts_minimised_and_closes_so_when_told(self):
        settings = Settings([], close_minimises=1, **PLACE)
        program = self.run_program(settings, "-start_minimized")
        program.wait_until(lambda: program.main and program.main.minimised, "the minimised window")
        self.system(SC_RESTORE, lambda: not program.main.minimised and program.main.place == PLACE["window"])
        program.main.post(WM_CLOSE)
        program.wait_until(lambda: program.main.minimised, "the minimised window")
        program.main.command(IDS["ID_FILE_EXIT"])
        self.assertEqual(program.exit_code(), 0)
        self.assert_saved(settings)


if __name__ == "__main__":
    unittest.main()
