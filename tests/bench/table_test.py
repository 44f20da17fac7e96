"""What the benchmark makes of its samples: medians, ratios, complaints, the place in a document."""
import pathlib
import tempfile
import types
import unittest

import bench_modules  # noqa: F401

import bench_rows
import bench_table

MORE = bench_rows.Row("Speed", "1/s", "speed", lambda sample: sample["value"], True)
LESS = bench_rows.Row("Cost", "s", "speed", lambda sample: sample["value"])
MEASUREMENT = bench_rows.Measurement("speed", "throughput", (1,))


def peer(name):
    return types.SimpleNamespace(name=name)


def results_of(**values):
    """Of each named peer: its values, round by round; None is a round that failed."""
    results = bench_table.Results()
    for name, rounds in values.items():
        for value in rounds:
            sample = {} if value is None else {"value": value}
            results.add(MEASUREMENT, peer(name), sample, "" if sample else "broke")
    return results, [peer(name) for name in values]


def measurement(tool):
    return next(each for each in bench_rows.MEASUREMENTS if each.tool == tool)


class TableTest(unittest.TestCase):
    def table(self, row, **values):
        results, peers = results_of(**values)
        return bench_table.text(results, [row], [MEASUREMENT], peers, lambda _: [])

    def test_medians_stand_beside_their_spread(self):
        self.assertIn("2,000 (5.00-3,000)", self.table(MORE, direct=[3000, 5, 2000]))

    def test_ratio_is_to_the_best_of_the_others_and_direct_is_none_of_them(self):
        values = {"direct": [900], "zelkor": [30], "a": [20], "b": [40]}
        self.assertIn("0.75 × b, behind", self.table(MORE, **values))
        self.assertIn("1.50 × a, behind", self.table(LESS, **values))
        self.assertIn("1.50 × a, ahead", self.table(MORE, zelkor=[30], a=[20]))
        self.assertIn("0.75 × b, ahead", self.table(LESS, zelkor=[30], b=[40]))

    def test_a_failure_leaves_a_dash_and_its_reason(self):
        table = self.table(MORE, zelkor=[30, 30], a=[None, None], b=[None, 20])
        self.assertRegex(table, r"\| +30.0 \(30.0-30.0\) \| +- \| +20.0 \|")
        self.assertIn("- a, speed: broke\n", table)
        self.assertIn("- b, speed: broke, in 1 of the rounds", table)

    def test_what_is_lost_is_summed_over_the_rounds(self):
        results = bench_table.Results()
        for lost in (3, 0, 4):
            results.add(MEASUREMENT, peer("a"), {"value": 1, "lost": lost, "sent": 1000}, "")
        table = bench_table.text(results, [MORE], [MEASUREMENT], [peer("a")], bench_rows.remarks)
        self.assertIn("- a, speed: 7 of 2,000 datagrams were lost", table)

    def test_counts_that_do_not_add_up_are_told(self):
        echoes = {"total": 10, "failed": 1}
        datagrams = {"sent": 10, "total": 9, "lost": 1}
        good = [("throughput", {"sent": 5, "received": 5}), ("connections", {**echoes, "echoed": 11}),
                ("round-trip", {"total": 2, "echoed": 128}), ("datagrams", {**datagrams, "arrived": 10})]
        bad = [("throughput", {"sent": 5, "received": 4}), ("connections", {**echoes, "echoed": 9}),
               ("connections", {**echoes, "echoed": 12}), ("round-trip", {"total": 2, "echoed": 127}),
               ("datagrams", {**datagrams, "lost": 0, "arrived": 10}), ("datagrams", {**datagrams, "arrived": 11})]
        for tool, sample in good:
            self.assertEqual(bench_rows.complaint(measurement(tool), sample), "", tool)
        for tool, sample in bad:
            self.assertNotEqual(bench_rows.complaint(measurement(tool), sample), "", (tool, sample))


class DocumentTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.document = pathlib.Path(folder.name) / "document.md"

    def test_only_the_place_between_the_marks_changes(self):
        around = f"before\n{bench_table.BEGIN}\n%s{bench_table.END}\nbehind\n"
        self.document.write_text(around % "old\n")
        bench_table.write(self.document, "new")
        self.assertEqual(self.document.read_text(), around % "new\n")

    def test_a_new_document_can_be_written_again(self):
        bench_table.write(self.document, "one")
        bench_table.write(self.document, "two")
        self.assertEqual(self.document.read_text(), f"{bench_table.BEGIN}\ntwo\n{bench_table.END}\n")

    def test_a_document_without_both_marks_stays_as_it_is(self):
        for text in ("text\n", f"{bench_table.BEGIN}\ntext\n"):
            self.document.write_text(text)
            with self.assertRaisesRegex(RuntimeError, "no lines"):
                bench_table.write(self.document, "new")
            self.assertEqual(self.document.read_text(), text)


if __name__ == "__main__":
    unittest.main()
