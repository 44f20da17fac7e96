"""Operations that a user sets up, runs, changes and removes in the window, with real traffic through them."""
import dataclasses
import unittest

from sample_servers import LOCALHOST
from settings_file import PROTOCOLS, Settings
from windows_e2e import BUTTONS, PLACE, WindowsTest
from windows_program import IDS

CLOSE_SESSIONS = (
    'Continue and close current sessions?": There is currently one or more session, choosing Yes will close all '
    "current sessions\r\n\r\nAre you sure you wish to continue?"
)
DELETE = "Are you sure?: Are you sure you wish to delete the currently selected port forwarding operation?"
BAD_PORT = "Invalid input value: The local port must be between 1 and 65535."


def row(status, operation):
    protocol = "TCP" if operation.protocol == PROTOCOLS["tcp"] else "UDP"
    return f"{status}|{protocol}|{operation.local_ip}|{operation.local_port}|{LOCALHOST}|{operation.remote_port}"


def settings_after(*operations):
    """The file when the options dialog was left with OK for the last of these."""
    last = operations[-1]
    kind = (0, int(last.protocol == PROTOCOLS["tcp"]), int(last.protocol == PROTOCOLS["udp"]))
    return Settings(list(operations), **PLACE, last_interface=last.local_ip, last_host=LOCALHOST, last_protocol=kind,
                    last_ports=(last.local_port, last.remote_port))  # fmt: skip


class Operations(WindowsTest):
    def assert_counts(self, threads, sessions, total, size):
        """Of the selected operation; as many bytes came from each side."""
        self.assert_values(PFO_THREADS=threads, PFO_SESSIONS=sessions, PFO_TOTAL=total, CLIENT_BYTES=size,
                           SERVER_BYTES=size)  # fmt: skip

    def test_they_forward_traffic_and_tell_of_it(self):
        program = self.start(Settings([], **PLACE))
        operations = [self.operation(kind, running=0) for kind in ("tcp", "udp")]
        tcp, udp = operations
        for operation in operations:
            self.add(operation)
        self.assertEqual(program.list.rows(), [row("Stopped", udp), row("Stopped", tcp)])
        settings = settings_after(*operations)
        self.assert_saved(settings)
        for index in (1, 0):
            program.select(index)
            self.do("ID_PFO_START")
            operations[index].running = 1
        self.assert_statuses("Started", "Started")
        self.assert_values(PROGRAM_THREADS="5", CLIENT_RATE="0 bps")
        self.assert_saved(settings)

        client = self.client("udp", udp.local_port)
        self.assertEqual(client.echo(bytes(1000)), bytes(1000))
        self.assert_counts("3", "1", "1", "1000 Bytes")
        program.select(1)
        self.assert_counts("1", "0", "0", "0 Bytes")
        client = self.client("tcp", tcp.local_port)
        bulk = bytes(range(256)) * 6144
        self.assertEqual(client.echo(bulk), bulk)
        self.assert_counts("3", "1", "1", "1.50 MB")
        self.assert_values(PROGRAM_SESSIONS="2")
        program.wait_until(lambda: client.echo(b"0123456789") and all(
            program.value(name).endswith(" Kbps") for name in ("CLIENT_RATE", "SERVER_RATE")), "the rates")  # fmt: skip
        client.close()
        self.assert_values(PFO_THREADS="1", PFO_SESSIONS="0", PFO_TOTAL="1")

        self.do("ID_PFO_STOP_ALL")
        self.assert_statuses("Stopped", "Stopped")
        self.assert_values(PROGRAM_THREADS="3", PROGRAM_SESSIONS="0", CLIENT_RATE="0 bps", SERVER_RATE="0 bps")
        tcp.running = udp.running = 0
        self.assertEqual(program.end(), 0)
        self.assert_saved(settings)

    def test_they_are_changed_and_deleted_while_sessions_are_open(self):
        program = self.start(Settings([], **PLACE))
        tcp = self.operation("tcp")
        self.add(tcp)
        self.do("ID_PFO_START")
        client = self.assert_carries("tcp", tcp)
        self.assert_values(PFO_SESSIONS="1")
        options = program.open("ID_PFO_EDIT", "IDC_PFO_LOCAL_PORT")
        tcp = dataclasses.replace(tcp, local_port=self.port("tcp"))
        self.fill(options, tcp)
        options.command(IDS["OK"])
        self.answer(CLOSE_SESSIONS, "NO")
        self.assertEqual(client.echo(b"between"), b"between")
        options.command(IDS["OK"])
        self.answer(CLOSE_SESSIONS, "YES")
        self.assertTrue(client.is_closed())
        self.assert_becomes([row("Started", tcp)], program.list.rows)
        client = self.assert_carries("tcp", tcp)

        program.main.command(IDS["ID_PFO_DELETE"])
        self.answer(DELETE, "NO")
        self.assertEqual(client.echo(b"still"), b"still")
        program.main.command(IDS["ID_PFO_DELETE"])
        self.answer(DELETE, "YES")
        self.assertTrue(client.is_closed())
        self.assert_statuses()
        self.assert_enabled()
        self.assert_values(PROGRAM_THREADS="3")
        self.assertFalse(self.is_forwarding(tcp))
        self.assertEqual(program.end(), 0)
        settings = settings_after(tcp)
        settings.operations = []
        self.assert_saved(settings)

    def test_what_cannot_be_started_or_saved_is_told_and_can_be_mended(self):
        program = self.start(Settings([], **PLACE))
        taken = self.operation("tcp", local_interface=LOCALHOST, local_port=self.servers["tcp"].port)
        self.add(taken)
        self.do("ID_PFO_START")
        self.assert_statuses("Error starting")
        options = program.open("ID_PFO_EDIT", "IDC_PFO_LOCAL_PORT")
        self.fill(options, dataclasses.replace(taken, local_port=0))
        options.command(IDS["OK"])
        self.answer(BAD_PORT, "OK")
        mended = self.operation("tcp")
        self.fill(options, mended)
        program.press(options, "OK")
        self.assert_becomes([row("Stopped", mended)], program.list.rows)
        self.do("ID_PFO_START")
        self.assert_statuses("Started")
        self.assert_enabled(*(each for each in BUTTONS if each != "ID_PFO_START"))
        self.assert_carries("tcp", mended)


if __name__ == "__main__":
    unittest.main()
