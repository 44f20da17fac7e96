"""Either program as a process that is started, watched and ended."""
import os
import signal
import subprocess
import tempfile

from sample_servers import DEADLINE, wait_for

# The thread sanitizer sleeps for a second at the end unless told not to.
ENVIRONMENT = {**os.environ, "TSAN_OPTIONS": os.environ.get("TSAN_OPTIONS", "") + " atexit_sleep_ms=0"}
# Ends with this process, in whatever way that ends.
BOUND = ("setpriv", "--pdeathsig", "KILL")


class Process:
    """A run. Its outputs go into files: a desktop that Wine starts with it, and that stays, would hold a pipe open."""

    def __init__(self, *command, **options):
        self.files = [tempfile.TemporaryFile() for _ in range(2)]
        self.process = subprocess.Popen([*BOUND, *map(str, command)], stdin=subprocess.DEVNULL, stdout=self.files[0],
                                        stderr=self.files[1], env=ENVIRONMENT, **options)  # fmt: skip

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.kill()
        for file in self.files:
            file.close()

    def lines(self, file):
        data = os.pread(file.fileno(), 1 << 24, 0)
        return data[: data.rfind(b"\n") + 1].decode("cp1252", errors="replace").splitlines()

    @property
    def out(self):
        """The whole lines of standard output up to now."""
        return self.lines(self.files[0])

    @property
    def err(self):
        return self.lines(self.files[1])

    def wait_until(self, condition, what="output"):
        """Waits until the condition holds, and gives what made it so. It is an error if the process ends without."""
        over = object()

        def met():
            ended = self.process.poll() is not None  # asked first: what came before the end counts
            return condition() or (over if ended else None)

        result = wait_for(met, lambda: f"{what} of {self}")
        if result is over:
            raise AssertionError(f"it ended without {what}: {self}")
        return result

    def __str__(self):
        return f"{self.process.args[len(BOUND) :]} (code {self.process.returncode}): {self.out} {self.err}"

    def exit_code(self):
        """Waits for the end."""
        code = self.process.wait(DEADLINE)
        if any("Sanitizer" in line or "runtime error" in line for line in self.err):
            raise AssertionError("\n".join(self.err))
        return code

    def end(self, number=signal.SIGTERM):
        """The exit code after this signal."""
        self.process.send_signal(number)
        return self.exit_code()

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.exit_code()
