#!/usr/bin/env python3
"""Takes pictures of the program's windows with five operations in different states.

Usage: pictures.py FOLDER     the display in DISPLAY is used and the Wine prefix is ready
"""
import pathlib
import subprocess
import sys
import tempfile
import time

import sample_servers
import settings_file
from settings_file import TCP, UDP
from windows_program import IDS, WindowsProgram, picture

LANGUAGES = {"english": 0, "german": 1}


class Session:
    """The program in one language, and where its pictures go."""

    def __init__(self, program, folder, language):
        self.program = program
        self.folder = pathlib.Path(folder)
        self.language = language

    def drive(self, *steps):
        return self.program.drive(*(IDS.get(step, step) for step in steps))

    def take(self, name, *steps):
        """The window that the steps leave open, without what surrounds it."""
        self.take_place(name, [int(number) for number in self.drive(*steps, "place").split()[-4:]])

    def take_place(self, name, place):
        path = self.folder / f"{name}-{self.language}.png"
        # A window that has just opened is drawn bit by bit: its picture counts when it has stopped changing.
        before = None
        for _ in range(20):
            time.sleep(0.5)
            picture(path, place)
            if path.read_bytes() == before:
                break
            before = path.read_bytes()


    def take_tray_menu(self):
        """The icon stands at the right end of the task bar, at the bottom of the display."""
        subprocess.run(["xdotool", "mousemove", "1014", "758", "click", "3"], check=True)
        self.take_place("tray-menu", [1024 - 180, 768 - 140, 1024, 768])
        subprocess.run(["xdotool", "key", "Escape"], check=True)


def operations():
    """Two that run with traffic, one stopped, one whose port is taken, and one that sends back to the client."""
    tcp, udp = sample_servers.start("tcp"), sample_servers.start("udp")
    return [
        settings_file.Operation(UDP, 5353, "ns1.example.net", 53, running=False),
        settings_file.Operation(TCP, tcp, "mail.example.net", 25),
        settings_file.Operation(TCP, sample_servers.free_port("tcp"), "", 8443, bounce=True, local_interface=""),
        settings_file.Operation(UDP, sample_servers.free_port("udp"), "127.0.0.1", udp),
        settings_file.Operation(TCP, sample_servers.free_port("tcp"), "127.0.0.1", tcp),
    ]


def traffic(ops):
    """Clients that stay connected, so that the counts are live."""
    clients = [sample_servers.Client("tcp", ops[4].local_port) for _ in range(3)]
    clients.append(sample_servers.Client("udp", ops[3].local_port))
    for client in clients:
        for _ in range(20):
            client.echo(bytes(1400))
    return clients


def take_all(session):
    session.take("main-window", "select", 0)
    cancel = ("press", "IDCANCEL", "gone")
    session.take("options-tcp", "command", "ID_PFO_EDIT", "dialog", "IDC_PFO_LOCAL_PORT")
    session.take("long-message", "dialog", "IDC_PFO_LOCAL_PORT", "press", "IDC_PFO_MAX_SESSIONS_INFO", "dialog",
                 "IDC_LONG_CONTINUE")  # fmt: skip
    session.drive("dialog", "IDC_LONG_CONTINUE", "press", "IDC_LONG_CONTINUE", "gone")
    session.drive("dialog", "IDC_PFO_LOCAL_PORT", *cancel)
    session.take("options-udp", "select", 1, "command", "ID_PFO_EDIT", "dialog", "IDC_PFO_LOCAL_PORT")
    session.drive("dialog", "IDC_PFO_LOCAL_PORT", *cancel)
    session.take("language", "command", "ID_LANGUAGE_CHANGE", "dialog", "IDC_LANGUAGE_FILE")
    session.drive("dialog", "IDC_LANGUAGE_FILE", "press", f"IDC_LANGUAGE_{CHOICE[session.language]}", "gone")
    session.take_tray_menu()


CHOICE = {"english": "ENGLISH", "german": "DEUTSCH"}


def main():
    for language, code in LANGUAGES.items():
        ops = operations()
        with tempfile.TemporaryDirectory() as folder:
            with WindowsProgram(folder, settings_file.Settings(ops, language=code, tray=True)) as program:
                clients = traffic(ops)
                take_all(Session(program, sys.argv[1], language))
                program.close()
                for client in clients:
                    client.close()
    print(f"Pictures are in {sys.argv[1]}")


if __name__ == "__main__":
    main()
