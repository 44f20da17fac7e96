"""Whether the benchmark works, in fractions of a second; how fast anything is plays no part."""
import os
import pathlib
import sys
import tempfile
import unittest
from unittest import mock

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "script/lib"))

import bench_peers  # noqa: E402
import bench_process  # noqa: E402
import bench_rows  # noqa: E402
import bench_run  # noqa: E402
import bench_table  # noqa: E402

MORE = bench_rows.Row("Speed", "1/s", "speed", lambda sample: sample["value"], True)
LESS = bench_rows.Row("Cost", "s", "speed", lambda sample: sample["value"])


# Of each named peer: its values, or samples, round by round; None is a round that failed.
def table(row, **rounds):
    results = {}
    for peer, values in rounds.items():
        samples = [value if isinstance(value, dict) else {"value": value} if value else {} for value in values]
        results["speed", peer] = [(sample, "" if sample else "broke") for sample in samples]
    return bench_table.text(results, [row], ["speed"], list(rounds))


class BenchTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def test_every_row_has_a_figure_and_everything_adds_up(self):
        with mock.patch.object(bench_peers, "BUILD", pathlib.Path(os.environ["ZELKOR_BUILD"])):
            results = bench_run.run_rounds(bench_run.MEASUREMENTS, ["direct", "zelkor"], 1, 0.1, lambda _: None)
        self.assertEqual([fault for rounds in results.values() for _, fault in rounds if fault], [])
        for row in bench_rows.ROWS:
            self.assertGreater(min(bench_table.values_of(results, row, "zelkor"), default=0), 0, row.title)
            has_direct = not row.title.startswith(("Processor", "Memory"))
            self.assertEqual(len(bench_table.values_of(results, row, "direct")), has_direct, row.title)

    def test_the_table_has_medians_the_ratio_to_the_best_and_what_went_wrong(self):
        self.assertIn("2,000 (5.00-3,000)", table(MORE, direct=[3000, 5, 2000]))
        self.assertIn("0.75 × b, behind", table(MORE, direct=[900], zelkor=[30], a=[20], b=[40]))
        self.assertIn("1.50 × a, behind", table(LESS, direct=[1], zelkor=[30], a=[20], b=[40]))
        failed = table(MORE, zelkor=[30, 30], a=[None, None], b=[None, 20])
        self.assertRegex(failed, r"(?s)30.0 \(30.0-30.0\) \| +- \| +20.0 .*- a, speed: broke\n- b, speed: broke, in 1 of")
        lost = [{"value": 1, "lost": count, "sent": 1000} for count in (3, 0, 4)]
        self.assertIn("- a, speed: 7 of 3,000 datagrams were lost", table(MORE, a=lost))

    def test_a_forwarder_that_ends_at_once_is_told_of_and_all_that_one_forked_is_ended(self):
        process = bench_process.Process(["sh", "-c", "echo no port >&2; exit 3"], self.folder)
        self.assertRaisesRegex(RuntimeError, "ended at once with 3: no port", process.wait_ready, "tcp", 1)
        line = "sh -c 'trap \"\" TERM; while :; do sleep 60; done' & sleep 600 & wait"
        process = bench_process.Process(["sh", "-c", line], self.folder)
        bench_process.wait_until(lambda: len(process.members()) == 4, "the children")
        self.assertGreater(min(process.cpu_seconds(), process.settled_memory()), 0)
        with mock.patch.object(bench_process, "DEADLINE", 1):
            process.end()
        self.assertEqual(process.members(), {})

    def test_only_the_place_between_the_marks_of_a_document_changes(self):
        document, around = self.folder / "document.md", f"before\n{bench_table.BEGIN}%s{bench_table.END}\nbehind\n"
        document.write_text(around % "old\n")
        bench_table.write(document, "new")
        self.assertEqual(document.read_text(), around % "new\n")
        document.write_text("text\n")
        self.assertRaisesRegex(RuntimeError, "no lines", bench_table.write, document, "new")


if __name__ == "__main__":
    unittest.main()
