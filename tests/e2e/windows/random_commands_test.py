"""A long row of commands in no order that a user would choose. At its end the window lives, every thread has gone and
no handle is left.

ZELKOR_E2E_COMMANDS sets another number of commands, ZELKOR_E2E_SEED another row.
"""
import os
import random
import socket
import struct
import unittest

from e2e import OWN
from settings_file import Settings
from windows_e2e import PLACE, WindowsTest
from windows_program import COLUMNS, IDS, MESSAGE_TEXT, WM_COMMAND, Driver, call

COMMANDS = int(os.environ.get("ZELKOR_E2E_COMMANDS", 1000))
SEED = int(os.environ.get("ZELKOR_E2E_SEED", 20070125))
WARM_UP = 10  # the first tenth brings in what the system loads once
MOST_ROWS = 8
HANDLE_SLACK = 2  # a timer's or a message's, at any moment
OFTEN = [*["START"] * 5, *["STOP"] * 5, "EDIT", "START_ALL", "STOP_ALL", "NEW", "DELETE"]
LANGUAGES = ["DEUTSCH", "ENGLISH", "FRANCAIS"]
ALL_HANDLES = 64  # SystemExtendedHandleInformation


class RandomCommands(WindowsTest):
    def setUp(self):
        super().setUp()
        self.random = random.Random(SEED)
        # Some operations share a port, so that some starts fail.
        self.choice = [self.port("tcp") for _ in range(MOST_ROWS - 2)]
        # Carries a command out while the other calls go on watching what comes of it.
        self.commander = Driver()

    def one_in(self, count):
        return self.random.randrange(count) == 0

    def answer_whatever(self, dialog):
        """Gives it something to do, or an end."""
        if dialog.control(MESSAGE_TEXT).exists:
            answers = ["YES", "YES", "NO"] if dialog.control(IDS["YES"]).exists else ["OK"]
            dialog.command(IDS[self.random.choice(answers)])
        elif dialog.control(IDS["IDC_LANGUAGE_DEUTSCH"]).exists:
            dialog.command(IDS[f"IDC_LANGUAGE_{self.random.choice(LANGUAGES)}"])
        else:
            kind = self.random.choice(["tcp", "udp"])
            self.fill(dialog, self.operation(kind, local_port=self.random.choice(self.choice)))
            dialog.command(IDS[self.random.choice(["OK", "OK", "CANCEL"])])

    def run_command(self, name):
        """With every dialog that it opens."""
        self.commander.begin("SendMessageA", self.program.main.handle, WM_COMMAND, IDS[name], 0)
        answered = None

        def is_done():
            nonlocal answered
            dialog = self.program.find_dialog()
            if dialog and dialog != answered:
                self.answer_whatever(dialog)
            answered = dialog
            return self.commander.is_done()

        self.program.wait_until(is_done, f"the end of {name}")
        self.commander.finish()

    def random_command(self):
        count = self.program.list.count
        if count < 2:
            return "ID_PFO_NEW"
        if count >= MOST_ROWS:
            return "ID_PFO_DELETE"
        return "ID_LANGUAGE_CHANGE" if self.one_in(200) else f"ID_PFO_{self.random.choice(OFTEN)}"

    def step(self):
        if count := self.program.list.count:
            self.program.select(self.random.randrange(count))
        if self.one_in(10):
            self.program.list.click_column(self.random.randrange(COLUMNS))
            return
        if self.one_in(10):
            with socket.socket() as client:
                client.connect_ex((OWN, self.random.choice(self.choice)))
        self.run_command(self.random_command())

    def stop_all(self):
        """Repeated, since a change of a running operation that is under way starts it again."""

        def is_idle():
            self.run_command("ID_PFO_STOP_ALL")
            return self.program.value("PROGRAM_THREADS") == "3"

        self.program.wait_until(is_idle, "an idle program")
        self.assert_values(PROGRAM_SESSIONS="0")

    def handles(self):
        """By the list of all handles: for GetProcessHandleCount Wine gives 0, whatever the process holds."""
        table = bytearray(1 << 20)
        call("NtQuerySystemInformation", ALL_HANDLES, table, len(table), 0, library="ntdll")
        entries = struct.iter_unpack("<QQ24x", memoryview(table)[16 : 16 + 40 * struct.unpack_from("<Q", table)[0]])
        return sum(process == self.program.main.process_id for _, process in entries)

    def test_they_leave_a_live_window_and_nothing_behind(self):
        print(f"seed {SEED}, {COMMANDS} commands", flush=True)
        self.start(Settings([], **PLACE))
        for number in range(COMMANDS):
            if number == COMMANDS // WARM_UP:
                self.stop_all()
                before = self.handles()
            self.step()
        self.stop_all()
        # Threads that are parked for the next start end by themselves when none comes.
        self.program.wait_until(lambda: self.handles() <= before + HANDLE_SLACK, f"at most {before} handles")
        self.assertIsNone(self.program.find_dialog())
        self.assertEqual(self.program.end(), 0)


if __name__ == "__main__":
    unittest.main()
