"""The whole benchmark in fractions of a second, with zelkor and without a forwarder. How fast it is plays no part."""
import pathlib
import tempfile
import unittest

from bench_modules import BUILD

import bench_load
import bench_peers
import bench_process
import bench_rows
import bench_run
import bench_table

SECONDS = 0.1
# What only a forwarder has.
OF_THE_FORWARDER = ("Processor", "Memory")


class ScriptPeer(bench_peers.Peer):
    """A forwarder of the test's own making: a line of shell."""

    name = "script"
    program = "sh"

    def __init__(self, line):
        self.line = line

    def command(self, _folder, _kind, port, target):
        return [self.path(), "-c", self.line, "sh", port, target]


class SmokeTest(unittest.TestCase):
    def setUp(self):
        bench_run.raise_file_limit()
        self.bench = bench_load.Bench(BUILD, SECONDS)

    def test_every_row_has_a_figure_and_everything_adds_up(self):
        peers = [peer for peer in bench_peers.every_peer(BUILD) if peer.name in ("direct", "zelkor")]
        results = bench_run.run_rounds(self.bench, bench_rows.MEASUREMENTS, peers, 1, lambda _: None)
        self.assertEqual(results.faults, {})
        for row in bench_rows.ROWS:
            for peer in peers:
                with self.subTest(row=row.title, peer=peer.name):
                    values = results.values(row, peer)
                    is_expected = peer.name == "zelkor" or not row.title.startswith(OF_THE_FORWARDER)
                    self.assertEqual([value > 0 for value in values], [True] if is_expected else [])
        table = bench_table.text(results, bench_rows.ROWS, bench_rows.MEASUREMENTS, peers, bench_rows.remarks)
        for row in bench_rows.ROWS:
            self.assertIn(row.title, table)

    def test_a_forwarder_that_does_not_start_is_a_fault_with_its_own_words(self):
        peer = ScriptPeer("echo the port is cursed >&2; exit 3")
        sample, fault = self.bench.measure(peer, bench_rows.MEASUREMENTS[0])
        self.assertEqual(sample, {})
        self.assertEqual(fault, "ended at once with 3: the port is cursed")

    def test_a_process_ends_with_all_that_it_forked(self):
        with tempfile.TemporaryDirectory() as folder:
            line = "sh -c 'trap \"\" TERM; while :; do sleep 60; done' & sleep 600 & wait"
            process = bench_process.Process(["sh", "-c", line], folder)
            bench_process.wait_until(lambda: len(process.members()) == 4, "the children")
            pids = [stat.pid for stat in process.members()]
            self.assertGreater(process.cpu_seconds(), 0)
            self.assertGreater(process.memory(), 0)
            bench_process.DEADLINE = 1
            self.addCleanup(setattr, bench_process, "DEADLINE", 20)
            process.end()
            running = [pid for pid in pids if pathlib.Path(f"/proc/{pid}").exists()
                       and bench_process.read_stat(pid).state not in bench_process.NOT_RUNNING]
            self.assertEqual(running, [])


if __name__ == "__main__":
    unittest.main()
