"""The command line: what it refuses, what it answers, and one operation run by it."""
import re
import unittest

from program import LOCALHOST, ProgramTest, free_port

ACCEPTED = r"\[Session accepted\]"
ENDED = r"\[Session ended\]"


class CommandLine(ProgramTest):
    def test_help_and_version_are_answered(self):
        for argument, first in (("--help", "Usage:"), ("--version", "Velmoorstack ZELKOR v1.0.7.2 [2007.01.25]")):
            with self.subTest(argument):
                program = self.run_program(argument)
                self.assertEqual(program.exit_code(), 0)
                self.assertEqual(program.out[0], first)
                self.assertEqual(program.err, [])

    def test_wrong_arguments_get_the_usage(self):
        cases = (
            ("", "operation needs"),
            ("--verbose", "--verbose"),
            ("--help --version", "unknown option --help"),
            ("sctp 127.0.0.1:8080 localhost:80", "not sctp"),
            ("tcp 127.0.0.1:8080", "operation needs"),
            ("tcp 127.0.0.1:8080 localhost:80 more", "operation needs"),
            ("tcp localhost:8080 localhost:80", "numeric address"),
            ("tcp 127.0.0.1:0 localhost:80", "from 1 to 65535"),
            ("tcp 127.0.0.1:8080 localhost:65536", "not localhost:65536"),
            ("tcp 127.0.0.1:8080 localhost", "not localhost"),
            ("--max 0 tcp 127.0.0.1:8080 localhost:80", "above 0, not 0"),
            ("--timeout 999 udp 127.0.0.1:8080 localhost:80", "not 999"),
            ("--log", "--log needs a value"),
        )
        for arguments, reason in cases:
            with self.subTest(arguments):
                code, lines = self.refusal(*arguments.split())
                self.assertEqual(code, 1)
                self.assertTrue(lines[0].startswith("zelkor: ") and reason in lines[0], lines[0])
                self.assertEqual(lines[1], "Usage:")

    def test_a_tcp_operation_carries_data_and_logs_both_events(self):
        server = self.server("tcp")
        program, port = self.start_operation("tcp", f"localhost:{server.port}", "--log", self.log)
        self.assertEqual(program.out, [f"started TCP {LOCALHOST}:{port} -> localhost:{server.port}"])
        client = self.client("tcp", port)
        data = bytes(range(256)) * 64
        self.assertEqual(client.echo(data), data)
        client.close()
        rest = (
            rf", Local IP:       127\.0\.0\.1, Local port: {port:5}, Protocol: TCP, "
            rf"Connector's IP:       127\.0\.0\.1, Connector's port: {client.port:5}, "
            rf"Time: \[\d{{4}}\.\d\d\.\d\d - \d\d:\d\d:\d\d\.\d{{3}}\]"
        )
        log = self.wait_for_log(ACCEPTED + rest, ENDED + rest)
        self.assertRegex(log, rb"\A\r\n\[Session accepted\][^\r\n]*\r\n\[Session ended\][^\r\n]*\Z")
        self.assert_ends_orderly(program)
        self.assertEqual(program.err, [])

    def test_a_udp_operation_ends_a_silent_session(self):
        server = self.server("udp")
        target = f"{LOCALHOST}:{server.port}"
        program, port = self.start_operation("udp", target, "--timeout", "1000", "--log", self.log)
        client = self.client("udp", port)
        for size in (1, 1400, 60000):
            self.assertEqual(client.echo(bytes(size)), bytes(size))
        self.wait_for_log(ACCEPTED + ".*Protocol: UDP.*", ENDED + ".*Protocol: UDP.*")
        self.assertEqual(client.echo(b"again"), b"again")
        self.wait_for_log(*[ACCEPTED + ".*"] * 2)
        self.assert_ends_orderly(program)

    def test_an_operation_without_a_host_goes_back_to_the_client(self):
        server = self.server("tcp", ip="127.0.0.7")
        program, port = self.start_operation("tcp", f":{server.port}")
        self.assertIn("the client's own address", program.out[0])
        self.assertEqual(self.client("tcp", port, ip="127.0.0.7").echo(b"own"), b"own")

    def test_a_client_beyond_the_limit_is_closed_and_logged(self):
        server = self.server("tcp")
        target = f"{LOCALHOST}:{server.port}"
        _, port = self.start_operation("tcp", target, "--max", "2", "--log", self.log)
        inside = [self.client("tcp", port) for _ in range(2)]
        for client in inside:
            self.assertEqual(client.echo(b"in"), b"in")
        self.assertTrue(self.client("tcp", port).is_closed())
        self.wait_for_log(r"\[Session rejected - too many sessions\].*")
        self.assertEqual(inside[0].echo(b"still"), b"still")

    def test_a_server_that_is_not_there_is_logged(self):
        target = f"{LOCALHOST}:{free_port('tcp')}"
        program, port = self.start_operation("tcp", target, "--log", self.log)
        self.assertTrue(self.client("tcp", port).is_closed())
        self.wait_for_log(r"\[Session rejected - unable to establish remote host connection\].*")
        self.assert_ends_orderly(program)

    def test_a_port_in_use_is_told_with_the_reason(self):
        taken = self.server("tcp")
        code, lines = self.refusal("tcp", f"{LOCALHOST}:{taken.port}", f"{LOCALHOST}:9")
        self.assertEqual(code, 3)
        self.assertEqual(len(lines), 1)
        self.assertRegex(lines[0], re.escape(f"TCP {LOCALHOST}:{taken.port} -> {LOCALHOST}:9: ") + ".*already in use")


if __name__ == "__main__":
    unittest.main()
