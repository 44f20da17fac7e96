#!/usr/bin/env python3
"""Shows the Windows program at work: one TCP and one UDP operation between sample clients and sample servers.

Usage: demo_windows.py show     traffic for some seconds, what the window says, a picture of it in build/zelkor.png
       demo_windows.py stay     the sample servers and the window, until the user closes it
"""
import sys
import threading

import sample_servers
import settings_file
from windows_program import ROOT, STYLE, WindowsProgram, picture

FOLDER = ROOT / "build" / "demo"
PICTURE = ROOT / "build" / "zelkor.png"
LOG = FOLDER / "connections.log"
LINES = ("PROGRAM_THREADS", "PROGRAM_SESSIONS", "PFO_THREADS", "PFO_SESSIONS", "PFO_TOTAL", "CLIENT_BYTES",
         "CLIENT_RATE", "SERVER_BYTES", "SERVER_RATE")  # fmt: skip
SIZES = {"tcp": 256 * 1024, "udp": 1200}


def operation(kind):
    port = sample_servers.EchoServer(kind).port
    return settings_file.Operation(settings_file.PROTOCOLS[kind], sample_servers.free_port(kind), "127.0.0.1", port)


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
            data = bytes(SIZES[self.kind])
            while not self.stop.wait(0.05):
                if self.client.echo(data) != data:
                    raise RuntimeError("other bytes came back")
                self.total += len(data)
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


def select(program, row):
    """Until the rate has started over, as it does for a newly selected row, and is not zero."""
    program.select(row)
    for zero in (True, False):
        program.wait_until(lambda: program.value("CLIENT_RATE").startswith("0 ") == zero, "the rate")


def show(operations, settings):
    with WindowsProgram(FOLDER, settings, "-noinstall").wait_for_main() as program:
        traffic = {kind: Traffic(kind, op) for kind, op in zip(("tcp", "udp"), operations)}
        for row, kind in ((1, "TCP"), (0, "UDP")):
            print(f"The window with the {kind} operation selected:")
            select(program, row)
            lines = [f"{program.value(f'{name}_LABEL')} {program.value(name)}" for name in LINES]
            print("\n".join(f"  {line}" for line in program.list.rows() + lines))
        select(program, 1)
        picture(PICTURE, program.main.place)
        for row, kind in ((1, "tcp"), (0, "udp")):
            total = traffic[kind].finish()
            text = byte_text(total)
            program.select(row)
            program.wait_until(lambda: program.value("CLIENT_BYTES") == program.value("SERVER_BYTES") == text, text)
            print(f"{kind.upper()}: {total} bytes went to the server and came back, and the window says {text} each way")
        for each in traffic.values():
            each.client.close()
        # The UDP session ends by its silence only.
        program.wait_until(lambda: program.value("PROGRAM_SESSIONS") == "1", "the end of the TCP session")
        code = program.end()
    print(f"Connection log, {LOG.relative_to(ROOT)}:")
    for line in LOG.read_text(encoding="cp1252").splitlines():
        print(f"  {line}")
    print(f"Picture of the window: {PICTURE.relative_to(ROOT)}")
    return code


def stay(operations, settings):
    for kind, op in zip(("TCP", "UDP"), operations):
        print(f"{kind}: 127.0.0.1:{op.local_port} is forwarded to an echo server on 127.0.0.1:{op.remote_port}")
    with WindowsProgram(FOLDER, settings, "-noinstall") as program:
        return program.process.wait()


def main():
    FOLDER.mkdir(parents=True, exist_ok=True)
    LOG.unlink(missing_ok=True)
    operations = [operation("tcp"), operation("udp")]
    settings = settings_file.Settings(operations, log_path=f"Z:{LOG}".replace("/", "\\"), **STYLE)
    return (stay if sys.argv[1:] == ["stay"] else show)(operations, settings)


if __name__ == "__main__":
    sys.exit(main())
