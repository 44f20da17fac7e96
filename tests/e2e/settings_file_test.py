"""Saved-settings files: what is run of them, what is refused, and what the end writes back."""
import os
import pathlib
import signal
import struct
import unittest

import settings_writer
from program import LOCALHOST, ProgramTest, entries
from settings_writer import TCP, UDP, Operation, Settings

GERMAN = pathlib.Path(__file__).resolve().parents[2] / "resources" / "language" / "german.txt"


def german_text(slot):
    mark = f"[{slot}]\t"
    lines = GERMAN.read_text(encoding="utf-8").split("\n")
    return next(line[len(mark) :] for line in lines if line.startswith(mark))


class SettingsFile(ProgramTest):
    def setUp(self):
        super().setUp()
        self.tcp_server = self.server("tcp")
        self.udp_server = self.server("udp")

    def operation(self, kind, **fields):
        server = self.tcp_server if kind == "tcp" else self.udp_server
        return Operation(TCP if kind == "tcp" else UDP, 0, LOCALHOST, server.port, **fields)

    def settings(self, *operations, **fields):
        return Settings(list(operations), **fields)

    def assert_carries(self, kind, operation):
        self.assertEqual(self.client(kind, operation.local_port).echo(b"through"), b"through")

    def test_a_round_trip_keeps_every_byte(self):
        tcp = self.operation("tcp", filtered=True, allow=(("127.0.0.0", "127.0.0.255"), ("10.1.0.1", "10.1.0.9")))
        udp = self.operation("udp", block=(("1.2.3.4", "1.2.3.5"),), max_sessions=7)
        # Not started: ICMP errors need rights that whoever runs this may not have.
        idle = Operation(UDP, 4711, "caf\xe9.example", 80, local_ip="0.0.0.0", bounce=True, running=False,
                         forward_icmp=True, udp_timeout_ms=-1)  # fmt: skip
        settings = self.settings(tcp, idle, udp, log_path=str(self.log), log_seconds=3)
        program = self.start_file(settings)
        self.assertEqual([line.split(" -> ")[0] for line in program.out],
                         [f"started TCP {LOCALHOST}:{tcp.local_port}", f"started UDP {LOCALHOST}:{udp.local_port}"])
        self.assert_carries("tcp", tcp)
        self.assert_carries("udp", udp)
        self.assert_ends_orderly(program)
        self.assertEqual(program.err, [])
        self.assertEqual(self.file.read_bytes(), settings.to_bytes())

    def test_both_signals_end_it_at_once_with_sessions_open(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(number):
                tcp, udp = self.operation("tcp"), self.operation("udp")
                program = self.start_file(self.settings(tcp, udp))
                clients = [self.client("tcp", tcp.local_port) for _ in range(20)]
                for client in (*clients, self.client("udp", udp.local_port)):
                    self.assertEqual(client.echo(b"open"), b"open")
                self.assert_ends_orderly(program, number)
                self.assertTrue(all(client.is_closed() for client in clients))

    def test_a_file_that_is_none_is_refused_and_left(self):
        whole = self.settings(self.operation("tcp")).to_bytes()
        cases = {
            "empty": (b"", "not of this program"),
            "shorter than the magic": (whole[:15], "not of this program"),
            "of another maker": (b"\0" + whole[1:], "not of Velmoorstack Software"),
            "of another program": (self.settings(name="Velmoorstack OTHER").to_bytes(), "either not of this program"),
            "cut off in its version": (whole[:46], "cut off and holds no whole operation"),
            "cut off in its first operation": (whole[: self.settings(self.operation("tcp")).inside_operation(0)],
                                               "cut off and holds no whole operation"),
        }  # fmt: skip
        for name, (data, reason) in cases.items():
            with self.subTest(name):
                self.file.write_bytes(data)
                code, lines = self.refusal(self.file)
                self.assertEqual(code, 2)
                self.assertIn(reason, "\n".join(lines))
                self.assertIn(str(self.file), "\n".join(lines))
                self.assertEqual(self.file.read_bytes(), data)

    def test_a_file_that_cannot_be_read_is_named_with_the_reason(self):
        missing = self.folder / "missing.KVR"
        self.assertEqual(self.refusal(missing),
                         (2, [f"zelkor: {missing} cannot be read: No such file or directory"]))
        self.assertFalse(missing.exists())
        code, lines = self.refusal(self.folder)
        self.assertEqual(code, 2)
        self.assertIn(f"{self.folder} cannot be read: ", lines[0])

    def test_a_file_cut_off_runs_its_whole_operations_and_is_never_saved(self):
        operations = [self.operation("tcp"), self.operation("udp"), self.operation("tcp")]
        settings = self.settings(*operations)
        program = self.start_file(settings, size=settings.inside_operation(1))
        self.assertTrue(program.wait_until(lambda: len(program.err) >= 1))
        self.assertIn("is cut off: 1 of 3 operations were read", program.err[0])
        self.assert_carries("tcp", operations[0])
        self.assert_ends_orderly(program)
        self.assertEqual(len(program.out), 1)
        self.assertEqual(self.file.read_bytes(), settings.to_bytes()[: settings.inside_operation(1)])

    def test_another_version_is_read_told_and_never_saved(self):
        tcp, taken = self.operation("tcp"), self.operation("tcp")
        taken.local_port = self.tcp_server.port
        settings = self.settings(tcp, taken, version=(1, 1))
        program = self.start_file(settings)
        self.assertTrue(program.wait_until(lambda: len(program.err) >= 1))
        self.assertIn("is of version 1.1, not 1.0; it is read all the same and will not be saved over", program.err[0])
        self.assert_carries("tcp", tcp)
        self.assert_ends_orderly(program)
        # A save would have marked the one that could not start.
        self.assertEqual(self.file.read_bytes(), settings.to_bytes())

    def test_a_pipe_in_the_place_of_the_file_is_refused_at_once(self):
        os.mkfifo(self.file)
        code, lines = self.refusal(self.file)
        self.assertEqual(code, 2)
        self.assertIn(f"{self.file} is left as it is", "\n".join(lines))

    def test_a_host_text_makes_no_lines_of_its_own(self):
        tcp = Operation(TCP, 0, "a\r\nstarted UDP\x1b[2J\x7f", 80)
        program = self.start_file(self.settings(tcp))
        self.assert_ends_orderly(program)
        self.assertEqual(program.out, [f"started TCP {LOCALHOST}:{tcp.local_port} -> a??started UDP?[2J?:80"])

    def test_an_operation_that_cannot_start_leaves_the_others_and_is_saved_as_stopped(self):
        blocked, free = self.operation("tcp"), self.operation("udp")
        blocked.local_port = self.tcp_server.port
        unknown = Operation(99, 4712, LOCALHOST, 80)
        settings = self.settings(blocked, free, unknown)
        program = self.start_file(settings)
        self.assertTrue(program.wait_until(lambda: len(program.err) >= 2))
        self.assertRegex(program.err[0],
                         rf"not started: TCP {LOCALHOST}:{blocked.local_port} -> .*: .*Address already in use")
        self.assertRegex(program.err[1], "not started: protocol 99 .*: the protocol cannot be forwarded")
        self.assert_carries("udp", free)
        self.assert_ends_orderly(program)
        blocked.running = unknown.running = False
        self.assertEqual(self.file.read_bytes(), settings.to_bytes())

    def test_nothing_that_can_be_started_ends_with_3_and_leaves_the_file(self):
        taken = self.operation("tcp")
        taken.local_port = self.tcp_server.port
        cases = {
            "port in use": (self.settings(taken), "Address already in use"),
            "none was running": (self.settings(self.operation("udp", running=False)), "no operation that is to be"),
            "none at all": (self.settings(), "no operation that is to be"),
            "never": (self.settings(self.operation("tcp"), auto_start=settings_writer.START_NEVER), "is to be started"),
        }  # fmt: skip
        for name, (settings, reason) in cases.items():
            with self.subTest(name):
                self.file.write_bytes(settings.to_bytes())
                code, lines = self.refusal(self.file)
                self.assertEqual(code, 3)
                self.assertEqual(len(lines), 1, lines)
                self.assertIn(reason, lines[0])
                self.assertEqual(self.file.read_bytes(), settings.to_bytes())

    def test_ask_is_answered_with_yes(self):
        tcp = self.operation("tcp")
        self.start_file(self.settings(tcp, auto_start=settings_writer.START_ASK))
        self.assert_carries("tcp", tcp)

    def test_the_log_follows_its_templates_to_the_byte(self):
        tcp = self.operation("tcp")
        template = "%P|%E|%LIP|%LPort|%RHost|%RPort|%CIP|%CPort|100%%|%DAT%G"
        settings = self.settings(tcp, log_path=str(self.log), date_template="day%%", entry_template=template)
        program = self.start_file(settings)
        client = self.client("tcp", tcp.local_port)
        self.assertEqual(client.echo(b"x"), b"x")
        client.close()
        rest = f"{LOCALHOST}|{tcp.local_port}|{LOCALHOST}|{tcp.remote_port}|{LOCALHOST}|{client.port}|100%|day%"
        expected = f"\r\nTCP|Session accepted|{rest}\r\nTCP|Session ended|{rest}".encode()
        self.wait_for_log(r"TCP\|Session accepted\|.*", r"TCP\|Session ended\|.*")
        self.assert_ends_orderly(program)
        self.assertEqual(self.log_bytes(), expected)

    def test_the_log_is_appended_to(self):
        self.log.write_bytes(b"kept")
        tcp = self.operation("tcp")
        self.start_file(self.settings(tcp, log_path=str(self.log)))
        self.assert_carries("tcp", tcp)
        self.assertEqual(self.wait_for_log(r"\[Session accepted\] TCP"), b"kept\r\n[Session accepted] TCP")

    def test_filters_let_in_only_whom_they_name(self):
        lists = dict(filtered=True, allow=(("127.0.0.2", "127.0.0.9"),), block=(("127.0.0.5", "127.0.0.5"),))
        for log_blocked in (True, False):
            with self.subTest(log_blocked):
                self.log.unlink(missing_ok=True)
                tcp, udp = self.operation("tcp", **lists), self.operation("udp", **lists)
                settings = self.settings(tcp, udp, log_path=str(self.log), log_blocked=log_blocked)
                program = self.start_file(settings)
                for ip in ("127.0.0.5", "127.0.0.1", "127.0.0.10"):
                    self.assertTrue(self.client("tcp", tcp.local_port, ip=ip).is_closed())
                    self.client("udp", udp.local_port, ip=ip).socket.send(b"lost")
                for kind, operation in (("tcp", tcp), ("udp", udp)):
                    self.assertEqual(self.client(kind, operation.local_port, ip="127.0.0.9").echo(b"in"), b"in")
                log = self.wait_for_log(r"\[Session accepted\] TCP", r"\[Session accepted\] UDP")
                # One listener serves its clients in turn: what was refused stands ahead of what was let in.
                for kind in (b"TCP", b"UDP"):
                    refused = entries(log).count(b"[Session rejected - bad IP] " + kind)
                    self.assertEqual(refused, 3 if log_blocked else 0)
                self.assert_ends_orderly(program)
        self.assertEqual([len(self.tcp_server.clients), len(self.udp_server.clients)], [2, 2])

    def test_bounce_connects_to_each_client_itself(self):
        for kind in ("tcp", "udp"):
            with self.subTest(kind):
                own = self.server(kind, ip="127.0.0.6")
                operation = Operation(TCP if kind == "tcp" else UDP, 0, "nowhere.invalid", own.port, bounce=True)
                program = self.start_file(
                    self.settings(operation, log_path=str(self.log), entry_template="%RHost|%P"))
                self.assertEqual(self.client(kind, operation.local_port, ip="127.0.0.6").echo(b"me"), b"me")
                self.wait_for_log(r"~\\_Client_/~\|" + kind.upper())
                self.assert_ends_orderly(program)

    @unittest.skipUnless(GERMAN.exists(), "there is no German zone")
    def test_the_log_speaks_the_language_of_the_file(self):
        block = (("127.0.0.3", "127.0.0.3"),)
        tcp = self.operation("tcp", filtered=True, block=block)
        self.start_file(self.settings(tcp, language=1, log_path=str(self.log), entry_template="%E|"))
        self.assertTrue(self.client("tcp", tcp.local_port, ip="127.0.0.3").is_closed())
        client = self.client("tcp", tcp.local_port)
        self.assertEqual(client.echo(b"x"), b"x")
        client.close()
        words = [german_text(slot) for slot in (135, 143, 134)]
        self.assertNotIn("Session", " ".join(words))
        log = self.wait_for_log(*(word + r"\|" for word in words))
        self.assertEqual(log, "".join(f"\r\n{word}|" for word in words).encode("cp1252"))

    def test_an_end_without_room_for_the_file_is_told(self):
        tcp = self.operation("tcp")
        program = self.start_file(self.settings(tcp))
        self.file.unlink()
        self.file.mkdir()
        self.assert_ends_orderly(program)
        self.assertIn(f"{self.file} could not be saved: ", "\n".join(program.err))

    def test_a_count_that_lies_is_no_reason_to_allocate(self):
        settings = self.settings(self.operation("tcp"))
        data = settings.ahead()[:-4] + struct.pack("<i", 0x7FFFFFFF)
        self.file.write_bytes(data)
        code, lines = self.refusal(self.file)
        self.assertEqual((code, len(lines)), (2, 1))
        self.assertEqual(self.file.read_bytes(), data)


if __name__ == "__main__":
    unittest.main()
