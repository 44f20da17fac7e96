"""Runs the benchmark: rounds of every measurement, in each of them every peer in turn, and the table of all."""
import argparse
import datetime
import json
import os
import pathlib
import platform
import re
import resource
import select
import signal
import subprocess
import sys
import tempfile
import time

import bench_peers
import bench_process
import bench_rows
import bench_table
import sample_servers

ANSWER_SECONDS = 120
SETTLE_SECONDS = 0.5
WARM_UP_SHARE, LONGEST_WARM_UP = 0.25, 500  # of the measured time; milliseconds
MEASUREMENTS = {measurement.name: measurement for measurement in bench_rows.MEASUREMENTS}
PEERS = {peer.name: peer for peer in bench_peers.PEERS}


class LoadTool:
    """A run of zelkor_bench."""

    def __init__(self, measurement, seconds):
        milliseconds = max(int(seconds * 1000), 1)
        warm_up = min(int(milliseconds * WARM_UP_SHARE), LONGEST_WARM_UP)
        words = (measurement.kind, warm_up, milliseconds, *measurement.numbers)
        self.process = subprocess.Popen([bench_peers.BUILD / "zelkor_bench", *map(str, words)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, bufsize=0, start_new_session=True)  # fmt: skip

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()

    def tell(self, number):
        self.process.stdin.write(b"%d\n" % number)

    def answer(self):
        """The figures of its next line."""
        ready, _, _ = select.select([self.process.stdout], [], [], ANSWER_SECONDS)
        line = self.process.stdout.readline() if ready else b""
        if not line:
            raise RuntimeError("the load tool gave no answer")
        figures = json.loads(line)
        if error := figures.pop("error"):
            raise RuntimeError(error)
        return figures


def measure_forwarder(peer, measurement, tool, target, seconds, sample):
    with tempfile.TemporaryDirectory() as folder:
        folder, port = pathlib.Path(folder), sample_servers.free_port(measurement.protocol)
        process = bench_process.Process(peer.command(folder, measurement.protocol, port, target), folder)
        try:
            process.wait_ready(measurement.protocol, port)
            # The load begins when the tool is told the port, however busy this program's own processor is.
            count, before = len(process.members()), process.cpu_seconds()
            tool.tell(port)
            if measurement.kind == "sessions":
                for sessions in bench_rows.MEMORY_SESSIONS:
                    tool.tell(sessions)
                    tool.answer()
                    sample[f"memory_{sessions}"] = process.settled_memory()
                return
            if measurement.kind == "datagram-sessions":
                tool.tell(bench_rows.IDLE_SESSIONS)
                tool.answer()
                time.sleep(SETTLE_SECONDS)
                before, begin = process.cpu_seconds(), time.monotonic()
                time.sleep(seconds)
                sample["idle_cpu"] = (process.cpu_seconds() - before) / (time.monotonic() - begin)
                return
            sample.update(tool.answer())
            if measurement.protocol == "tcp":
                bench_process.wait_until(lambda: len(process.members()) <= count, "the processes of sessions to end")
            sample["cpu"] = process.cpu_seconds() - before
        finally:
            process.end()


def measure(peer, measurement, seconds):
    """The sample, and what went wrong or an empty text. A sample with a fault holds what was found before it."""
    sample = {}
    try:
        if measurement.protocol not in peer.arguments:
            raise RuntimeError(f"does not forward {measurement.protocol.upper()}")
        if peer.name != "direct" and peer.path() is None:
            raise RuntimeError("is not installed")
        with LoadTool(measurement, seconds) as tool:
            target = int(tool.answer()[measurement.protocol])
            if peer.name != "direct":
                measure_forwarder(peer, measurement, tool, target, seconds, sample)
            elif not measurement.kind.endswith("sessions"):
                tool.tell(target)
                sample.update(tool.answer())
    except (RuntimeError, OSError) as error:
        return sample, str(error)
    return sample, ""


def run_rounds(names, peers, rounds, seconds, report):
    """Neighbours in time are compared with each other: the peers change fastest, and begin with another each round."""
    # Of seven hundred sessions the load tool has both ends; what is started inherits the limit.
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    results = {}
    for turn in range(rounds):
        for name in names:
            report(f"round {turn + 1} of {rounds}: {name}")
            first = turn % len(peers)
            for peer in peers[first:] + peers[:first]:
                sample, fault = measure(PEERS[peer], MEASUREMENTS[name], seconds)
                results.setdefault((name, peer), []).append((sample, fault))
                if fault:
                    report(f"  {peer}: {fault}")
    return results


def choice(names):
    def read(text):
        if unknown := [name for name in text.split(",") if name not in names]:
            raise argparse.ArgumentTypeError(f"{unknown[0]!r} is none of {', '.join(names)}")
        return text.split(",")

    return {"type": read, "default": list(names), "metavar": "NAME,...", "help": ", ".join(names)}


def read_arguments():
    parser = argparse.ArgumentParser(prog="script/bench", description="Measures zelkor beside other forwarders.")
    parser.add_argument("--rounds", type=int, default=5, metavar="N", help="rounds of everything (5)")
    parser.add_argument("--seconds", type=float, default=2, metavar="S", help="of each measurement (2)")
    parser.add_argument("--rows", **choice(MEASUREMENTS))
    parser.add_argument("--peers", **choice(PEERS))
    parser.add_argument("--quick", action="store_true", help="one round of 0.3 s: whether it works, not how fast")
    parser.add_argument("--markdown", type=pathlib.Path, metavar="FILE",
                        help="put the results between the marks of this document")  # fmt: skip
    arguments = parser.parse_args()
    if arguments.quick:
        arguments.rounds, arguments.seconds = 1, 0.3
    if not (0 < arguments.rounds <= 1000 and 0 < arguments.seconds <= 3600):
        parser.error("there are 1 to 1000 rounds, of at most 3600 seconds")
    return arguments


def conditions(arguments):
    """What the figures depend on, as lines of Markdown."""
    processor = pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8")
    model = re.search(r"^model name\s*: (.*)", processor, re.MULTILINE)
    where = ", a virtual machine" if " hypervisor " in processor else ""
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 1e9
    commit = subprocess.run(["git", "-C", bench_peers.BUILD.parent, "describe", "--always", "--dirty=, changed"],
                            capture_output=True, text=True, check=False).stdout.strip()  # fmt: skip
    versions = [peer.version() + (f" (commit {commit})" if peer.name == "zelkor" else "") for peer in PEERS.values()
                if peer.name in arguments.peers and peer.path()]  # fmt: skip
    return [
        f"- Machine: {model[1] if model else platform.machine()}, {len(os.sched_getaffinity(0))} cores{where}, "
        f"{memory:.0f} GB; {platform.freedesktop_os_release()['PRETTY_NAME']}, Linux {platform.release()}",
        f"- Programs: {', '.join(versions)}",
        f"- Run: {datetime.date.today().isoformat()}, rounds of {arguments.seconds:g} s: {arguments.rounds}; the "
        f"machine's load just before was {os.getloadavg()[0]:.2f}",
    ]


def main():
    arguments = read_arguments()
    # The processes that were started are ended on the way out.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    if arguments.markdown:
        bench_table.around_results(arguments.markdown)  # better refused now than behind all the measuring
    about = conditions(arguments)
    results = run_rounds(arguments.rows, arguments.peers, arguments.rounds, arguments.seconds,
                         lambda text: print(text, file=sys.stderr))  # fmt: skip
    rows = [row for row in bench_rows.ROWS if row.measurement in arguments.rows]
    table = bench_table.text(results, rows, arguments.rows, arguments.peers)
    section = "\n".join(["", *about, "", "Median (least-most) of the rounds.", "", table, ""])
    print(section)
    if arguments.markdown:
        bench_table.write(arguments.markdown, section)


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(130)
    except (RuntimeError, OSError) as fault:
        sys.exit(f"bench: {fault}")
