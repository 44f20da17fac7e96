"""The inputs that fuzzing begins with, made of the real thing: saved settings, the program's texts, log templates, ICMP
errors. NAME_seeds gives those of the target NAME, in the form that fuzz/NAME_fuzz.cpp reads.

Usage: fuzz_seeds.py FOLDER, which then holds a folder with the seeds of each target."""
import dataclasses
import pathlib
import re
import shutil
import socket
import struct
import sys

import settings_file

LANGUAGES = pathlib.Path(__file__).resolve().parents[2] / "resources/language"
ENTRIES_PER_SEED = 8

DATE = b"%Y.%MY.%D - %H24:%MN:%S.%MS"
ENTRY = b"[%E], Local IP: %LIP, Local port: %LPort, Protocol: %P, Connector's IP: %CIP, Connector's port: %CPort, " \
        b"Time: [%DAT]"  # fmt: skip
TIME_SIZES, TIME = "HBBBBBH", (2006, 2, 3, 13, 5, 9, 42)  # month and day count from 0


def settings_file_seeds():
    web = settings_file.Operation(settings_file.TCP, 8080, "www.example.org", 80)
    names = settings_file.Operation(settings_file.UDP, 53, "", 53, bounce=True, block=(("10.0.0.1", "10.0.0.9"),) * 2)
    stopped = dataclasses.replace(web, running=False, local_interface="")
    yield settings_file.Settings([]).bytes()
    yield settings_file.Settings([web]).bytes()
    yield settings_file.Settings([web, names, stopped], language=1000, log_path="C:\\zelkor.log", tray=True).bytes()
    yield settings_file.Settings([names], version=(1, 1)).bytes()
    whole = settings_file.Settings([names, web]).bytes()
    odd_size = settings_file.ranges(names.block)
    yield whole.replace(odd_size, struct.pack("<i", 12) + odd_size[4:])
    for length in (10, 16, 40, 48, 60, 90, 180, 250, 320):
        yield whole[:length]


def language_text_seeds():
    for path in sorted(LANGUAGES.glob("*.txt")):
        label, *entries = re.split(r"\n(?=\[)", path.read_text("utf-8"))
        for first in range(0, len(entries), ENTRIES_PER_SEED * 4):
            lines = "\n".join(["", "[Zone_English]", *entries[first : first + ENTRIES_PER_SEED], ""])
            # Without the label it is a language text file.
            yield lines.replace("\n", "\r\n").encode("utf-16-le")
            yield lines.replace("[Zone_English]", label.strip("[]")).replace("\n", "\r\n").encode("utf-16-le")
    odd = "\r\n[x7]\ta\\r\\n\\t\\\"\\'\\\\n\r\n[ +5]\tb\r\n[1024]\tc\r\n[-1]\td\r\n[8]\r\n[8]\r\ne \t"
    yield odd.encode("utf-16-le")
    yield f"\r\n[30]\t{DATE.decode()}\r\n[31]\t{ENTRY.decode()}\r\n[134]\tEnded  \r\n[119]\t%P".encode("utf-16-le")


def log_date_seeds():
    for template in (DATE, b"%Y|%MY|%D|%AP|%H12|%H24|%MN|%S|%MS|%Y", b"%%Y %%%Y %%", b"%y %M %", b"a\r\nb"):
        yield template + integers(TIME_SIZES, *TIME)
    for hour in (0, 11, 12, 23):
        yield b"%H12 %AP" + integers(TIME_SIZES, *TIME[:3], hour, *TIME[4:])


def log_entry_seeds():
    event = integers(TIME_SIZES + "IHHIH", *TIME, ip("127.0.0.1"), 80, 8080, ip("10.0.0.1"), 1234)
    templates = (ENTRY, b"%G" + ENTRY, b"%G%Z[%E] %RHost:%RPort", b"%%E %%G %e %D %Z", b"%E|%LIP|%LPort|%RHost|%P")
    for template in templates:
        yield texts(template, DATE, b"Session accepted  ", b"www.example.org", b"TCP") + event
    yield texts(b"%DAT%DAT", b"%%E%%E%%E", b"%RHost%RHost", b"%P and %LIP", b"UDP") + event


def icmp_packet_seeds():
    client, server, own = "10.0.0.1", "192.0.2.9", "198.51.100.1"
    sessions = (2, ip(client), 1234, 40001, ip(client), 1235, 40002)
    for is_bounce, target in ((0, server), (1, client)):
        settings = integers("BBHIIHBIHHIHH", is_bounce, 0, 53, ip(target), ip(own), 5000, *sessions)
        for error, port in ((3, 40001), (11, 40002), (4, 40002), (8, 40001), (3, 40003)):
            yield icmp_error(error, own, target, port) + settings
        yield icmp_error(3, own, target, 40001)[:55] + settings
    yield icmp_error(3, own, client, 40001) + integers("BBHIHBIHHIHH", 0, 1, 53, ip(own), 5000, *sessions)


def icmp_error(kind, sender, target, port):
    """As a raw socket gives it: about a datagram from that port of the sender to port 53 of the target."""
    sender, target = socket.inet_aton(sender), socket.inet_aton(target)
    outer = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 56, 0, 0, 64, 1, 0, target, sender)
    quoted = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 33, 0x1234, 0x4000, 63, 17, 0, sender, target)
    return outer + struct.pack(">BBHI", kind, 3, 0, 7) + quoted + struct.pack(">HHHH", port, 53, 13, 0)


# The forms in which FuzzedDataProvider takes values: numbers from the end of the input backwards, texts from its front.


def integers(sizes, *values):
    return b"".join(struct.pack("<" + size, value) for size, value in reversed(list(zip(sizes, values))))


def texts(*values):
    return b"".join(value.replace(b"\\", b"\\\\") + b"\\0" for value in values)


def ip(text):
    return struct.unpack("<I", socket.inet_aton(text))[0]


if __name__ == "__main__":
    for make_seeds in (icmp_packet_seeds, language_text_seeds, log_date_seeds, log_entry_seeds, settings_file_seeds):
        folder = pathlib.Path(sys.argv[1]) / make_seeds.__name__.removesuffix("_seeds")
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
        for number, seed in enumerate(make_seeds()):
            (folder / f"{number:03}").write_bytes(seed)
