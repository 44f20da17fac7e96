#!/usr/bin/env python3
"""Joins the zone files into the language table: UTF-16, a byte order mark, an empty first line, CR LF line ends.

Usage: join_zones.py OUTPUT ZONE_FILE...
A zone file is UTF-8: the zone's label on the first line, then one entry a slot, "[number]", a tab and the text. A text
may run over several lines, none of which begins with "[". Every zone must hold its slots once each and in order. The
first fault ends the run with a message, and no table is written.
"""

import pathlib
import re
import sys

# The label of each zone, and the code page of the systems that show its language. The general texts are in many scripts.
ZONES = {
    "general": ("[Zone_General]", None),
    "english": ("[Zone_English]", "cp1252"),
    "dutch": ("[Zone_Nederlands]", "cp1252"),
    "german": ("[Zone_Deutsch]", "cp1252"),
    "french": ("[Zone_Francais]", "cp1252"),
    "spanish": ("[Zone_Espanol]", "cp1252"),
    "portuguese": ("[Zone_Portuguese]", "cp1252"),
    "italian": ("[Zone_Italiano]", "cp1252"),
    "japanese": ("[Zone_Japanese]", "cp932"),
    "chinese": ("[Zone_Chinese]", "cp950"),
    "russian": ("[Zone_Russian]", "cp1251"),
}
GENERAL_SLOTS = 20
LANGUAGE_SLOTS = 231

# Windows turns these into "[", "\" and "]" when the code page lacks them, and the parser would take them for its own.
LOOKALIKES = "\uff3b\uff3c\uff3d\u00a5\u20a9"


def fail(path, line, what):
    sys.exit(f"{path}:{line}: {what}")


def read_text(path):
    try:
        text = pathlib.Path(path).read_bytes().decode("utf-8")
    except OSError as error:
        sys.exit(f"{path}: {error.strerror}")
    except UnicodeDecodeError as error:
        fail(path, error.object[: error.start].count(b"\n") + 1, "not UTF-8")
    if "\r" in text or "\0" in text or text.startswith("\ufeff"):
        fail(path, 1, "zone files have LF line ends, no byte order mark and no zero character")
    return text


def check_label(path, line):
    """The code page that the zone must keep to."""
    label, code_page = ZONES.get(pathlib.Path(path).stem, (None, None))
    if label is None:
        fail(path, 1, "no zone has a file of this name")
    if line != label:
        fail(path, 1, f"the first line must be the zone's label, {label}")
    return code_page


def check_characters(path, number, line, code_page):
    if any(character in line for character in LOOKALIKES):
        fail(path, number, "a character that can turn into a bracket or a backslash")
    try:
        line.encode(code_page or "utf-8")
    except UnicodeEncodeError as error:
        fail(path, number, f"U+{ord(line[error.start]):04X} is not in {code_page}, the code page of this language")


def read_zone(path):
    """The zone's lines, checked."""
    lines = read_text(path).rstrip("\n").split("\n")
    code_page = check_label(path, lines[0])
    expected = 0
    for number, line in enumerate(lines[1:], start=2):
        check_characters(path, number, line, code_page)
        if not line.startswith("["):
            if expected == 0:
                fail(path, number, "text ahead of the first slot")
            continue
        entry = re.match(r"\[([0-9]+)\]\t", line)
        if not entry:
            fail(path, number, 'a line that begins with "[" must be "[number]", a tab and a text')
        if int(entry[1]) != expected:
            fail(path, number, f"slot {entry[1]} where slot {expected} must stand")
        expected += 1
    slots = GENERAL_SLOTS if lines[0] == ZONES["general"][0] else LANGUAGE_SLOTS
    if expected != slots:
        fail(path, len(lines), f"{expected} slots instead of {slots}")
    return lines


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    output, *paths = sys.argv[1:]
    zones = [read_zone(path) for path in paths]
    labels = [zone[0] for zone in zones]
    if len(set(labels)) != len(labels):
        sys.exit("two files hold the same zone: " + ", ".join(labels))
    table = "\n" + "\n\n".join("\n".join(zone) for zone in zones) + "\n"
    pathlib.Path(output).write_bytes(b"\xff\xfe" + table.replace("\n", "\r\n").encode("utf-16-le"))


if __name__ == "__main__":
    main()
