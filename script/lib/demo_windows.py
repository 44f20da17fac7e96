#!/usr/bin/env python3
"""Shows the Windows program at work: one TCP and one UDP operation between sample clients and sample servers.

Usage: demo_windows.py show     traffic for some seconds, what the window says, a picture of it in build/zelkor.png
       demo_windows.py stay     the sample servers and the window, until the user closes it
"""
import pathlib
import sys
import threading

import sample_servers
import settings_file
from windows_program import ROOT, WindowsProgram, picture

FOLDER = ROOT / "build" / "demo"
PICTURE = ROOT / "build" / "zelkor.png"
LOG = FOLDER / "connections.log"
ROUNDS = 60
TCP_BYTES = 256 * 1024
UDP_BYTES = 1200


def operation(kind):
    protocol = settings_file.TCP if kind == "tcp" else settings_file.UDP
    return settings_file.Operation(protocol, sample_servers.free_port(kind), "127.0.0.1", sample_servers.start(kind))


def exchange(client, size, rounds, pause, totals):
    """Echoes through the forwarder; the bytes that came back go to totals."""
    for _ in range(rounds):
        totals.append(client.echo(bytes(size)))
        pause.wait(0.05)


def carry(operations):
    """Runs both kinds of traffic side by side and gives the open clients."""
    clients, threads, totals = [], [], []
    for op, kind, size in zip(operations, ("tcp", "udp"), (TCP_BYTES, UDP_BYTES)):
        client = sample_servers.Client(kind, op.local_port)
        counts = []
        thread = threading.Thread(target=exchange, args=(client, size, ROUNDS, threading.Event(), counts))
        thread.start()
        clients.append(client)
        threads.append(thread)
        totals.append(counts)
    for thread in threads:
        thread.join()
    for kind, counts in zip(("TCP", "UDP"), totals):
        print(f"{kind}: {sum(counts)} bytes went to the server and came back in {len(counts)} rounds")
        if len(counts) != ROUNDS:
            sys.exit(f"{kind}: the traffic broke off")
    return clients


def show(operations, settings):
    with WindowsProgram(FOLDER, settings) as program:
        clients = carry(operations)
        for row, kind in ((0, "UDP"), (1, "TCP")):
            print(f"The window with the {kind} operation selected:")
            print(program.drive("select", row, "show"), end="")
        # Sessions are still open and the rate still covers the traffic.
        place = [int(number) for number in program.drive("place").split()]
        picture(PICTURE, place)
        for client in clients:
            client.close()
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
