#!/usr/bin/env python3
"""Runs the fuzz targets that are built and tells what they did. script/fuzz is the way to call it."""
import concurrent.futures
import dataclasses
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import fuzz_seeds

ROOT = pathlib.Path(__file__).resolve().parents[2]
SOURCES = ROOT / "fuzz"
PROGRAMS = ROOT / "build/linux-fuzz/fuzz"
WORK = ROOT / "build/fuzz"  # what the runs find; stays from run to run
AT_ONCE = 2

# Longer inputs tell the target nothing new, and cost time.
MAX_LENGTH = {"icmp_packet": 192, "log_date": 256, "log_entry": 512, "language_text": 2048, "settings_file": 2048}
DEFAULT_MAX_LENGTH = 4096
MEMORY_MB = 2048
INPUT_SECONDS = 10

# What may be committed. Each target has an equal share.
MAX_FILES, MAX_BYTES = 200, 300_000


def target_names():
    return sorted(path.name.removesuffix("_fuzz.cpp") for path in SOURCES.glob("*_fuzz.cpp"))


@dataclasses.dataclass
class Target:
    name: str

    def __post_init__(self):
        self.program = PROGRAMS / f"fuzz_{self.name}"
        self.committed = SOURCES / "corpus" / self.name
        self.regressions = SOURCES / "regressions" / self.name
        self.found = WORK / self.name / "corpus"
        self.seeds = WORK / self.name / "seeds"
        self.findings = WORK / self.name / "findings"

    def prepare(self):
        for folder in (self.found, self.findings, self.committed):
            folder.mkdir(parents=True, exist_ok=True)
        fuzz_seeds.write(self.name, self.seeds)

    def inputs(self):
        return [folder for folder in (self.found, self.committed, self.regressions, self.seeds) if folder.is_dir()]

    def call(self, *arguments):
        """The target's exit code and what it said. Its temporary files go with it, even if it is cut short."""
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        with tempfile.TemporaryDirectory(prefix="zelkor_fuzz_", dir=memory) as folder:
            command = [self.program, f"-max_len={MAX_LENGTH.get(self.name, DEFAULT_MAX_LENGTH)}",
                       f"-rss_limit_mb={MEMORY_MB}", f"-timeout={INPUT_SECONDS}", *arguments]  # fmt: skip
            run = subprocess.run([str(word) for word in command], env={**os.environ, "TMPDIR": folder}, text=True,
                                 errors="replace", stdout=subprocess.PIPE, stderr=subprocess.STDOUT)  # fmt: skip
        (WORK / self.name / "log").write_text(run.stdout)
        return run.returncode, run.stdout


@dataclasses.dataclass
class Result:
    target: Target
    code: int
    text: str

    def number(self, pattern):
        matches = re.findall(pattern, self.text)
        return int(matches[-1]) if matches else 0

    def row(self):
        executions = self.number(r"number_of_executed_units: +(\d+)")
        rate = self.number(r"average_exec_per_sec: +(\d+)")
        edges, features = self.number(r"cov: (\d+)"), self.number(r"ft: (\d+)")
        counters = self.number(r"\((\d+) inline 8-bit counters\)")
        inputs = len(list(self.target.found.iterdir()))
        return f"{self.target.name:<16}{executions:>12}{rate:>9}{edges:>8} of {counters:<6}{features:>9}{inputs:>8}"

    def finding(self):
        """What tells of a failure, or None."""
        if self.code == 0:
            return None
        what = re.findall(r"^(?:property does not hold: .*|SUMMARY: .*|ERROR: .*)$", self.text, re.MULTILINE)
        files = re.findall(r"Test unit written to (\S+)", self.text)
        file = os.path.relpath(files[-1], ROOT) if files else "no file"
        return f"FOUND: {self.target.name}: {file}: {what[0] if what else f'exit code {self.code}'}"


def fuzz(target, seconds):
    target.prepare()
    words = SOURCES / f"{target.name}.dict"
    arguments = [f"-dict={words}"] if words.exists() else []
    arguments += [f"-max_total_time={seconds}", f"-artifact_prefix={target.findings}/", "-print_final_stats=1"]
    code, text = target.call(*arguments, *target.inputs())
    return Result(target, code, text)


def fuzz_all(targets, seconds):
    share = max(1, seconds // len(targets))
    print(f"{len(targets)} targets, {share} s each", flush=True)
    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        try:
            results = list(pool.map(lambda target: fuzz(target, share), targets))
        except KeyboardInterrupt:
            # Those that run have got the signal, too; those that wait are not to begin.
            pool.shutdown(cancel_futures=True)
            return 130
    print(f"{'target':<16}{'executions':>12}{'each s':>9}{'edges':>8} of {'all':<6}{'features':>9}{'inputs':>8}")
    for result in results:
        print(result.row())
    findings = [result.finding() for result in results if result.finding()]
    for finding in findings:
        print(finding, file=sys.stderr)
    return 1 if findings else 0


def merge(target):
    """Replaces the committed inputs by the smallest set that reaches as many edges."""
    target.prepare()
    merged = WORK / target.name / "merged"
    shutil.rmtree(merged, ignore_errors=True)
    merged.mkdir()
    code, text = target.call("-set_cover_merge=1", "-use_counters=0", merged, *target.inputs())
    if code != 0:
        sys.exit(f"{text[-2000:]}\n{target.name}: the merge failed; the committed inputs are as they were")
    shutil.rmtree(target.committed)
    shutil.copytree(merged, target.committed)
    files = list(target.committed.iterdir())
    size = sum(file.stat().st_size for file in files)
    print(f"{target.name:<16}{len(files):>4} files {size:>7} bytes")
    return len(files), size


def merge_all(targets):
    counts, sizes = zip(*(merge(target) for target in targets))
    if sum(counts) >= MAX_FILES or sum(sizes) >= MAX_BYTES:
        sys.exit(f"more than {MAX_FILES} files or {MAX_BYTES} bytes: too much to commit")
    return 0


def main(arguments):
    names = target_names()
    unknown = [name for name in arguments[1:] if name not in names]
    if unknown:
        sys.exit(f"no target {unknown[0]}; there are {', '.join(names)}")
    targets = [Target(name) for name in arguments[1:] or names]
    if arguments[0] == "--merge":
        return merge_all(targets)
    if not arguments[0].isdigit():
        sys.exit(f"{arguments[0]} is no number of seconds")
    return fuzz_all(targets, int(arguments[0]))


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
