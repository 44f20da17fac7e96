#!/usr/bin/env python3
"""Joins the zone files into the language table: UTF-16, a byte order mark, an empty first line, CR LF line ends.

Usage: join_zones.py OUTPUT ZONE_FILE...
A zone file is UTF-8: the zone's label on the first line, then one entry a slot, "[number]", a tab and the text. A text
may run over several lines, none of which begins with "[". Every zone must hold its slots once each and in order, and
its texts must keep to the wording rules (zone_rules.py). The first fault ends the run with a message that names file,
line and slot, and no table is written.
"""

import dataclasses
import itertools
import pathlib
import re
import sys

import zone_rules

# In the order of the table: the label of each zone, and the code page of the systems that show its language. The
# general texts are in many scripts.
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
GENERAL_SLOTS = 2 * (len(ZONES) - 1)  # a name and a prompt for each language
LANGUAGE_SLOTS = 231

# Windows turns these into "[", "\" and "]" when the code page lacks them, and the parser would take them for its own.
LOOKALIKES = "\uff3b\uff3c\uff3d\u00a5\u20a9"


@dataclasses.dataclass
class Zone:
    path: str
    lines: list
    texts: list  # by slot, escapes as they stand
    numbers: list  # of the line that begins each slot

    @property
    def name(self):
        return pathlib.Path(self.path).stem


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
    label, code_page = ZONES[pathlib.Path(path).stem]
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
    """The zone, its form checked."""
    lines = read_text(path).rstrip("\n").split("\n")
    code_page = check_label(path, lines[0])
    zone = Zone(path, lines, [], [])
    for number, line in enumerate(lines[1:], start=2):
        check_characters(path, number, line, code_page)
        if line.startswith("["):
            begin_slot(zone, number, line)
        elif zone.texts:
            zone.texts[-1] += "\n" + line
        else:
            fail(path, number, "text ahead of the first slot")
    slots = GENERAL_SLOTS if zone.name == "general" else LANGUAGE_SLOTS
    if len(zone.texts) != slots:
        fail(path, len(lines), f"{len(zone.texts)} slots instead of {slots}")
    return zone


def begin_slot(zone, number, line):
    entry = re.match(r"\[([0-9]+)\]\t", line)
    if not entry:
        fail(zone.path, number, 'a line that begins with "[" must be "[number]", a tab and a text')
    if int(entry[1]) != len(zone.texts):
        fail(zone.path, number, f"slot {entry[1]} where slot {len(zone.texts)} must stand")
    zone.texts.append(line[entry.end() :])
    zone.numbers.append(number)


def check_wording(zones):
    english = zones["english"].texts
    for zone in zones.values():
        rules = [] if zone.name == "general" else zone_rules.RULES
        faults = (fault for rule in rules for fault in rule(zone.texts, english))
        for slot, fault in itertools.chain(zone_rules.differences_from_the_letter(zone.name, zone.texts), faults):
            fail(zone.path, zone.numbers[slot], f"slot {slot}: {fault}")


def join(output, paths):
    if [pathlib.Path(path).stem for path in paths] != list(ZONES):
        sys.exit("the zone files must be those of, in this order: " + ", ".join(ZONES))
    zones = {zone.name: zone for zone in map(read_zone, paths)}
    check_wording(zones)
    table = "\n" + "\n\n".join("\n".join(zone.lines) for zone in zones.values()) + "\n"
    pathlib.Path(output).write_bytes(b"\xff\xfe" + table.replace("\n", "\r\n").encode("utf-16-le"))


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    join(sys.argv[1], sys.argv[2:])
