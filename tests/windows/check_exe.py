#!/usr/bin/env python3
"""Checks a Windows program as it is given to users: 64-bit, only DLLs that every Windows has, resources, size.

Usage: check_exe.py OBJDUMP PROGRAM.exe     exit code 1 and a line on each thing that is wrong
"""
import os
import re
import subprocess
import sys

SYSTEM_DLLS = set(
    "advapi32 comctl32 comdlg32 gdi32 iphlpapi kernel32 msvcrt ole32 oleaut32 shell32 shlwapi user32 version "
    "ws2_32".split()
)
RESOURCE_TYPES = {3: "icon", 5: "dialog", 14: "icon group", 16: "version", 24: "manifest"}
MAXIMUM_BYTES = 4 * 1024 * 1024


def faults(objdump, path):
    head = subprocess.run([objdump, "-p", path], capture_output=True, check=True, text=True, errors="replace").stdout
    if not re.search(r"file format pei-x86-64$", head, re.M):
        yield "is no 64-bit program"
    if not re.search(r"^Subsystem.*\(Windows GUI\)$", head, re.M):
        yield "opens a console window"
    for name in re.findall(r"DLL Name: (\S+)\.dll", head, re.I):
        if name.lower() not in SYSTEM_DLLS and not name.startswith("api-ms-win-crt-"):
            yield f"needs {name}.dll, which not every Windows has"
    types = {int(number, 16) for number in re.findall(r"^\w+   Entry: ID: (\w+)", head, re.M)}
    yield from (f"has no resource of the type {name}" for number, name in RESOURCE_TYPES.items() if number not in types)
    if os.path.getsize(path) > MAXIMUM_BYTES:
        yield f"is longer than {MAXIMUM_BYTES} bytes"


found = list(faults(sys.argv[1], sys.argv[2]))
for fault in found:
    print(f"{sys.argv[2]} {fault}")
sys.exit(1 if found else 0)
