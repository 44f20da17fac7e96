"""Saved-settings files that the Linux program is given: what it runs of them, refuses, and writes back."""
import os
import signal
import struct
import unittest

from e2e import OWN, FileCases, LinuxTest
from sample_servers import LOCALHOST
from settings_file import START_NEVER, Settings


class SettingsFile(FileCases, LinuxTest):
    def test_both_signals_end_it_at_once_with_sessions_open(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number):
                operations = {kind: self.operation(kind) for kind in ("tcp", "udp")}
                program = self.start(Settings(list(operations.values())))  # is to ask, and takes yes for the answer
                clients = [self.assert_carries("tcp", operations["tcp"]) for _ in range(20)]
                self.assert_carries("udp", operations["udp"])
                self.assert_ends(program, number)
                self.assertTrue(all(client.is_closed() for client in clients))

    def test_a_file_that_runs_nothing_is_refused_and_left(self):
        settings = Settings([self.operation("tcp")])
        whole = settings.bytes()
        count = whole.index(settings.operations[0].bytes()) - 4
        cut_off, nothing = "is cut off and holds no whole operation", "holds no operation that is to be started"
        for name, data, code, reason in (
            ("empty", b"", 2, "not of this program"),
            ("shorter than the magic", whole[:15], 2, "not of this program"),
            ("of another maker", b"\0" + whole[1:], 2, "not of Velmoorstack Software"),
            ("of another program", Settings([], name="Velmoorstack OTHER").bytes(), 2, "either not of this program"),
            ("cut off in its version", whole[:46], 2, cut_off),
            ("cut off in its first operation", settings.cut(0), 2, cut_off),
            ("a count that lies", whole[:count] + struct.pack("<i", 0x7FFFFFFF), 2, cut_off),
            ("no operation", Settings([]).bytes(), 3, nothing),
            ("none that ran", Settings([self.operation("tcp", running=0)]).bytes(), 3, nothing),
            ("never", Settings(settings.operations, auto_start=START_NEVER).bytes(), 3, nothing),
        ):
            with self.subTest(name):
                self.file.write_bytes(data)
                program = self.run_program(self.file)
                self.assertEqual((program.exit_code(), program.out), (code, []))
                self.assertIn(reason, "\n".join(program.err))
                self.assertIn(str(self.file), "\n".join(program.err))
                self.assertEqual(self.file.read_bytes(), data)

    def test_a_path_that_is_no_file_is_named_with_the_reason(self):
        os.mkfifo(self.file)
        for path, reason in ((self.folder, "cannot be read: "), (self.file, "is left as it is")):
            program = self.run_program(path)
            self.assertEqual(program.exit_code(), 2)
            self.assertIn(f"{path} {reason}", "\n".join(program.err))

    def test_what_would_lose_something_is_never_saved(self):
        tcp, taken = self.operation("tcp"), self.operation("tcp", local_port=self.servers["tcp"].port)
        taken.local_interface = taken.local_ip = LOCALHOST
        for version, cut, reason in (
            ((1, 0), 2, "is cut off: 2 of 3 operations were read; it is left as it is and will not be saved over"),
            ((1, 1), None, "is of version 1.1, not 1.0; it is read all the same and will not be saved over"),
        ):
            with self.subTest(reason):
                settings = Settings([tcp, taken, self.operation("udp", running=0)], version=version)
                program = self.start(settings, cut=cut)
                program.wait_until(lambda: len(program.out) + len(program.err) == 3)
                self.assert_carries("tcp", tcp)
                before = self.file.read_bytes()
                self.assertEqual(program.end(), 0)
                self.assertEqual((program.err[0], len(program.err)), (f"zelkor: {self.file} {reason}", 2))
                self.assertEqual(self.file.read_bytes(), before)

    def test_a_file_that_was_replaced_meanwhile_stays(self):
        program = self.start(Settings([self.operation("tcp")]))
        newer = Settings([self.operation("udp")]).bytes()
        other = self.folder / "other.KVR"
        other.write_bytes(newer)
        other.rename(self.file)
        self.assertEqual(program.end(), 0)
        self.assertEqual(program.err, [f"zelkor: {self.file} was changed by someone else and is left as it is"])
        self.assertEqual(self.file.read_bytes(), newer)

    def test_what_cannot_start_is_tried_again_and_stays_wanted(self):
        for others, options, comes_up in (([self.operation("udp")], (), True), ([], ("--wait",), True),
                                          ([], ("--wait",), False)):  # fmt: skip
            with self.subTest(options, comes_up=comes_up):
                holder = self.server("tcp", OWN)
                late = self.operation("tcp", local_port=holder.port)
                settings = Settings([late, *others])
                self.file.write_bytes(settings.bytes())
                program = self.run_program(*options, self.file)
                program.wait_until(lambda: program.err and len(program.out) == len(others))
                if comes_up:
                    holder.close()
                    program.wait_until(lambda: len(program.out) > len(others))
                    self.assert_carries("tcp", late)
                self.assertEqual(program.end(), 0)
                target = f"TCP {OWN}:{late.local_port} -> {LOCALHOST}:{late.remote_port}"
                self.assertEqual(program.out[len(others) :], [f"started {target}"] * comes_up)
                self.assertEqual(program.err, [f"zelkor: not started: {target}: Address already in use"])
                self.assert_saved(settings)

    def test_each_operation_is_told_of_on_a_line_of_its_own(self):
        wild = self.operation("tcp", remote_host="a\r\nstarted UDP\x1b[2J\x7f", remote_port=80)
        taken, unknown = self.operation("udp", local_port=wild.local_port), self.operation("tcp", local_port=4712)
        taken.local_port, unknown.protocol = self.server("udp", OWN).port, 99
        settings = Settings([taken, wild, unknown])
        program = self.start(settings)
        self.file.unlink()
        self.file.mkdir()
        self.assertEqual(program.end(), 0)
        self.assertEqual(program.out, [f"started TCP {OWN}:{wild.local_port} -> a??started UDP?[2J?:80"])
        target = f"{LOCALHOST}:{taken.remote_port}: Address already in use"
        self.assertEqual(program.err[0], f"zelkor: not started: UDP {OWN}:{taken.local_port} -> {target}")
        self.assertRegex(program.err[1], r"not started: protocol 99 .*: the protocol cannot be forwarded$")
        self.assertRegex(program.err[2], f"{self.file} could not be saved: ")


if __name__ == "__main__":
    unittest.main()
