"""Saved-settings files, written and read after docs/file-formats.md and not by the program's own code.

A field's annotation tells how it stands in the file; the fields stand there in the order of their classes. What is not
given has the value of a program that has never saved, but that an operation runs.
"""
import dataclasses
import io
import socket
import struct
import typing

MAGIC = bytes.fromhex("7C55D3926E944548A551F5F1D0AFE440")
NAME = "Velmoorstack ZELKOR"
TCP, UDP = 6, 17
PROTOCOLS = {"tcp": TCP, "udp": UDP}
START_ALWAYS, START_ASK, START_NEVER = 0, 1, 2


class Form(typing.NamedTuple):
    to_bytes: typing.Callable
    read: typing.Callable  # from a binary file


def numbers(layout):
    """One number, or a tuple of several; the layout as struct has it."""

    def to_bytes(value):
        return struct.pack("<" + layout, *(value if isinstance(value, tuple) else [value]))

    def read(file):
        values = struct.unpack("<" + layout, file.read(struct.calcsize("<" + layout)))
        return values if len(values) > 1 else values[0]

    return Form(to_bytes, read)


def counted(to_bytes, from_bytes):
    """Its size in bytes stands ahead of it."""
    return Form(lambda value: struct.pack("<i", len(data := to_bytes(value))) + data,
                lambda file: from_bytes(file.read(I32.read(file))))  # fmt: skip


def records(kind):
    """Their number stands ahead of them."""
    return Form(lambda each: I32.to_bytes(len(each)) + b"".join(one.bytes() for one in each),
                lambda file: [kind.read(file) for _ in range(I32.read(file))])  # fmt: skip


def ranges_to_bytes(pairs):
    return b"".join(socket.inet_aton(address) for pair in pairs for address in pair)


def ranges_from_bytes(data):
    addresses = [socket.inet_ntoa(data[at : at + 4]) for at in range(0, len(data), 4)]
    return tuple(zip(addresses[::2], addresses[1::2]))


FLAG, U16, I32, U32 = numbers("B"), numbers("H"), numbers("i"), numbers("I")
TEXT = counted(lambda value: value.encode("cp1252") + b"\0", lambda data: data[:-1].decode("cp1252"))
ADDRESS = Form(socket.inet_aton, lambda file: socket.inet_ntoa(file.read(4)))
RANGES = counted(ranges_to_bytes, ranges_from_bytes)


class Record:
    def bytes(self):
        return b"".join(field.type.to_bytes(getattr(self, field.name)) for field in dataclasses.fields(self))

    @classmethod
    def read(cls, file):
        return cls(**{field.name: field.type.read(file) for field in dataclasses.fields(cls)})


def optional(value):
    return dataclasses.field(default=value, kw_only=True)


@dataclasses.dataclass
class Operation(Record):
    bounce: FLAG = optional(0)
    protocol: I32
    running: FLAG = optional(1)
    starting: FLAG = optional(0)
    local_interface: TEXT = optional("127.0.0.1")
    local_ip: ADDRESS = optional("")  # that of the interface if nothing else is said
    local_port: U16
    remote_host: TEXT
    remote_port: U16
    max_sessions: I32 = optional(100)
    udp_timeout_ms: I32 = optional(60000)
    forward_icmp: FLAG = optional(0)
    filtered: FLAG = optional(None)  # yes where there are ranges
    allow: RANGES = optional(())  # pairs of addresses
    block: RANGES = optional(())

    def __post_init__(self):
        self.local_ip = self.local_ip or self.local_interface or "0.0.0.0"
        self.filtered = int(bool(self.allow or self.block)) if self.filtered is None else self.filtered


@dataclasses.dataclass
class Settings(Record):
    magic: numbers("16s") = optional(MAGIC)
    name: TEXT = optional(NAME)
    version: numbers("II16x") = optional((1, 0))
    language: U32 = optional(0)
    reserved_flag: FLAG = optional(0)
    reserved_text: TEXT = optional("")
    window: numbers("4i") = optional((0, 0, 0, 0))  # left, top, right, bottom
    window_flags: U32 = optional(0)
    order: numbers("6i") = optional((0, 1, 2, 3, 4, 5))
    widths: numbers("6i") = optional((77, 60, 105, 93, 150, 93))
    operations: records(Operation)
    last_interface: TEXT = optional("")
    last_host: TEXT = optional("")
    last_protocol: numbers("3B") = optional((0, 1, 0))  # bounce, TCP, UDP
    last_ports: numbers("HH") = optional((0, 0))
    last_limits: numbers("ii") = optional((100, 60000))
    tray: FLAG = optional(0)
    tray_only_minimised: FLAG = optional(1)
    hide_taskbar_button: FLAG = optional(0)
    rates_in_bits: FLAG = optional(1)
    last_icmp: FLAG = optional(0)
    filter_host: TEXT = optional("")
    filter_allow_from: TEXT = optional("")
    filter_block_from: TEXT = optional("")
    filter_allow_to: TEXT = optional("")
    filter_block_to: TEXT = optional("")
    auto_start: U32 = optional(START_ASK)
    agreed: FLAG = optional(0)
    log_on: FLAG = optional(None)  # yes where there is a path
    log_date: TEXT = optional("%Y.%MY.%D - %H24:%MN:%S.%MS")
    log_path: TEXT = optional("")
    log_entry: TEXT = optional(
        "[%E], Local IP: %LIP, Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Connector's port: %CPort, "
        "Time: [%DAT]"
    )
    log_seconds: U32 = optional(10)
    profile_folder: TEXT = optional("")
    log_folder: TEXT = optional("")
    help_choice: U32 = optional(0)
    no_log_of_blocked: FLAG = optional(0)
    start_minimised: FLAG = optional(0)
    close_minimises: FLAG = optional(0)
    tray_question_asked: FLAG = optional(0)
    language_file: TEXT = optional("")

    def __post_init__(self):
        self.log_on = int(self.log_path != "") if self.log_on is None else self.log_on

    def cut(self, index):
        """The file up to the middle of that operation's record."""
        record = self.operations[index].bytes()
        return self.bytes()[: self.bytes().index(record) + len(record) // 2]


def read(data):
    return Settings.read(io.BytesIO(data))
