"""One measurement of one forwarder: the load tool, the forwarder between its two ends, and what both say."""
import json
import pathlib
import select
import subprocess
import tempfile

import bench_process
import bench_rows
import sample_servers

ANSWER_SECONDS = 120
STARTS = 3
WARM_UP_SHARE = 0.25  # of the measured time, and at most half a second


class LoadTool:
    """A run of zelkor_bench. It ends by itself when its input ends."""

    def __init__(self, program, *words):
        self.process = subprocess.Popen(
            [str(program), *map(str, words)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0,
            start_new_session=True,
        )  # fmt: skip

    def __enter__(self):
        return self

    def __exit__(self, fault, *_):
        self.process.stdin.close()
        try:
            self.process.wait(0 if fault else bench_process.DEADLINE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.process.stdout.close()

    def tell(self, number):
        try:
            self.process.stdin.write(b"%d\n" % number)
        except BrokenPipeError as error:
            raise RuntimeError("the load tool ended early") from error

    def answer(self, seconds=ANSWER_SECONDS):
        """The figures of its next line."""
        ready, _, _ = select.select([self.process.stdout], [], [], seconds)
        line = self.process.stdout.readline() if ready else b""
        if not line:
            raise RuntimeError("the load tool gave no answer")
        figures = json.loads(line)
        if error := figures.pop("error"):
            raise RuntimeError(error)
        return figures


def start_forwarder(peer, folder, kind, target):
    """The process and its port. A port that another program takes in between is no reason to give up."""
    for attempt in range(STARTS):
        port = sample_servers.free_port(kind)
        process = bench_process.Process(peer.command(folder, kind, port, target), folder)
        try:
            process.wait_ready(kind, port)
            return process, port
        except BaseException as error:
            process.end()
            if not isinstance(error, RuntimeError) or attempt + 1 == STARTS:
                raise
    raise AssertionError


class Bench:
    """Where the programs are and how long a measurement takes."""

    def __init__(self, build, seconds):
        self.tool = pathlib.Path(build) / "zelkor_bench"
        self.seconds = seconds

    def measure(self, peer, measurement):
        """The sample, and what went wrong or an empty text. A sample with a fault holds what was found before it."""
        sample = {}
        try:
            self._measure(peer, measurement, sample)
        except (RuntimeError, OSError) as error:
            return sample, str(error)
        return sample, ""

    def _measure(self, peer, measurement, sample):
        if measurement.protocol not in peer.kinds:
            raise RuntimeError(f"does not forward {measurement.protocol.upper()}")
        is_direct = peer.name == "direct"
        if not is_direct and peer.path() is None:
            raise RuntimeError("is not installed")
        if is_direct and measurement.tool == "sessions":
            return
        with LoadTool(self.tool, *self._words(measurement)) as tool, tempfile.TemporaryDirectory() as folder:
            target = int(tool.answer()[measurement.protocol])
            if is_direct:
                tool.tell(target)
                sample.update(tool.answer())
            else:
                self._measure_forwarder(peer, measurement, tool, pathlib.Path(folder), target, sample)
        if fault := bench_rows.complaint(measurement, sample):
            raise RuntimeError(fault)

    def _words(self, measurement):
        if measurement.tool == "sessions":
            return [measurement.tool]
        milliseconds = max(int(self.seconds * 1000), 1)
        warm_up = max(min(int(milliseconds * WARM_UP_SHARE), 500), 1)
        return [measurement.tool, *measurement.numbers, warm_up, milliseconds]

    @staticmethod
    def _measure_forwarder(peer, measurement, tool, folder, target, sample):
        process, port = start_forwarder(peer, folder, measurement.protocol, target)
        try:
            # The load begins when the tool is told the port, however busy this program's own processor is.
            count, before = len(process.members()), process.cpu_seconds()
            tool.tell(port)
            if measurement.tool == "sessions":
                measure_memory(process, tool, sample)
                return
            sample.update(tool.answer())
            if measurement.protocol == "tcp":
                process.wait_idle(count)
            sample["cpu"] = process.cpu_seconds() - before
        finally:
            process.end()


def measure_memory(process, tool, sample):
    for count in bench_rows.MEMORY_SESSIONS:
        if count > 0:
            tool.tell(count)
            tool.answer()
        sample[f"memory_{count}"] = process.settled_memory()
