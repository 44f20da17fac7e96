#!/usr/bin/env python3
"""Shows the Windows program at work: one TCP and one UDP operation between sample clients and sample servers.

Usage: demo_windows.py show     traffic for some seconds, what the window says, a picture of it in build/zelkor.png
       demo_windows.py stay     the sample servers and the window, until the user closes it
"""
import sys
import threading

import sample_servers
import settings_file
from windows_program import IDS, ROOT, WindowsProgram, picture

FOLDER = ROOT / "build" / "demo"
PICTURE = ROOT / "build" / "zelkor.png"
LOG = FOLDER / "connections.log"
CLIENT_BYTES = IDS["IDC_MAIN_CLIENT_BYTES"]
SERVER_BYTES = IDS["IDC_MAIN_SERVER_BYTES"]
PROGRAM_SESSIONS = IDS["IDC_MAIN_PROGRAM_SESSIONS"]
SIZES = {"tcp": 256 * 1024, "udp": 1200}


def operation(kind):
    protocol = settings_file.TCP if kind == "tcp" else settings_file.UDP
    return settings_file.Operation(protocol, sample_servers.free_port(kind), "127.0.0.1", sample_servers.start(kind))


class Traffic:
    """A client that echoes through the forwarder on a thread of its own, from `with` to finish()."""

    def __init__(self, kind, op):
        self.kind = kind
        self.client = sample_servers.Client(kind, op.local_port)
        self.stop = threading.Event()
        self.total = 0
        self.fault = None
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        try:
            while not self.stop.wait(0.05):
                self.total += self.client.echo(bytes(SIZES[self.kind]))
        except (OSError, RuntimeError) as fault:
            self.fault = fault

    def finish(self):
        """The bytes that went to the server and came back; the connection stays open."""
        self.stop.set()
        self.thread.join()
        if self.fault:
            sys.exit(f"{self.kind}: the traffic broke off: {self.fault}")
        return self.total


def byte_text(count):
    """As the window writes it."""
    for unit in ("Bytes", "KB", "MB", "GB"):
        if count < 1024:
            return f"{count:.0f} {unit}" if unit == "Bytes" else f"{count:.2f} {unit}"
        count /= 1024
    return f"{count:.2f} TB"


def show(operations, settings):
    with WindowsProgram(FOLDER, settings) as program:
        traffic = {kind: Traffic(kind, op) for kind, op in zip(("tcp", "udp"), operations)}
        for row, kind in ((1, "TCP"), (0, "UDP")):
            print(f"The window with the {kind} operation selected:")
            print(program.drive("select", row, "fresh", "show"), end="")
        place = program.drive("select", 1, "fresh", "place").split()
        picture(PICTURE, [int(number) for number in place])
        for row, kind in ((1, "tcp"), (0, "udp")):
            total = traffic[kind].finish()
            text = byte_text(total)
            program.drive("select", row, "until", CLIENT_BYTES, text, "until", SERVER_BYTES, text)
            print(f"{kind.upper()}: {total} bytes went to the server and came back, and the window says {text} each way")
        for each in traffic.values():
            each.client.close()
        program.drive("until", PROGRAM_SESSIONS, "1")  # the UDP session ends by its silence only
        code = program.close()
    print(f"Connection log, {LOG.relative_to(ROOT)}:")
    for line in LOG.read_text(encoding="cp1252").splitlines():
        print(f"  {line}")
    print(f"Picture of the window: {PICTURE.relative_to(ROOT)}")
    return code


def stay(operations, settings):
    for kind, op in zip(("TCP", "UDP"), operations):
        print(f"{kind}: 127.0.0.1:{op.local_port} is forwarded to an echo server on 127.0.0.1:{op.remote_port}")
    with WindowsProgram(FOLDER, settings) as program:
        return program.process.wait()


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    LOG.unlink(missing_ok=True)
    operations = [operation("tcp"), operation("udp")]
    settings = settings_file.Settings(operations, log_path=f"Z:{LOG}".replace("/", "\\"))
    return (stay if sys.argv[1:] == ["stay"] else show)(operations, settings)


if __name__ == "__main__":
    sys.exit(main())
