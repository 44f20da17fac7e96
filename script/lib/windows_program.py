"""The Windows program and its windows, seen from outside of Wine.

The caller has made the Wine prefix ready (script/lib/wine-env.sh), and one program at a time runs there: whatever
dialog is on the desktop is taken for its own.
"""
import atexit
import functools
import os
import pathlib
import re
import select
import shutil
import struct
import subprocess
import time

import settings_file
from sample_servers import DEADLINE
from zelkor_process import BOUND, Process

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("ZELKOR_WINDOWS_BUILD", ROOT / "build" / "windows"))
NAME = "VelmoorstackZELKORv1.0"
IDS = {
    name: int(number)
    for name, number in re.findall(r"#define (\w+) (\d+)", (ROOT / "resources" / "resource.h").read_text())
} | {"OK": 1, "CANCEL": 2, "YES": 6, "NO": 7}  # fmt: skip
COLUMNS = 6
TRAY_ICON = (1014, 758)  # on a virtual display; the last icon stands at the right end of the task bar
# Of a window that is shown to people.
STYLE = dict(
    auto_start=settings_file.START_ALWAYS, window=(40, 40, 760, 520), widths=(110, 65, 100, 85, 150, 110),
    last_interface="127.0.0.1", last_host="127.0.0.1", last_ports=(8080, 80), rates_in_bits=0, log_seconds=1,
    log_entry="[%E], Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Time: [%DAT]", tray_question_asked=1,
)  # fmt: skip
DIALOG, MENU = b"#32770", b"#32768"  # window classes
MESSAGE_TEXT = 0xFFFF
# winuser.h, commctrl.h
WM_SETTEXT, WM_GETTEXT, WM_CLOSE, WM_COMMAND, WM_SYSCOMMAND = 0x0C, 0x0D, 0x10, 0x111, 0x112
WM_KEYDOWN, WM_LBUTTONDOWN, WM_LBUTTONUP = 0x100, 0x201, 0x202
VK_RETURN, VK_ESCAPE, VK_UP = 0x0D, 0x1B, 0x26
SC_MINIMIZE, SC_MAXIMIZE, SC_RESTORE = 0xF020, 0xF030, 0xF120
BM_GETCHECK, BM_CLICK = 0xF0, 0xF5
LVM_GETITEMCOUNT, LVM_GETITEMRECT, LVM_ENSUREVISIBLE, LVM_GETCOLUMN = 0x1004, 0x100E, 0x1013, 0x1019
LVM_GETHEADER, LVM_GETITEMSTATE, LVM_GETITEMTEXT, LVM_GETSELECTIONMARK = 0x101F, 0x102C, 0x102D, 0x1042
HDM_GETITEMRECT = 0x1207
LVIR_LABEL, LVIS_SELECTED, LVCF_TEXT = 2, 2, 4


class Driver:
    """Makes Win32 calls, by tests/e2e/windows/drive.cpp. Of its arguments, bytes go by their address, and a bytearray
    stands for as many zeros and holds afterwards what the function has written there."""

    def __init__(self):
        self.process = subprocess.Popen([*BOUND, "wine", BUILD / "tests/e2e/windows/zelkor_drive.exe"], text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)  # fmt: skip
        atexit.register(self.end)

    def end(self):
        with self.process:
            self.process.kill()

    def begin(self, function, *arguments, library="user32"):
        self.addressed = [argument for argument in arguments if isinstance(argument, (bytes, bytearray))]
        words = [f"~{len(argument)}" if isinstance(argument, bytearray)
                 else f"={argument.hex()}" if isinstance(argument, bytes) else str(int(argument))
                 for argument in arguments]  # fmt: skip
        print(library, function, *words, file=self.process.stdin, flush=True)

    def is_done(self):
        return bool(select.select([self.process.stdout], [], [], 0)[0])

    def finish(self):
        """The result, without a sign."""
        result, *written = self.process.stdout.readline().split()
        for argument, content in zip(self.addressed, written):
            if isinstance(argument, bytearray):
                argument[:] = bytes.fromhex(content[1:]).ljust(len(argument), b"\0")
        return int(result)


@functools.cache
def driver():
    return Driver()


def call(function, *arguments, **where):
    driver().begin(function, *arguments, **where)
    return driver().finish()


def flag(function):
    return property(lambda self: bool(call(function, self.handle) & 0xFFFFFFFF))


