"""The Linux program as a process that is started, watched and ended."""
import pathlib
import queue
import signal
import subprocess
import threading
import time

WAIT_SECONDS = 60


class Zelkor:
    """A running program; its output is collected line by line."""

    def __init__(self, program, *arguments, **options):
        self.process = subprocess.Popen(
            [str(program), *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options
        )
        self.out = _Lines(self.process.stdout)
        self.err = _Lines(self.process.stderr)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.out.finish()
        self.err.finish()

    def wait_started(self, count=1):
        """Waits until this many operations have been started; gives their lines."""
        return [self.out.wait("started ") for _ in range(count)]

    def end(self, number=signal.SIGTERM):
        """Sends the signal and gives the exit code."""
        self.process.send_signal(number)
        return self.process.wait(WAIT_SECONDS)


class _Lines:
    """The lines of a pipe, read by a thread of its own."""

    def __init__(self, pipe):
        self.lines = []
        self._pipe = pipe
        self._new = queue.Queue()
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        for line in self._pipe:
            self.lines.append(line.rstrip("\n"))
            self._new.put(line.rstrip("\n"))
        self._new.put(None)

    def wait(self, part):
        """The next line that holds the text; an error when the pipe ends or nothing comes."""
        while (line := self._new.get(timeout=WAIT_SECONDS)) is not None:
            if part in line:
                return line
        raise AssertionError(f"no line with {part!r} among {self.lines}")

    def finish(self):
        self._thread.join(WAIT_SECONDS)
        self._pipe.close()


def wait_for_file(path, is_enough):
    """Polls a file's bytes until is_enough(bytes); gives them."""
    end = time.monotonic() + WAIT_SECONDS
    while True:
        data = pathlib.Path(path).read_bytes() if pathlib.Path(path).exists() else b""
        if is_enough(data):
            return data
        if time.monotonic() > end:
            raise AssertionError(f"{path} holds {data!r}")
        time.sleep(0.02)
