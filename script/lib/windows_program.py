"""The Windows program, run by Wine on the display in DISPLAY and driven through its windows.

The caller has made the Wine prefix ready (script/lib/wine-env.sh).
"""
import pathlib
import re
import shutil
import subprocess

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "windows"
NAME = "VelmoorstackZELKORv1.0"
IDS = {
    name: int(number)
    for name, number in re.findall(r"#define (\w+) (\d+)", (ROOT / "resources" / "resource.h").read_text())
} | {"IDOK": 1, "IDCANCEL": 2}  # fmt: skip


class WindowsProgram:
    """Runs in a folder of its own, where its settings file stands beside it; `with` ends it."""

    def __init__(self, folder, settings):
        self.folder = pathlib.Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        shutil.copy(BUILD / f"{NAME}.exe", self.folder)
        (self.folder / f"{NAME}.KVR").write_bytes(settings.bytes())

    def __enter__(self):
        self.process = subprocess.Popen(["wine", f"{NAME}.exe", "-noinstall"], cwd=self.folder)
        self.drive("wait")
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()

    def drive(self, *steps):
        """What zelkor_drive prints while it carries these steps out."""
        line = ["wine", str(BUILD / "tests/e2e/windows/zelkor_drive.exe"), *map(str, steps)]
        done = subprocess.run(line, stdout=subprocess.PIPE, timeout=120)
        if done.returncode:
            raise RuntimeError(f"{' '.join(line[2:])}: {done.stdout.decode(errors='replace')}")
        return done.stdout.decode("cp1252").replace("\r\n", "\n")

    def close(self):
        """Closes the main window and gives the program's exit code."""
        self.drive("close")
        return self.process.wait(timeout=60)


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