class Window:
    """Every call is safe when the window has gone, and then gives the empty answer. Controls are windows too."""

    def __init__(self, handle):
        self.handle = handle & 0xFFFFFFFF

    def __eq__(self, other):
        return isinstance(other, Window) and self.handle == other.handle

    exists, visible, enabled = flag("IsWindow"), flag("IsWindowVisible"), flag("IsWindowEnabled")
    minimised, maximised = flag("IsIconic"), flag("IsZoomed")

    def control(self, number):
        return Window(call("GetDlgItem", self.handle, number))

    def send(self, message, first=0, second=0):
        """Waits for the answer, but not for ever: a program that no longer answers gives 0."""
        result = bytearray(8)
        call("SendMessageTimeoutA", self.handle, message, first, second, 0, DEADLINE * 1000, result)
        return int.from_bytes(result, "little", signed=True)

    def post(self, message, first=0, second=0):
        call("PostMessageA", self.handle, message, first, second)

    def text(self, control=None):
        text = bytearray(2048)
        window = self if control is None else self.control(control)
        return text[: window.send(WM_GETTEXT, len(text), text)].decode("cp1252")

    def set_text(self, control, text):
        self.control(control).send(WM_SETTEXT, 0, str(text).encode("cp1252") + b"\0")

    def check(self, control):
        """A check box or radio button, by the user's click."""
        if not self.control(control).send(BM_GETCHECK):
            self.control(control).send(BM_CLICK)

    def command(self, number):
        """That of a menu or a button; it may open a dialog."""
        self.post(WM_COMMAND, number, self.control(number).handle)

    def do(self, number):
        """The same for one that opens nothing: it has been carried out afterwards."""
        self.send(WM_COMMAND, number, self.control(number).handle)

    @property
    def place(self):
        """Left, top, right and bottom on the screen."""
        rectangle = bytearray(16)
        call("GetWindowRect", self.handle, rectangle)
        return struct.unpack("<4i", rectangle)

    def click(self, x, y):
        self.post(WM_LBUTTONDOWN, 1, y << 16 | x)
        self.post(WM_LBUTTONUP, 0, y << 16 | x)

    def keys(self, *codes):
        for code in codes:
            self.post(WM_KEYDOWN, code, 1)

    @functools.cached_property
    def process_id(self):
        number = bytearray(4)
        call("GetWindowThreadProcessId", self.handle, number)
        return int.from_bytes(number, "little")


