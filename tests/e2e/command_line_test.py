"""The Linux program's command line: what it refuses, what it answers, and one operation run by it."""
import contextlib
import os
import resource
import unittest

from e2e import OWN, LinuxTest
from sample_servers import LOCALHOST

TIME = r"Time: \[\d{4}\.\d\d\.\d\d - \d\d:\d\d:\d\d\.\d{3}\]"


def entry(event, port, client, protocol="TCP"):
    """A line of the log in the program's own layout."""
    return (rf"\[{event}\], Local IP: {OWN:>15}, Local port: {port:5}, Protocol: {protocol}, "
            rf"Connector's IP: {client.ip:>15}, Connector's port: {client.port:5}, {TIME}")  # fmt: skip


class CommandLine(LinuxTest):
    def test_what_starts_nothing(self):
        taken = f"{LOCALHOST}:{self.servers['tcp'].port}"
        for arguments, code, first, usage in (
            ("--help", 0, "Usage:", False),
            ("--version", 0, r"Velmoorstack ZELKOR v1\.0\.7\.2 \[2007\.01\.25\]", False),
            ("", 1, "zelkor: .*operation needs.*", True),
            ("--verbose", 1, "zelkor: .*--verbose.*", True),
            ("tcp localhost:8080 localhost:80", 1, "zelkor: .*numeric address.*", True),
            ("missing.KVR", 2, "zelkor: missing.KVR cannot be read: No such file or directory", False),
            (f"tcp {taken} :9", 3, f"zelkor: not started: TCP {taken} -> the client's own address:9: .*in use", False),
        ):
            with self.subTest(arguments):
                program = self.run_program(*arguments.split())
                self.assertEqual(program.exit_code(), code)
                told, silent = (program.err, program.out) if code else (program.out, program.err)
                self.assertRegex(told[0], f"^{first}$")
                self.assertEqual("Usage:" in told[1:], usage)
                self.assertEqual(silent, [])

    def test_a_tcp_operation_carries_logs_and_keeps_its_limit(self):
        target = f"localhost:{self.servers['tcp'].port}"
        program, port = self.start_operation("tcp", target, "--max", "2", "--log", self.log)
        self.assertEqual(program.out, [f"started TCP {OWN}:{port} -> {target}"])
        inside = [self.client("tcp", port) for _ in range(2)]
        for client in inside:
            self.assertEqual(client.echo(bytes(range(256)) * 64), bytes(range(256)) * 64)
        beyond = self.client("tcp", port)
        self.assertTrue(beyond.is_closed())
        inside[0].close()
        events = [entry("Session accepted", port, client) for client in inside]
        events += [entry("Session rejected - too many sessions", port, beyond), entry("Session ended", port, inside[0])]
        self.wait_for_log(*events)
        self.assertEqual(inside[1].echo(b"still"), b"still")
        self.servers["tcp"].close()
        refused = self.client("tcp", port)
        self.assertTrue(refused.is_closed())
        events += [entry("Session ended", port, inside[1]),
                   entry("Session rejected - unable to establish remote host connection", port, refused)]  # fmt: skip
        self.wait_for_log(*events)
        self.assert_ends(program)

    def test_a_log_without_room_loses_that_batch_only_and_the_end_loses_none(self):
        program, port = self.start_operation("tcp", f"{LOCALHOST}:{self.servers['tcp'].port}", "--log", self.log)

        def limit(room):
            resource.prlimit(program.process.pid, resource.RLIMIT_FSIZE, (room, resource.RLIM_INFINITY))

        def is_full():
            self.client("tcp", port).close()
            return self.log.exists() and self.log.stat().st_size == 1000

        limit(1000)
        program.wait_until(is_full, "a full log")
        torn = self.log.read_bytes()
        limit(resource.RLIM_INFINITY)
        last = self.client("tcp", port)
        self.assertEqual(last.echo(b"x"), b"x")
        self.assert_ends(program)
        whole = self.log.read_bytes()
        self.assertEqual(whole[:1000], torn)
        first, *entries = whole[1000:].decode().split("\r\n")
        self.assertEqual(first, "", "the torn entry goes on")
        self.assertRegex("\n".join(entries), f"(?m)^{entry('Session accepted', port, last)}$")

    def test_without_standard_streams_no_socket_takes_their_numbers(self):
        port = self.port("tcp")
        arguments = "tcp", f"{OWN}:{port}", f"{LOCALHOST}:{self.servers['tcp'].port}"
        program = self.run_program(*arguments, through=("sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh"))

        def carries():
            with contextlib.suppress(ConnectionRefusedError):
                return self.client("tcp", port).echo(b"x") == b"x"

        program.wait_until(carries)
        streams = [os.readlink(f"/proc/{program.process.pid}/fd/{number}") for number in range(3)]
        self.assertEqual(streams, ["/dev/null"] * 3)
        self.assert_ends(program)

    def test_a_udp_operation_ends_a_silent_session(self):
        target = f"{LOCALHOST}:{self.servers['udp'].port}"
        program, port = self.start_operation("udp", target, "--timeout", "1000", "--log", self.log)
        client = self.client("udp", port)
        events = []
        for size in (60000, 1):
            self.assertEqual(client.echo(bytes(size)), bytes(size))
            events += [entry(f"Session {word}", port, client, "UDP") for word in ("accepted", "ended")]
            self.wait_for_log(*events)
        self.assert_ends(program)


if __name__ == "__main__":
    unittest.main()
