"""A process that the benchmark measures, with all that it forks: start, processor time, memory, end."""
import dataclasses
import os
import pathlib
import signal
import subprocess
import time

DEADLINE = 20
POLL = 0.005
CLOCK_TICKS = os.sysconf("SC_CLK_TCK")
NOT_RUNNING = "ZX"
# The states in which the system's tables show a port that is served: a listening TCP socket, a datagram socket.
BOUND = {"tcp": "0A", "udp": "07"}


@dataclasses.dataclass
class Stat:
    """One process's line in /proc."""

    pid: int
    state: str
    session: int
    reaped_ticks: int  # of the children that it has waited for


def read_stat(pid):
    """None when there is no such process any more."""
    try:
        text = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii", errors="replace")
    except OSError:
        return None
    fields = text.rpartition(")")[2].split()
    return Stat(int(pid), fields[0], int(fields[3]), int(fields[13]) + int(fields[14]))


def wait_until(condition, what):
    end = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError(f"waited {DEADLINE} s in vain for {what}")
        time.sleep(POLL)


def is_bound(kind, port):
    """Whether a socket serves the port on the loopback address, from the system's table: no connection is made."""
    wanted = f":{port:04X}"
    for line in pathlib.Path(f"/proc/net/{kind}").read_text(encoding="ascii").splitlines()[1:]:
        fields = line.split()
        if fields[1].endswith(wanted) and fields[3] == BOUND[kind]:
            return True
    return False


class Process:
    """Runs in a session of its own, by which its children are known."""

    def __init__(self, command, folder):
        self.errors = pathlib.Path(folder) / "stderr"
        with self.errors.open("wb") as errors:
            self.root = subprocess.Popen(
                [str(word) for word in command], stdin=subprocess.DEVNULL, stdout=errors, stderr=errors,
                start_new_session=True, cwd=folder,
            )  # fmt: skip

    def wait_ready(self, kind, port):
        """Waits until it serves the port."""
        wait_until(lambda: self.root.poll() is not None or is_bound(kind, port), f"{self.root.args[0]} to listen")
        if self.root.poll() is not None:
            said = self.errors.read_text(errors="replace").strip().splitlines()
            raise RuntimeError(f"ended at once with {self.root.returncode}: {said[-1] if said else 'no message'}")

    def members(self):
        stats = (read_stat(pid) for pid in os.listdir("/proc") if pid.isdigit())
        return [stat for stat in stats if stat and stat.session == self.root.pid and stat.state not in NOT_RUNNING]

    def cpu_seconds(self):
        """User and system time of its processes and of the children that they have waited for."""
        total = 0.0
        for stat in self.members():
            total += stat.reaped_ticks / CLOCK_TICKS
            try:
                # The processor clock of another process: finer than the ticks in /proc, threads that ended included.
                total += time.clock_gettime((~stat.pid << 3) | 2)
            except OSError:
                pass
        return total

    def wait_idle(self, count):
        """Waits until no more processes are left than before the load."""
        wait_until(lambda: len(self.members()) <= count, "the forwarder's processes to end")

    def memory(self):
        """The proportional set size in bytes, summed: a page that several processes share counts once."""
        return sum(proportional_set_size(stat.pid) for stat in self.members())

    def settled_memory(self):
        """The same when it has stopped changing."""
        before = -1
        for _ in range(60):
            now = self.memory()
            if before > 0 and abs(now - before) <= before // 100:
                return now
            before = now
            time.sleep(0.05)
        return before

    def end(self):
        """Whatever is left of the session is told to end, and killed when it does not."""
        for number in (signal.SIGTERM, signal.SIGKILL):
            for stat in self.members():
                try:
                    os.kill(stat.pid, number)
                except ProcessLookupError:
                    pass
            try:
                self.root.wait(DEADLINE)
                self.wait_idle(0)
                return
            except (RuntimeError, subprocess.TimeoutExpired):
                pass


def proportional_set_size(pid):
    try:
        text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    except OSError:
        return 0
    return next((int(line.split()[1]) * 1024 for line in text.splitlines() if line.startswith("Pss:")), 0)
