"""The vocabulary of the tests that run a program as its user does, and what holds for both programs."""
import ipaddress
import os
import pathlib
import re
import signal
import tempfile
import time
import unittest

import settings_file
from sample_servers import LOCALHOST, Client, EchoServer, free_port, wait_for
from settings_file import PROTOCOLS, Operation, Settings
from zelkor_process import Process

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = os.environ.get("ZELKOR_PROGRAM", ROOT / "build/linux/zelkor")
LANGUAGES = ROOT / "resources/language"
# Nobody else is there: a port that is free stays so until the program takes it.
OWN = str(ipaddress.ip_address("127.64.0.0") + os.getpid())
ENGLISH, GERMAN = 0, 1
ENDED, REJECTED, ACCEPTED = 134, 135, 143  # texts of events
# Fields that neither program changes by a mere run, with values of their own: a round trip shows where one is lost.
ODD = dict(
    reserved_flag=5, reserved_text="reserved", window=(20, 30, 820, 530), order=(3, 1, 2, 0, 5, 4),
    widths=(51, 62, 73, 84, 95, 106), last_interface="127.0.0.9", last_host="caf\xe9.example", last_protocol=(1, 0, 1),
    last_ports=(8081, 8082), last_limits=(83, 84000), tray_only_minimised=0, rates_in_bits=0, last_icmp=1,
    filter_host="host", filter_allow_from="10.0.0.1", filter_block_from="10.0.0.2", filter_allow_to="10.0.0.3",
    filter_block_to="10.0.0.4", agreed=1, profile_folder="C:\\profiles", log_folder="C:\\logs", help_choice=2,
    tray_question_asked=1, language_file="C:\\language.txt",
)  # fmt: skip


def zone_text(language, slot):
    """A text that the program has in that language."""
    text = (LANGUAGES / ("german.txt" if language == GERMAN else "english.txt")).read_text(encoding="utf-8")
    return re.search(rf"^\[{slot}\]\t(.*)$", text, re.MULTILINE)[1]


class ProgramTest(unittest.TestCase):
    """What a test opens here is closed at its end."""

    maxDiff = None
    listen_on = {"tcp": OWN, "udp": OWN}
    keeps_what_failed = False  # whether the file still marks an operation as running that could not be started

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(prefix="zelkor-e2e-")))
        self.file = self.folder / "saved.KVR"
        self.log = self.folder / "events.log"
        self.ports = set()
        self.servers = {kind: self.server(kind) for kind in ("tcp", "udp")}

    def opened(self, what):
        self.addCleanup(what.close)
        return what

    def server(self, kind, *where):
        return self.opened(EchoServer(kind, *where))

    def client(self, kind, port, ip=LOCALHOST):
        return self.opened(Client(kind, port, ip, self.listen_on[kind]))

    def port(self, kind):
        """One that this test has not been given before."""
        port = wait_for(lambda: {free_port(kind, self.listen_on[kind])} - self.ports, "a port").pop()
        self.ports.add(port)
        return port

    def operation(self, kind, **fields):
        """One that runs, to the server of its kind."""
        where = dict(local_port=self.port(kind), remote_host=LOCALHOST, remote_port=self.servers[kind].port)
        return Operation(PROTOCOLS[kind], **{"local_interface": self.listen_on[kind], **where, **fields})

    def assert_carries(self, kind, operation):
        """Gives the client, whose session goes on."""
        client = self.client(kind, operation.local_port)
        self.assertEqual(client.echo(b"through"), b"through")
        return client

    def log_entries(self):
        """Each has a line end ahead of it."""
        return self.log.read_bytes().decode("cp1252").split("\r\n")[1:] if self.log.exists() else []

    def wait_for_log(self, *patterns):
        """Waits for as many entries, which match these in any order."""
        wait_for(lambda: len(self.log_entries()) >= len(patterns), lambda: f"{patterns} in {self.log_entries()}")
        entries = self.log_entries()
        left = entries.copy()
        for pattern in patterns:
            match = next((entry for entry in left if re.fullmatch(pattern, entry)), None)
            self.assertIsNotNone(match, f"no {pattern} in {entries}")
            left.remove(match)
        self.assertEqual(left, [])

    def assert_saved(self, settings):
        """The file holds these, or will."""
        try:
            wait_for(lambda: self.file.read_bytes() == settings.bytes(), "the file")
        except AssertionError:
            self.assertEqual(settings_file.read(self.file.read_bytes()), settings)
            raise


