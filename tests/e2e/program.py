"""Runs the Linux program, and what it forwards to, for the tests in this folder.

Waits are for an event and end with it; the deadline only bounds a failure.
"""
import math
import os
import pathlib
import re
import selectors
import shutil
import signal
import socket
import subprocess
import tempfile
import threading
import time
import unittest

from settings_writer import TCP

PROGRAM = os.environ.get("ZELKOR_PROGRAM", "")
LOCALHOST = "127.0.0.1"
DEADLINE = 60
# The thread sanitizer sleeps for a second at the end unless told not to.
ENVIRONMENT = {**os.environ, "TSAN_OPTIONS": os.environ.get("TSAN_OPTIONS", "") + " atexit_sleep_ms=0"}
KINDS = {"tcp": socket.SOCK_STREAM, "udp": socket.SOCK_DGRAM}


def free_port(kind, ip=LOCALHOST):
    """Free now; another process can take it before the program does, so whoever uses it tries again then."""
    with socket.socket(type=KINDS[kind]) as probe:
        probe.bind((ip, 0))
        return probe.getsockname()[1]


def wait_for(condition, what):
    end = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.005)


class Program:
    """One run, by way of a command that ends in it if one is given. The lines of both outputs are kept as they come."""

    def __init__(self, *arguments, soft_file_limit=None, through=()):
        limit = [] if soft_file_limit is None else ["sh", "-c", f'ulimit -Sn {soft_file_limit} && exec "$@"', "sh"]
        self.process = subprocess.Popen(
            [*limit, *through, PROGRAM, *map(str, arguments)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, env=ENVIRONMENT, text=True, encoding="cp1252",
        )  # fmt: skip
        self.out, self.err = [], []
        self.changed = threading.Condition()  # guards both lists and open_outputs
        self.open_outputs = 2
        outputs = ((self.process.stdout, self.out), (self.process.stderr, self.err))
        self.readers = [threading.Thread(target=self.read, args=output) for output in outputs]
        for reader in self.readers:
            reader.start()

    def read(self, stream, lines):
        with stream:
            for line in stream:
                with self.changed:
                    lines.append(line.rstrip("\n"))
                    self.changed.notify_all()
        with self.changed:
            self.open_outputs -= 1
            self.changed.notify_all()

    def wait_until(self, condition):
        """Waits until the lines meet the condition; false when the outputs ended without it."""
        with self.changed:
            if not self.changed.wait_for(lambda: condition() or self.open_outputs == 0, DEADLINE):
                raise AssertionError(f"waited in vain; the program printed {self.out} and {self.err}")
            return condition()

    def exit_code(self):
        code = self.process.wait(DEADLINE)
        for reader in self.readers:
            reader.join(DEADLINE)
        if any("Sanitizer" in line or "runtime error" in line for line in self.err):
            raise AssertionError("\n".join(self.err))
        return code

    def end(self, number=signal.SIGTERM):
        """The exit code, and the seconds from the signal to the end."""
        begin = time.monotonic()
        self.process.send_signal(number)
        self.process.wait(DEADLINE)
        seconds = time.monotonic() - begin
        return self.exit_code(), seconds

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.exit_code()


def entries(log):
    return log.split(b"\r\n")[1:]


def missing(patterns, log_entries):
    """The patterns for which no entry is left."""
    left = list(patterns)
    for entry in log_entries:
        match = next((pattern for pattern in left if pattern.fullmatch(entry)), None)
        if match:
            left.remove(match)
    return left


class EchoServer:
    """Sends back what it gets, by one thread for any number of connections."""

    def __init__(self, kind, ip=LOCALHOST, port=0):
        self.kind = kind
        self.socket = socket.socket(type=KINDS[kind])
        self.socket.bind((ip, port))
        self.port = self.socket.getsockname()[1]
        if kind == "tcp":
            self.socket.listen(128)
        self.clients = []  # addresses that connected or sent
        self.connections = []
        self.selector = selectors.DefaultSelector()
        self.wake, self.woken = socket.socketpair()
        self.selector.register(self.woken, selectors.EVENT_READ)
        self.selector.register(self.socket, selectors.EVENT_READ)
        self.thread = threading.Thread(target=self.run)
        self.thread.start()

    def run(self):
        while True:
            for key, _ in self.selector.select():
                if key.fileobj is self.woken:
                    return
                self.serve(key.fileobj)

    def serve(self, ready):
        if self.kind == "udp":
            data, client = ready.recvfrom(65536)
            self.clients.append(client)
            ready.sendto(data, client)
        elif ready is self.socket:
            connection, client = ready.accept()
            self.clients.append(client)
            self.connections.append(connection)
            self.selector.register(connection, selectors.EVENT_READ)
        else:
            self.echo(ready)

    def echo(self, connection):
        try:
            data = connection.recv(65536)
            connection.sendall(data)
        except ConnectionError:
            data = b""
        if not data:
            self.selector.unregister(connection)
            connection.close()

    def close(self):
        """Once or more often."""
        if self.socket.fileno() < 0:
            return
        self.wake.send(b"x")
        self.thread.join(DEADLINE)
        self.selector.close()
        for opened in (self.wake, self.woken, self.socket, *self.connections):
            opened.close()


class Client:
    """A client of the program, from any loopback address."""

    def __init__(self, kind, port, ip=LOCALHOST, to_ip=LOCALHOST):
        self.socket = socket.socket(type=KINDS[kind])
        self.socket.settimeout(DEADLINE)
        self.socket.bind((ip, 0))
        self.socket.connect((to_ip, port))
        self.port = self.socket.getsockname()[1]

    def echo(self, data):
        """What came back, at most as much as was sent."""
        self.socket.sendall(data)
        back = bytearray()
        while len(back) < len(data) or not data:
            piece = self.socket.recv(65536)
            if not piece:
                break
            back += piece
        return bytes(back)

    def is_closed(self):
        """Waits for the other side's end."""
        try:
            return self.socket.recv(1) == b""
        except ConnectionError:
            return True

    def close(self):
        self.socket.close()


class ProgramTest(unittest.TestCase):
    """What a test opens here is closed at its end."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zelkor-e2e-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.file = self.folder / "saved.KVR"
        self.log = self.folder / "events.log"

    def server(self, kind, **where):
        server = EchoServer(kind, **where)
        self.addCleanup(server.close)
        return server

    def client(self, kind, port, **where):
        client = Client(kind, port, **where)
        self.addCleanup(client.close)
        return client

    def run_program(self, *arguments, **limits):
        program = Program(*arguments, **limits)
        self.addCleanup(program.kill)
        return program

    def refusal(self, *arguments, **limits):
        """Exit code and lines on standard error of a run that is to end by itself."""
        program = self.run_program(*arguments, **limits)
        code = program.exit_code()
        self.assertEqual(program.out, [])
        return code, program.err

    def start(self, make_run, **limits):
        """A run whose operations stand. make_run gives the local ports and the arguments; it is called again, for other
        ports, when one was taken."""
        for _ in range(5):
            ports, arguments = make_run()
            program = self.run_program(*arguments, **limits)

            def is_taken(program=program, ports=ports):
                in_use = [line for line in program.err if "already in use" in line]
                return any(f":{port} -> " in line for line in in_use for port in ports)

            stands = program.wait_until(lambda: is_taken() or len(program.out) >= len(ports))
            if stands and not is_taken():
                return program
            program.kill()
            if not is_taken():
                self.fail(f"ended with {program.exit_code()}: {program.err}")
        self.fail("every port was taken")

    def start_file(self, settings, size=None, **limits):
        """Runs a file of these settings, cut off behind that many bytes. Operations that run and have no local port get
        one, as far as the file holds them."""
        given = [op for i, op in enumerate(settings.operations)
                 if op.running and op.local_port == 0 and settings.inside_operation(i) < (size or math.inf)]

        def make_run():
            for operation in given:
                operation.local_port = free_port("tcp" if operation.protocol == TCP else "udp", operation.local_ip)
            self.file.write_bytes(settings.to_bytes()[:size])
            return [operation.local_port for operation in given], (self.file,)

        return self.start(make_run, **limits)

    def start_operation(self, kind, target, *options, **limits):
        """Runs one operation of the command line; gives the run and its local port."""
        port = 0

        def make_run():
            nonlocal port
            port = free_port(kind)
            return [port], (*options, kind, f"{LOCALHOST}:{port}", target)

        program = self.start(make_run, **limits)
        return program, port

    def wait_for_log(self, *patterns):
        """Waits until the log holds these entries in any order, each of its own; gives its bytes."""
        patterns = [re.compile(pattern.encode("cp1252")) for pattern in patterns]
        try:
            wait_for(lambda: not missing(patterns, entries(self.log_bytes())), "log entries")
        except AssertionError:
            self.fail(f"no {patterns} in the log: {self.log_bytes()}")
        return self.log_bytes()

    def log_bytes(self):
        return self.log.read_bytes() if self.log.exists() else b""

    def assert_ends_orderly(self, program, number=signal.SIGTERM):
        code, seconds = program.end(number)
        self.assertEqual(code, 0)
        self.assertLess(seconds, 1)
