"""Runs the benchmark: rounds of every measurement, in each of them every peer in turn, and the table of all."""
import argparse
import datetime
import os
import pathlib
import platform
import resource
import signal
import sys

import bench_load
import bench_peers
import bench_rows
import bench_table

BUILD = bench_peers.ROOT / "build/linux"
QUICK = (1, 0.3)


def choice(names):
    def read(text):
        chosen = text.split(",")
        if unknown := [name for name in chosen if name not in names]:
            raise argparse.ArgumentTypeError(f"{unknown[0]!r} is none of {', '.join(names)}")
        return chosen

    return read


def positive(kind):
    def read(text):
        value = kind(text)
        if not 0 < value <= 3600:
            raise argparse.ArgumentTypeError(f"{text} is not between 0 and 3600")
        return value

    return read


def read_arguments(words):
    parser = argparse.ArgumentParser(prog="script/bench", description="Measures zelkor beside other forwarders.")
    parser.add_argument("--rounds", type=positive(int), default=5, metavar="N", help="rounds of everything (5)")
    parser.add_argument("--seconds", type=positive(float), default=2, metavar="S", help="of each measurement (2)")
    parser.add_argument("--rows", type=choice(bench_rows.NAMES), default=bench_rows.NAMES, metavar="NAME,...",
                        help=", ".join(bench_rows.NAMES))  # fmt: skip
    parser.add_argument("--peers", type=choice(bench_peers.NAMES), default=bench_peers.NAMES, metavar="NAME,...",
                        help=", ".join(bench_peers.NAMES))  # fmt: skip
    parser.add_argument("--quick", action="store_true", help="one round of 0.3 s: whether it works, not how fast")
    parser.add_argument("--markdown", metavar="FILE", help="put the results between the marks of this document")
    arguments = parser.parse_args(words)
    if arguments.quick:
        arguments.rounds, arguments.seconds = QUICK
    return arguments


def first_value(file, name):
    for line in pathlib.Path(file).read_text(encoding="utf-8").splitlines():
        key, _, value = line.replace("=", ":", 1).partition(":")
        if key.strip() == name:
            return value.strip().strip('"')
    return "unknown"


def machine():
    flags = first_value("/proc/cpuinfo", "flags").split()
    where = ", a virtual machine" if "hypervisor" in flags else ""
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 1e9
    system = f"{first_value('/etc/os-release', 'PRETTY_NAME')}, Linux {platform.release()}"
    cores = len(os.sched_getaffinity(0))
    return f"{first_value('/proc/cpuinfo', 'model name')}, {cores} cores{where}, {memory:.0f} GB; {system}"


def conditions(arguments, peers, load):
    """What the figures depend on, as lines of Markdown."""
    versions = [peer.version() for peer in peers if peer.name != "direct" and peer.path()]
    return [
        f"- Machine: {machine()}",
        f"- Programs: {', '.join(versions)}",
        f"- Run: {datetime.date.today().isoformat()}, rounds of {arguments.seconds:g} s: {arguments.rounds}; the "
        f"machine's load just before was {load:.2f}",
    ]


def run_rounds(bench, measurements, peers, rounds, report):
    """Neighbours in time are compared with each other: the peers change fastest, and begin with another each round."""
    results = bench_table.Results()
    for turn in range(rounds):
        for measurement in measurements:
            report(f"round {turn + 1} of {rounds}: {measurement.name}")
            first = turn % len(peers)
            for peer in peers[first:] + peers[:first]:
                sample, fault = bench.measure(peer, measurement)
                results.add(measurement, peer, sample, fault)
                if fault:
                    report(f"  {peer.name}: {fault}")
    return results


def raise_file_limit():
    """For seven hundred sessions, of which the load tool has both ends; what it starts inherits it."""
    _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))


def main():
    arguments = read_arguments(sys.argv[1:])
    # The processes that were started are ended on the way out.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    raise_file_limit()
    if arguments.markdown:
        bench_table.around_results(arguments.markdown)  # better refused now than behind all the measuring
    peers = [peer for peer in bench_peers.every_peer(BUILD) if peer.name in arguments.peers]
    measurements = [each for each in bench_rows.MEASUREMENTS if each.name in arguments.rows]
    rows = [row for row in bench_rows.ROWS if row.measurement in arguments.rows]
    load = os.getloadavg()[0]
    bench = bench_load.Bench(BUILD, arguments.seconds)
    results = run_rounds(bench, measurements, peers, arguments.rounds, lambda text: print(text, file=sys.stderr))
    table = bench_table.text(results, rows, measurements, peers, bench_rows.remarks)
    legend = "Median (least-most) of the rounds."
    section = "\n".join(["", *conditions(arguments, peers, load), "", legend, "", table, ""])
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
