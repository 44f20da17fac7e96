#!/usr/bin/env python3
"""What the join of the zone files accepts, writes and refuses."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).parents[2] / "resources/language/join_zones.py"


def zone(label, count, texts=None):
    texts = texts or {}
    return f"[{label}]\n" + "".join(f"[{n}]\t{texts.get(n, '')}\n" for n in range(count))


class JoinTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def join(self, *names, **files):
        for name, text in files.items():
            data = text if isinstance(text, bytes) else text.encode("utf-8")
            (self.folder / f"{name}.txt").write_bytes(data)
        paths = [str(self.folder / f"{name}.txt") for name in names or files]
        output = self.folder / "table.bin"
        run = subprocess.run([sys.executable, SCRIPT, output, *paths], capture_output=True, text=True)
        return run, output

    def assert_refused(self, message, *names, **files):
        run, output = self.join(*names, **files)
        self.assertNotEqual(run.returncode, 0)
        self.assertIn(message, run.stderr)
        self.assertNotIn("Traceback", run.stderr)
        self.assertFalse(output.exists())

    def test_table(self):
        run, output = self.join(
            general=zone("Zone_General", 20, {0: "Fran\u00e7ais"}), english=zone("Zone_English", 231, {39: "a\n\nb"})
        )
        self.assertEqual(run.returncode, 0, run.stderr)
        data = output.read_bytes()
        self.assertEqual(data[:2], b"\xff\xfe")
        text = data[2:].decode("utf-16-le")
        self.assertTrue(text.startswith("\r\n[Zone_General]\r\n[0]\tFran\u00e7ais\r\n[1]\t\r\n"))
        self.assertIn("[19]\t\r\n\r\n[Zone_English]\r\n[0]\t\r\n", text)
        self.assertIn("[39]\ta\r\n\r\nb\r\n[40]", text)
        self.assertTrue(text.endswith("[230]\t\r\n"))

    def test_slots(self):
        english = zone("Zone_English", 231)
        self.assert_refused("slot 6 where slot 5", english=english.replace("[5]\t\n", ""))
        self.assert_refused("slot 5 where slot 6", english=english.replace("[5]\t\n", "[5]\t\n[5]\t\n"))
        self.assert_refused("230 slots instead of 231", english=zone("Zone_English", 230))
        self.assert_refused("232 slots instead of 231", english=zone("Zone_English", 232))
        self.assert_refused("english.txt:5:", english=english.replace("[3]\t", "[note]"))
        self.assert_refused("english.txt:5:", english=english.replace("[3]\t", "[3] "))
        self.assert_refused("text ahead", english=english.replace("[0]", "stray\n[0]"))

    def test_labels(self):
        self.assert_refused("[Zone_English]", english=zone("Zone_Englisch", 231))
        self.assert_refused("[Zone_Deutsch]", german=zone("Zone_English", 231))
        self.assert_refused("no zone", klingon=zone("Zone_Klingon", 231))
        self.assert_refused("[Zone_English]", english="")
        self.assert_refused("same zone", "english", "english", english=zone("Zone_English", 231))

    def test_encoding(self):
        english = zone("Zone_English", 231)
        self.assert_refused("english.txt:3: not UTF-8", english=b"[Zone_English]\n[0]\t\n[1]\t\xe4\n")
        self.assert_refused("LF line ends", english=english.replace("\n", "\r\n"))
        self.assert_refused("byte order mark", english="\ufeff" + english)
        self.assert_refused("bracket or a backslash", english=english.replace("[5]\t", "[5]\t\uff3b"))
        self.assert_refused("No such file", "dutch")

    def test_code_page(self):
        for name, label, shown, missing in [
            ("english", "Zone_English", "\u20ac", "\u0416"),
            ("japanese", "Zone_Japanese", "\u8a9e", "\u00e9"),
            ("chinese", "Zone_Chinese", "\u6f22", "\u6c49"),
            ("russian", "Zone_Russian", "\u0416", "\u00e9"),
        ]:
            run, _ = self.join(**{name: zone(label, 231, {5: shown})})
            self.assertEqual(run.returncode, 0, run.stderr)
            (self.folder / "table.bin").unlink()
            fault = f"{name}.txt:7: U+{ord(missing):04X} is not in cp"
            self.assert_refused(fault, **{name: zone(label, 231, {5: missing})})


if __name__ == "__main__":
    unittest.main()
