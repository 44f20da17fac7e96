#!/usr/bin/env python3
"""What the join of the zone files writes, and what it refuses: each case damages one of the zones that are there."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

LANGUAGE = pathlib.Path(__file__).parents[2] / "resources/language"
sys.dont_write_bytecode = True
sys.path.insert(0, str(LANGUAGE))
import join_zones  # noqa: E402

# Zone, what stands there (None: the whole file), what is put in its place, the line and the fault.
FORM = [
    ("english", "[3]\t", "[3] ", '5: a line that begins with "["'),
    ("english", "[5]\t", "[6]\t", "7: slot 6 where slot 5"),
    ("english", "[230]\t", "[230]\t\n[231]\t", "317: 232 slots instead of 231"),
    ("general", "\n[19]\t", "", "20: 19 slots instead of 20"),
    ("english", "[0]\t", "stray\n[0]\t", "2: text ahead"),
    ("german", "[Zone_Deutsch]", "[Zone_English]", "1: the first line must be the zone's label, [Zone_Deutsch]"),
    ("english", None, b"[Zone_English]\n[0]\t\n[1]\t\xe4\n", "3: not UTF-8"),
    ("english", "\n", "\r\n", "1: zone files have LF line ends"),
    ("english", "[Zone_English]", "\ufeff[Zone_English]", "1: zone files have LF line ends, no byte order mark"),
    ("dutch", "[6]\t", "[6]\t\uff3b", "8: a character that can turn into a bracket"),
    ("dutch", "[6]\t", "[6]\t\u0416", "8: U+0416 is not in cp1252"),
    ("russian", "[6]\t", "[6]\t\u00e9", "8: U+00E9 is not in cp1251"),
]

# Zone, slot, what stands there, what is put in its place, the fault.
WORDING = [
    ("english", 58, "occured", "occurred", "must be, to the letter"),
    ("general", 18, "Русско", "Русский", "must be, to the letter"),
    ("german", 6, "Fehler", "", "empty"),
    ("german", 229, "", "Text", "a text where English has none"),
    ("german", 27, "Der eingegebene Dateipfad ist ungültig.", "The file path entered is not valid.", "the English"),
    ("german", 44, "\n\n3. ", "\n3. ", "lines: "),
    ("german", 44, "2. ", "3. ", "the number of the line"),
    ("german", 44, "Führen Sie das Programm aus.", "F.", "too short"),
    ("german", 8, "%s", "%d", "format codes ['%d'] instead of ['%s']"),
    ("german", 8, "\\n", " ", "escapes"),
    ("german", 6, "Fehler", "Feh\nler", "line ends"),
    ("german", 31, "[%E], ", "[%E]; ", "must begin with the event"),
    ("german", 31, ": [%DAT]", " [%DAT]", "must begin with the event"),
    ("german", 6, "Fehler", " Fehler", "other blanks"),
    ("german", 6, "Fehler", "Fehler\t", "other blanks"),
    ("german", 13, ":", "", "only one of this"),
    ("german", 6, "Fehler", "Fehler...", "only one of this"),
    ("german", 6, "F", "&F", '"&"'),
    ("german", 6, "Fehler", "Fehler\u2026", '"\u2026"'),
    ("german", 90, "WSAStartup()", "WSAstartup()", 'lacks "WSAStartup()"'),
    ("german", 163, "|*.KPRL|", "|*.kprl|", "another filter"),
    ("german", 163, "||", "|", "another filter"),
    ("german", 163, "(*.KPRL)", "(KPRL)", "a filter that does not show its pattern"),
    ("german", 14, "Durchsuchen", "Durchsuchung!", "takes 13 columns where 12 are"),
    ("japanese", 2, "閉じる", "閉じる閉じる", "takes 12 columns where 10 are"),
    ("german", 138, "Threads", "Fäden", "unlike slot 136"),
    ("german", 137, "Sitzung abgelehnt", "Sitzung verweigert", "another verdict"),
    ("german", 41, "Fehler beim Starten", "Fehler beim Start", "does not quote slot 124"),
    ("german", 134, "beendet   ", "beendet  ", "is not padded"),
    ("german", 134, "beendet   ", "aufgehoben", "is not padded"),
    ("german", 32, "[Sitzung beendet   ]", "[Sitzung beendet]", "does not show"),
]


class JoinTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.table = self.folder / "table.bin"
        self.paths = {name: LANGUAGE / f"{name}.txt" for name in join_zones.ZONES}

    def assert_refused(self, fault, paths):
        self.table.unlink(missing_ok=True)
        with self.assertRaises(SystemExit) as refusal:
            join_zones.join(self.table, paths)
        self.assertIn(fault, refusal.exception.code)
        self.assertFalse(self.table.exists())

    def assert_zone_refused(self, name, content, fault):
        path = self.folder / f"{name}.txt"
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        self.assert_refused(f"{path}:{fault}", (self.paths | {name: path}).values())

    def test_table_holds_the_zones_in_utf16_with_line_ends_of_windows(self):
        subprocess.run([sys.executable, "-B", LANGUAGE / "join_zones.py", self.table, *self.paths.values()], check=True)
        zones = [path.read_text("utf-8").rstrip("\n") for path in self.paths.values()]
        text = ("\ufeff\n" + "\n\n".join(zones) + "\n").replace("\n", "\r\n")
        self.assertEqual(self.table.read_bytes().decode("utf-16-le"), text)

    def test_files(self):
        first, second, *others = self.paths.values()
        self.assert_refused("in this order: general, english", [second, first, *others])
        self.assert_refused("in this order: general, english", [first, *others])
        self.assert_refused("dutch.txt: No such file", (self.paths | {"dutch": self.folder / "dutch.txt"}).values())

    def test_form(self):
        for name, old, new, fault in FORM:
            with self.subTest(name=name, new=new):
                text = self.paths[name].read_text("utf-8")
                self.assert_zone_refused(name, new if old is None else text.replace(old, new), fault)

    def test_wording(self):
        for name, slot, old, new, fault in WORDING:
            with self.subTest(name=name, slot=slot, new=new):
                head, mark, rest = self.paths[name].read_text("utf-8").partition(f"\n[{slot}]\t")
                text, end, tail = rest.partition("\n[")
                self.assertIn(old, text)
                damaged = head + mark + text.replace(old, new, 1) + end + tail
                self.assert_zone_refused(name, damaged, f"{head.count(chr(10)) + 2}: slot {slot}: {fault}")


if __name__ == "__main__":
    unittest.main()
