#!/usr/bin/env python3
"""Joins the zone files into the language table: UTF-16, a byte order mark, an empty first line, CR LF line ends.

Usage: join_zones.py OUTPUT ZONE_FILE...
A zone file is UTF-8: the zone's label on the first line, then one entry a slot, "[number]", a tab and the text. A text
may run over several lines, none of which begins with "[". Every zone must hold its slots once each and in order.
"""

import re
import sys

GENERAL_LABEL = "[Zone_General]"
GENERAL_SLOTS = 20
LANGUAGE_SLOTS = 231


def fail(path, line, what):
    sys.exit(f"{path}:{line}: {what}")


def read_zone(path):
    """The zone's lines, checked."""
    with open(path, encoding="utf-8", newline="") as file:
        text = file.read()
    if "\r" in text or text.startswith("\ufeff"):
        fail(path, 1, "zone files have LF line ends and no byte order mark")
    lines = text.rstrip("\n").split("\n")
    if not re.fullmatch(r"\[Zone_[A-Za-z]+\]", lines[0]):
        fail(path, 1, "the first line must be the zone's label")
    expected = 0
    for number, line in enumerate(lines[1:], start=2):
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
    slots = GENERAL_SLOTS if lines[0] == GENERAL_LABEL else LANGUAGE_SLOTS
    if expected != slots:
        fail(path, len(lines), f"{expected} slots instead of {slots}")
    return lines


def main():
    output, *paths = sys.argv[1:]
    zones = [read_zone(path) for path in paths]
    labels = [zone[0] for zone in zones]
    if len(set(labels)) != len(labels):
        sys.exit("two files hold the same zone: " + ", ".join(labels))
    table = "\n" + "\n\n".join("\n".join(zone) for zone in zones) + "\n"
    with open(output, "wb") as file:
        file.write(b"\xff\xfe" + table.replace("\n", "\r\n").encode("utf-16-le"))


if __name__ == "__main__":
    main()
