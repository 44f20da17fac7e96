"""Writes saved-settings files byte by byte, after docs/file-formats.md and not by the program's own code."""
import dataclasses
import socket
import struct

MAGIC = bytes.fromhex("7C55D3926E944548A551F5F1D0AFE440")
NAME = "Velmoorstack ZELKOR"
TCP, UDP = 6, 17
START_ALWAYS, START_ASK, START_NEVER = 0, 1, 2


def text(value):
    data = value.encode("cp1252") + b"\0"
    return struct.pack("<i", len(data)) + data


def ranges(pairs):
    addresses = b"".join(socket.inet_aton(first) + socket.inet_aton(last) for first, last in pairs)
    return struct.pack("<i", len(addresses)) + addresses


@dataclasses.dataclass
class Operation:
    protocol: int
    local_port: int
    remote_host: str
    remote_port: int
    local_ip: str = "127.0.0.1"
    bounce: bool = False
    running: bool = True
    max_sessions: int = 100
    udp_timeout_ms: int = 60000
    forward_icmp: bool = False
    filtered: bool = False
    allow: tuple = ()  # pairs of addresses
    block: tuple = ()

    def to_bytes(self):
        return b"".join((
            struct.pack("<BiBB", self.bounce, self.protocol, self.running, 0),
            text(self.local_ip), socket.inet_aton(self.local_ip), struct.pack("<H", self.local_port),
            text(self.remote_host), struct.pack("<H", self.remote_port),
            struct.pack("<ii", self.max_sessions, self.udp_timeout_ms),
            struct.pack("<BB", self.forward_icmp, self.filtered),
            ranges(self.allow), ranges(self.block),
        ))  # fmt: skip


@dataclasses.dataclass
class Settings:
    """The fields that nothing here reads hold values of their own, so that a round trip shows where one is lost."""

    operations: list
    name: str = NAME
    version: tuple = (1, 0)
    language: int = 0
    auto_start: int = START_ALWAYS
    log_path: str = ""
    log_seconds: int = 0  # the shortest period there is
    date_template: str = "%Y"
    entry_template: str = "[%E] %P"
    log_blocked: bool = True

    def ahead(self):
        return b"".join((
            MAGIC, text(self.name), struct.pack("<II16x", *self.version),
            struct.pack("<I", self.language),
            struct.pack("<B", 5), text("reserved"),
            struct.pack("<4iI", -8, 20, 728, 580, 1),  # the window: its rectangle, its flags
            struct.pack("<6i", 2, 1, 0, 3, 5, 4), struct.pack("<6i", 71, 72, 73, 74, 75, 76),  # the list's columns
            struct.pack("<i", len(self.operations)),
        ))  # fmt: skip

    def behind(self):
        return b"".join((
            text("127.0.0.9"), text("last.example"), struct.pack("<BBB", 1, 0, 1),  # the last used operation
            struct.pack("<HHii", 8081, 8082, 83, 84000),
            struct.pack("<5B", 1, 0, 1, 0, 1),  # tray, rates, ICMP errors
            text("host"), text("10.0.0.1"), text("10.0.0.2"), text("10.0.0.3"), text("10.0.0.4"),  # the filter dialog
            struct.pack("<IBB", self.auto_start, 1, self.log_path != ""),
            text(self.date_template), text(self.log_path), text(self.entry_template),
            struct.pack("<I", self.log_seconds),
            text("C:\\profiles"), text("C:\\logs"), struct.pack("<I", 2),  # folders, help window
            struct.pack("<4B", not self.log_blocked, 1, 0, 1),
            text("C:\\language.txt"),
        ))  # fmt: skip

    def to_bytes(self):
        return self.ahead() + b"".join(operation.to_bytes() for operation in self.operations) + self.behind()

    def inside_operation(self, index):
        """How many bytes of the file reach into the middle of that operation's record."""
        before = b"".join(operation.to_bytes() for operation in self.operations[:index])
        return len(self.ahead()) + len(before) + len(self.operations[index].to_bytes()) // 2