class List(Window):
    """The messages of a list carry pointers, which mean something in its own process only: what they point at is put
    there, into a block that goes with the process."""

    TEXT_AT = 128
    BLOCK = 1024

    @functools.cached_property
    def block(self):
        process = call("OpenProcess", 0x38, 0, self.process_id, library="kernel32")  # its memory: all that can be done
        return process, call("VirtualAllocEx", process, 0, self.BLOCK, 0x1000, 4, library="kernel32")

    def exchange(self, message, first, layout, *values, window=None):
        """What stands in the block after the message."""
        process, block = self.block
        data = struct.pack(layout, *values)
        call("WriteProcessMemory", process, block, data, len(data), 0, library="kernel32")
        (window or self).send(message, first, block)
        read = bytearray(self.BLOCK)
        call("ReadProcessMemory", process, block, read, len(read), 0, library="kernel32")
        return read

    def text_of(self, message, first, layout, *values):
        """The message of a structure that ends with the place and the size of a text."""
        block = self.block[1]
        read = self.exchange(message, first, layout + "Qi", *values, block + self.TEXT_AT, self.BLOCK - self.TEXT_AT)
        return bytes(read[self.TEXT_AT :]).partition(b"\0")[0].decode("cp1252")

    @property
    def count(self):
        return self.send(LVM_GETITEMCOUNT)

    @property
    def mark(self):
        """The selected row; none is -1."""
        return self.send(LVM_GETSELECTIONMARK) if self.count else -1

    def cell(self, row, column):
        return self.text_of(LVM_GETITEMTEXT, row, "<4xii12x", row, column)

    def column(self, column):
        return [self.cell(row, column) for row in range(self.count)]

    def rows(self):
        return ["|".join(self.cell(row, column) for column in range(COLUMNS)) for row in range(self.count)]

    def heads(self):
        return [self.text_of(LVM_GETCOLUMN, column, "<Iii4x", LVCF_TEXT, 0, 0) for column in range(COLUMNS)]

    def is_highlighted(self, row):
        return self.send(LVM_GETITEMSTATE, row, LVIS_SELECTED) != 0

    def click_row(self, program, row):
        self.send(LVM_ENSUREVISIBLE, row, 0)
        left, top, _, bottom = struct.unpack_from("<4i", self.exchange(LVM_GETITEMRECT, row, "<i12x", LVIR_LABEL))
        count, next_click = self.count, 0

        def is_done():
            nonlocal next_click
            # Again now and then: the first click can fall into a moment in which the window is disabled.
            if time.monotonic() >= next_click:
                # The row's own highlight would keep Wine's list from moving the mark.
                if next_click and self.is_highlighted(row) and count > 1:
                    self.click(left + 4, (top + bottom) // 2 + (bottom - top) * (-1 if row else 1))
                self.click(left + 4, (top + bottom) // 2)
                next_click = time.monotonic() + 2
            return self.mark == row and self.is_highlighted(row) or self.count != count

        program.wait_until(is_done, f"row {row}")

    def select(self, program, row):
        """Clicks the row and waits until it is the selected one, or rows come or go.

        A new operation takes over the selection mark while the highlight stays where it was, and Wine's list does not
        move the mark at a click on the highlighted row: only a click on another row brings the two together."""
        mark = self.mark
        if mark not in (-1, row) and self.is_highlighted(row):
            self.click_row(program, mark)
        self.click_row(program, row)

    def click_column(self, column):
        header = Window(self.send(LVM_GETHEADER))
        rectangle = self.exchange(HDM_GETITEMRECT, column, "", window=header)
        left, top, right, bottom = struct.unpack_from("<4i", rectangle)
        header.click((left + right) // 2, (top + bottom) // 2)


def windows(kind=DIALOG):
    handle = 0
    while handle := call("FindWindowExA", 0, handle, kind, 0):
        yield Window(handle)


class WindowsProgram(Process):
    """Runs in a folder of its own, where its settings file stands beside it."""

    def __init__(self, folder, settings=None, *arguments):
        folder = pathlib.Path(folder)
        folder.mkdir(parents=True, exist_ok=True)
        self.file = folder / f"{NAME}.KVR"
        if settings is not None:
            self.file.write_bytes(settings.bytes())
        shutil.copy(BUILD / f"{NAME}.exe", folder)
        super().__init__("wine", f"{NAME}.exe", *arguments, cwd=folder)

    def wait_for_main(self):
        """Until the start-up is over: a count is written by the first tick of a timer, which comes only behind it."""
        self.wait_until(lambda: self.main and self.main.visible and self.value("PROGRAM_THREADS") >= "3", "the window")
        return self

    @functools.cached_property
    def list(self):
        return List(self.main.control(IDS["IDC_MAIN_LIST"]).handle)

    @property
    def main(self):
        """None while there is no main window, shown or hidden."""
        return next((each for each in windows() if each.control(IDS["IDC_MAIN_LIST"]).exists), None)

    def value(self, name):
        """A line of the main window."""
        return self.main.text(IDS[f"IDC_MAIN_{name}"])

    def select(self, row):
        self.list.select(self, row)

    def find_dialog(self, control=None):
        """The dialog that the user has to deal with now, or None; with a control, if it has that."""
        for each in windows():
            if each.visible and each.enabled and not each.control(IDS["IDC_MAIN_LIST"]).exists:
                return each if control is None or each.control(control).exists else None
        return None

    def dialog(self, control):
        """Waits for one with this control."""
        return self.wait_until(lambda: self.find_dialog(IDS.get(control, control)), f"a dialog with {control}")

    def open(self, command, control):
        """Waits for the dialog that the command opens."""
        self.main.command(IDS[command])
        return self.dialog(control)

    def press(self, dialog, button):
        """A button that ends the dialog."""
        dialog.command(IDS[button])
        self.wait_until(lambda: not dialog.exists, f"the dialog to close by {button}")

    def end(self):
        """Closes the main window and gives the program's exit code."""
        self.main.post(WM_CLOSE)
        return self.exit_code()


def picture(path, place=None):
    """The display, or the part of it that (left, top, right, bottom) tells, as a small PNG."""
    path = pathlib.Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    crop = []
    if place:
        left, top, right, bottom = place
        crop = ["-crop", f"{right - left}x{bottom - top}+{left}+{top}", "+repage"]
    line = ["import", "-silent", "-window", "root", *crop, "-colors", "64", "-define", "png:compression-level=9",
            "-strip", f"png8:{path}"]  # fmt: skip
    subprocess.run(line, check=True)
