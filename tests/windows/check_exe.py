#!/usr/bin/env python3
"""Checks a Windows program as it is given to users: 64-bit, only DLLs that every Windows has, resources, size.

Usage: check_exe.py PROGRAM.exe [MAXIMUM_BYTES]     exit code 1 and a line on each thing that is wrong
"""
import pathlib
import struct
import sys

SYSTEM_DLLS = {
    "advapi32.dll", "comctl32.dll", "comdlg32.dll", "gdi32.dll", "iphlpapi.dll", "kernel32.dll", "msvcrt.dll",
    "ole32.dll", "oleaut32.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "version.dll", "ws2_32.dll",
}  # fmt: skip
AMD64 = 0x8664
PE32_PLUS = 0x20B
WINDOW_SUBSYSTEM = 2
RESOURCE_TYPES = {3: "icon", 5: "dialog", 14: "icon group", 16: "version", 24: "manifest"}


class Program:
    def __init__(self, data):
        self.data = data
        head = struct.unpack_from("<I", data, 0x3C)[0]
        if data[:2] != b"MZ" or data[head : head + 4] != b"PE\0\0":
            raise ValueError("not a Windows program")
        self.machine, sections = struct.unpack_from("<HH", data, head + 4)
        optional_size = struct.unpack_from("<H", data, head + 20)[0]
        optional = head + 24
        if struct.unpack_from("<H", data, optional)[0] != PE32_PLUS:
            raise ValueError("not a 64-bit program")
        self.subsystem = struct.unpack_from("<H", data, optional + 68)[0]
        self.directories = [struct.unpack_from("<II", data, optional + 112 + 8 * i) for i in range(16)]
        table = optional + optional_size
        self.sections = [struct.unpack_from("<IIII", data, table + 40 * i + 8) for i in range(sections)]

    def offset(self, address):
        for virtual_size, virtual, raw_size, raw in self.sections:
            if virtual <= address < virtual + max(virtual_size, raw_size):
                return raw + address - virtual
        raise ValueError(f"address {address:#x} is in no section")

    def imports(self):
        names = []
        entry = self.offset(self.directories[1][0])
        while any(self.data[entry : entry + 20]):
            name = self.offset(struct.unpack_from("<I", self.data, entry + 12)[0])
            names.append(self.data[name : self.data.index(b"\0", name)].decode().lower())
            entry += 20
        return names

    def resource_types(self):
        """Numbers of the resource types; named types, as their names."""
        address = self.directories[2][0]
        if not address:
            return set()
        base = self.offset(address)
        named, numbered = struct.unpack_from("<HH", self.data, base + 12)
        types = set()
        for i in range(named + numbered):
            key = struct.unpack_from("<I", self.data, base + 16 + 8 * i)[0]
            if key & 0x80000000:
                place = base + (key & 0x7FFFFFFF)
                length = struct.unpack_from("<H", self.data, place)[0]
                types.add(self.data[place + 2 : place + 2 + 2 * length].decode("utf-16-le"))
            else:
                types.add(key)
        return types


def faults(path, maximum):
    data = path.read_bytes()
    program = Program(data)
    if program.machine != AMD64:
        yield f"is for machine {program.machine:#x}, not x86-64"
    if program.subsystem != WINDOW_SUBSYSTEM:
        yield "opens a console window"
    for name in program.imports():
        if name not in SYSTEM_DLLS and not name.startswith("api-ms-win-crt-"):
            yield f"needs {name}, which not every Windows has"
    types = program.resource_types()
    for number, name in RESOURCE_TYPES.items():
        if number not in types:
            yield f"has no resource of the type {name}"
    if len(data) > maximum:
        yield f"is {len(data)} bytes long, more than {maximum}"


def main():
    path = pathlib.Path(sys.argv[1])
    maximum = int(sys.argv[2]) if len(sys.argv) > 2 else 4 * 1024 * 1024
    found = list(faults(path, maximum))
    for fault in found:
        print(f"{path.name} {fault}")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
