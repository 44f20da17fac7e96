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
from windows_program import IDS, STYLE, TRAY_ICON, VK_ESCAPE, WindowsProgram, picture

LANGUAGES = {"english": 0, "german": 1}


class Session:
    """The program in one language, and where its pictures go."""

    def __init__(self, program, folder, language):
        self.program = program
        self.folder = pathlib.Path(folder)
        self.language = language

    def take(self, name, window):
        """Without what surrounds it."""
        self.take_place(name, window.place)

    def take_dialog(self, name, command, control, button="CANCEL"):
        """Opens it by the command and closes it by the button."""
        dialog = self.program.open(command, control)
        self.take(name, dialog)
        self.program.press(dialog, button)

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
        subprocess.run(["xdotool", "mousemove", *map(str, TRAY_ICON), "click", "3"], check=True)
        self.take_place("tray-menu", [1024 - 180, 768 - 140, 1024, 768])
        self.program.main.keys(VK_ESCAPE)


def operations():
    """Two that run with traffic, one stopped, one whose port is taken, and one that sends back to the client."""
    tcp, udp = (sample_servers.EchoServer(kind).port for kind in ("tcp", "udp"))
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
    program = session.program
    program.select(0)
    session.take("main-window", program.main)
    options = program.open("ID_PFO_EDIT", "IDC_PFO_LOCAL_PORT")
    session.take("options-tcp", options)
    options.command(IDS["IDC_PFO_MAX_SESSIONS_INFO"])
    message = program.dialog("IDC_LONG_CONTINUE")
    session.take("long-message", message)
    program.press(message, "IDC_LONG_CONTINUE")
    program.press(options, "CANCEL")
    program.select(1)
    session.take_dialog("options-udp", "ID_PFO_EDIT", "IDC_PFO_LOCAL_PORT")
    choice = "IDC_LANGUAGE_" + {"english": "ENGLISH", "german": "DEUTSCH"}[session.language]
    session.take_dialog("language", "ID_LANGUAGE_CHANGE", "IDC_LANGUAGE_FILE", choice)
    session.take_tray_menu()


def main():
    for language, code in LANGUAGES.items():
        ops = operations()
        with tempfile.TemporaryDirectory() as folder:
            settings = settings_file.Settings(ops, language=code, tray=1, tray_only_minimised=0, **STYLE)
            with WindowsProgram(folder, settings, "-noinstall").wait_for_main() as program:
                clients = traffic(ops)
                take_all(Session(program, sys.argv[1], language))
                program.end()
                for client in clients:
                    client.close()
    print(f"Pictures are in {sys.argv[1]}")


if __name__ == "__main__":
    main()
