"""A process that the benchmark measures, with all that it forks: start, processor time, memory, end."""
import contextlib
import os
import pathlib
import signal
import subprocess
import time

DEADLINE = 20
CLOCK_TICKS = os.sysconf("SC_CLK_TCK")
# The states in which the system's tables show a port that is served: a listening TCP socket, a datagram socket.
BOUND = {"tcp": "0A", "udp": "07"}


def wait_until(condition, what):
    end = time.monotonic() + DEADLINE
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError(f"waited {DEADLINE} s in vain for {what}")
        time.sleep(0.005)


def is_bound(protocol, port):
    """Whether a socket serves the port on the loopback address, from the system's table: no connection is made."""
    lines = pathlib.Path(f"/proc/net/{protocol}").read_text(encoding="ascii").splitlines()[1:]
    return any(fields[1].endswith(f":{port:04X}") and fields[3] == BOUND[protocol] for fields in map(str.split, lines))


class Process:
    """Runs in a session of its own, by which its children are known."""

    def __init__(self, command, folder):
        self.errors = folder / "stderr"
        with self.errors.open("wb") as errors:
            self.root = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=errors, stderr=errors, cwd=folder,
                                         start_new_session=True)  # fmt: skip

    def wait_ready(self, protocol, port):
        """Waits until it serves the port."""
        wait_until(lambda: self.root.poll() is not None or is_bound(protocol, port), f"{self.root.args[0]} to listen")
        if self.root.poll() is not None:
            said = self.errors.read_text(errors="replace").strip().splitlines()
            raise RuntimeError(f"ended at once with {self.root.returncode}: {said[-1] if said else 'no message'}")

    def members(self):
        """The ids of its running processes, with the seconds of the children that each has waited for."""
        found = {}
        for entry in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                fields = (entry / "stat").read_text(errors="replace").rpartition(")")[2].split()
                if int(fields[3]) == self.root.pid and fields[0] not in "ZX":
                    found[int(entry.name)] = (int(fields[13]) + int(fields[14])) / CLOCK_TICKS
        return found

    def cpu_seconds(self):
        """User and system time of its processes and of the children that they have waited for."""
        total = 0.0
        for pid, reaped in self.members().items():
            with contextlib.suppress(OSError):
                # The processor clock of another process: finer than the ticks in /proc, threads that ended included.
                total += reaped + time.clock_gettime((~pid << 3) | 2)
        return total

    def settled_memory(self):
        """The proportional set size in bytes, summed (a page that several processes share counts once), when it has
        stopped changing."""
        before, now = -1, self.memory()
        for _ in range(60):
            if abs(now - before) <= before / 100:
                break
            time.sleep(0.05)
            before, now = now, self.memory()
        return now

    def memory(self):
        total = 0
        for pid in self.members():
            with contextlib.suppress(OSError):
                lines = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii").splitlines()
                total += next((int(line.split()[1]) * 1024 for line in lines if line.startswith("Pss:")), 0)
        return total

    def end(self):
        """Whatever is left of the session is told to end, and killed when it does not."""
        for number in (signal.SIGTERM, signal.SIGKILL):
            for pid in self.members():
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, number)
            with contextlib.suppress(RuntimeError, subprocess.TimeoutExpired):
                self.root.wait(DEADLINE)
                wait_until(lambda: not self.members(), "its processes to end")
                return
