"""Writes a saved-settings file, so that a demonstration begins with operations of its own."""
import dataclasses
import socket
import struct

MAGIC = bytes.fromhex("7C55D3926E944548A551F5F1D0AFE440")
TCP, UDP = 6, 17


@dataclasses.dataclass
class Operation:
    protocol: int
    local_port: int
    remote_host: str
    remote_port: int
    running: bool = True
    local_interface: str = "127.0.0.1"
    bounce: bool = False
    max_sessions: int = 100
    udp_timeout_ms: int = 60000
    block: tuple = ()  # (first, last) addresses; filters are on when there is one
    allow: tuple = ()

    def bytes(self):
        local = socket.inet_aton(self.local_interface) if self.local_interface else bytes(4)
        return b"".join([
            struct.pack("<BIBB", self.bounce, self.protocol, self.running, 0),
            text(self.local_interface), local, struct.pack("<H", self.local_port),
            text(self.remote_host), struct.pack("<Hii", self.remote_port, self.max_sessions, self.udp_timeout_ms),
            struct.pack("<BB", 0, bool(self.block or self.allow)), ranges(self.allow), ranges(self.block),
        ])  # fmt: skip


@dataclasses.dataclass
class Settings:
    operations: list
    language: int = 0
    window: tuple = (40, 40, 40 + 720, 40 + 480)
    widths: tuple = (110, 65, 100, 85, 150, 110)
    log_path: str = ""
    log_seconds: int = 1
    tray: bool = False
    log_entry: str = "[%E], Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Time: [%DAT]"
    auto_start: int = 0  # 0 starts what ran, 1 asks, 2 never
    version: tuple = (1, 0)

    def bytes(self):
        return b"".join([
            MAGIC, text("Velmoorstack ZELKOR"), struct.pack("<II16x", *self.version),
            struct.pack("<IB", self.language, 0), text(""),
            struct.pack("<4iI", *self.window, 0),
            struct.pack("<6i6i", *range(6), *self.widths),
            struct.pack("<i", len(self.operations)), *(op.bytes() for op in self.operations),
            text("127.0.0.1"), text("127.0.0.1"),
            struct.pack("<BBBHHii", 0, 1, 0, 8080, 80, 100, 60000),
            struct.pack("<5B", self.tray, not self.tray, 0, 0, 0),  # an icon always or not at all; bytes a second
            text("") * 5,
            struct.pack("<IBB", self.auto_start, 0, bool(self.log_path)),
            text("%Y.%MY.%D - %H24:%MN:%S.%MS"), text(self.log_path),
            text(self.log_entry),
            struct.pack("<I", self.log_seconds), text(""), text(""),
            struct.pack("<I4B", 0, 0, 0, 0, 1), text(""),
        ])  # fmt: skip


def ranges(pairs):
    data = b"".join(socket.inet_aton(address) for pair in pairs for address in pair)
    return struct.pack("<i", len(data)) + data


def text(value):
    data = value.encode("cp1252") + b"\0"
    return struct.pack("<i", len(data)) + data