class FileCases:
    """What both programs do with a file: start() runs one of these settings, and log_path names the log to it."""

    def test_a_file_comes_back_byte_for_byte_with_sessions_open(self):
        ranges = dict(allow=((LOCALHOST, "127.0.0.255"), ("10.1.0.1", "10.1.0.9")), block=(("1.2.3.4", "1.2.3.5"),))
        tcp, udp = self.operation("tcp", **ranges), self.operation("udp", filtered=0, max_sessions=7, **ranges)
        taken = self.operation("tcp", local_interface=LOCALHOST, local_port=self.servers["tcp"].port)
        idle = self.operation("udp", bounce=1, running=0, forward_icmp=1, udp_timeout_ms=-1, remote_host="caf\xe9")
        settings = Settings([tcp, taken, idle, udp], auto_start=settings_file.START_ALWAYS, log_path=self.log_path,
                            log_seconds=3, **ODD)  # fmt: skip
        program = self.start(settings)
        client = self.assert_carries("tcp", tcp)
        self.assert_carries("udp", udp)
        self.assertEqual(program.end(), 0)
        self.assertTrue(client.is_closed())
        taken.running = int(self.keeps_what_failed)
        self.assert_saved(settings)

    def test_clients_are_let_in_and_logged_as_the_file_says(self):
        own = self.server("udp", "127.0.0.6")
        expected = []

        def expect(slot, protocol, operation, client):
            target = "~\\_Client_/~" if operation.bounce else LOCALHOST
            fields = (protocol, zone_text(language, slot).rstrip(), operation.local_ip, operation.local_port,
                      target, operation.remote_port, client.ip, client.port, "100%", "day%")  # fmt: skip
            expected.append(re.escape("|".join(map(str, fields))))

        # The second run goes on with the log of the first.
        for language, quiet in ((GERMAN, 0), (ENGLISH, 1)):
            tcp = self.operation("tcp", allow=(("127.0.0.2", "127.0.0.9"),), block=(("127.0.0.5", "127.0.0.5"),))
            udp = self.operation("udp", bounce=1, remote_host="nowhere.invalid", remote_port=own.port)
            program = self.start(Settings(
                [tcp, udp], log_path=self.log_path, log_seconds=0, log_date="day%%", language=language,
                log_entry="%P|%E|%LIP|%LPort|%RHost|%RPort|%CIP|%CPort|100%%|%DAT%G", no_log_of_blocked=quiet,
                auto_start=settings_file.START_ALWAYS, tray_question_asked=1,
            ))  # fmt: skip
            for ip in ("127.0.0.5", "127.0.0.10"):
                refused = self.client("tcp", tcp.local_port, ip)
                self.assertTrue(refused.is_closed())
                if not quiet:
                    expect(REJECTED, "TCP", tcp, refused)
            for protocol, operation, ip in (("TCP", tcp, "127.0.0.9"), ("UDP", udp, "127.0.0.6")):
                client = self.client(protocol.lower(), operation.local_port, ip)
                self.assertEqual(client.echo(b"in"), b"in")
                expect(ACCEPTED, protocol, operation, client)
                if protocol == "TCP":
                    client.close()
                    expect(ENDED, protocol, operation, client)
            self.wait_for_log(*expected)
            self.assertEqual(program.end(), 0)


class LinuxTest(ProgramTest):
    keeps_what_failed = True

    @property
    def log_path(self):
        return str(self.log)

    def run_program(self, *arguments, through=()):
        """By way of a command that ends in it if one is given."""
        return self.enterContext(Process(*through, PROGRAM, *arguments))

    def start(self, settings, through=(), cut=None):
        """Runs these settings, up to the middle of the record with the number `cut`. Comes back when each operation
        that is to run has been told of."""
        self.file.write_bytes(settings.bytes() if cut is None else settings.cut(cut))
        program = self.run_program(self.file, through=through)
        count = sum(operation.running for operation in settings.operations[:cut])
        program.wait_until(lambda: len(program.out) + len(program.err) >= count + (cut is not None))
        return program

    def start_operation(self, kind, target, *options, through=()):
        """Runs one operation of the command line; gives the run and its local port."""
        port = self.port(kind)
        program = self.run_program(*options, kind, f"{OWN}:{port}", target, through=through)
        program.wait_until(lambda: program.out)
        return program, port

    def assert_ends(self, program, number=signal.SIGTERM):
        """Without waiting for sessions, which stay for a minute of silence."""
        begin = time.monotonic()
        self.assertEqual(program.end(number), 0)
        self.assertLess(time.monotonic() - begin, 20)
        self.assertEqual(program.err, [])
