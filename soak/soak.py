"""Random load and random faults over the engine and the Linux program, every byte checked; docs/soak.md tells how.

This is the supervisor: it starts the engine's process, the program, the clients and the servers, does all that goes
wrong around them, and judges what the load tells. Whatever it does to a part of the set-up it notes with begin and end:
a session that failed is excused if that touched it.
"""
import argparse
import collections
import concurrent.futures
import contextlib
import dataclasses
import json
import math
import os
import pathlib
import random
import re
import resource
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "script/lib"))

import network  # noqa: E402
import settings_file  # noqa: E402
import zelkor_process  # noqa: E402

LOAD, OPERATORS = {"client": range(3), "server": range(2)}, 2
ENGINE, PROGRAM = range(8), range(8, 10)  # the operations of either
HOST_THREADS = 3 + OPERATORS  # of the engine's process at rest: main, log timer, one for each channel
# Main, log writer, and of each operation the listener and, with TCP, up to four idle threads that wait for the next client.
PROGRAM_THREADS = 2 + 5 * len(PROGRAM)
PATIENCE, LONGEST_STOP = 120, 600  # seconds
HIGH_LIMIT, LOW_LIMIT = 1000, 3
PROTOCOLS = {"tcp": settings_file.TCP, "udp": settings_file.UDP}
BEHIND_VERSION = 48  # the place in a settings file
USUAL_SESSIONS = 200  # more than the load alone opens
# What may have grown: threads, descriptors, what the allocator and the kept stacks of ended threads hold for themselves (a
# few bytes lost a session are more within a minute), the pages of stacks that are reused.
GROWTH = {"threads": 0, "descriptors": 0, "bytes of heap": 256 << 10, "resident bytes": 24 << 20}
LANGUAGES, MOST_TOLD = 10, 30  # failures: one fault can have a thousand consequences
HOST_NAME = "soak-server.test"
IMPOSSIBLE_HOST = "x" * 80 + ".invalid"  # a label longer than labels can be: no resolver asks anybody
PORT_RANGE = pathlib.Path("/proc/sys/net/ipv4/ip_local_port_range")
# Each line begins and ends with marks of its own, by which a torn one is seen.
LINE_FORMATS = ("<%E|%P|%CIP|%CPort|%RHost>", "{%G%E %DAT %LIP:%LPort}", "(%Z%G%E %DAT %RPort)")
WHOLE_LINE = re.compile(rb"<.*>|\{.*\}|\(.*\)", re.DOTALL)
DATE_FORMATS = ("%Y.%MY.%D %H24:%MN:%S.%MS", "%D %H12 %AP")
# A load that reached nobody would find no fault either.
MUST_COUNT = ("sessions to be whole, and whole", "bytes to servers, checked", "bytes to clients, checked",
              "replies, checked", "log lines checked")  # fmt: skip


def run(*command):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


def wait_for(condition, seconds=PATIENCE):
    end = time.monotonic() + seconds
    while not (is_met := condition()) and time.monotonic() < end:
        time.sleep(0.01)
    return is_met


def has_content(file):
    return file.exists() and file.stat().st_size > 0


def held_by(pid):
    """Threads, descriptors and resident bytes."""
    folder = pathlib.Path(f"/proc/{pid}")
    pages = int((folder / "statm").read_text().split()[1])
    return len(os.listdir(folder / "task")), len(os.listdir(folder / "fd")), pages * resource.getpagesize()


class Surroundings:
    """What the rights give: a range of ports, a disk that fills up, a host table. The rest is played otherwise."""

    def __init__(self, folder, has_namespaces, server):
        self.server, self.disk, self.hosts = server, folder / "disk", folder / "hosts"
        if has_namespaces and not run("ip", "link", "set", "lo", "up"):
            raise RuntimeError("the loopback interface of a new network does not come up")
        self.disk.mkdir()
        self.has_disk = has_namespaces and run("mount", "-t", "tmpfs", "-o", "size=64k,mode=700", "soak", self.disk)
        self.full_file = self.disk / "soak.log" if self.has_disk else pathlib.Path("/dev/full")
        # The system's own table of sources may ask servers, which a network of our own cannot reach.
        (folder / "nsswitch.conf").write_text("hosts: files\n")
        self.write_hosts(True)
        self.has_hosts = has_namespaces and all(run("mount", "--bind", folder / name, f"/etc/{name}")
                                                for name in ("nsswitch.conf", "hosts"))  # fmt: skip
        self.has_ports = has_namespaces and os.access(PORT_RANGE, os.W_OK)
        print("port shortages:", "a narrow range in a network of its own" if self.has_ports else "left out, no rights")
        print("full disk:", "a file system of 64 KiB" if self.has_disk else self.full_file)
        print("failing look-ups:", "a host table of its own" if self.has_hosts else "a name that cannot be", flush=True)

    def write_hosts(self, is_known):
        """In place: a new file of that name would not be what /etc/hosts shows."""
        self.hosts.write_text(f"{self.server} {HOST_NAME if is_known else 'nobody.test'}\n")


class Host:
    """The engine's process. A channel is for one thread at a time: one for everything, and one for the operations of
    each operator."""

    def __init__(self, program):
        pairs = [socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET) for _ in range(1 + OPERATORS)]
        self.channels, ends = zip(*pairs)
        numbers = [end.fileno() for end in ends]
        self.process = subprocess.Popen([*zelkor_process.BOUND, program, *map(str, numbers)], pass_fds=numbers)
        self.pid = self.process.pid
        for ours, theirs in pairs:
            theirs.close()
            ours.settimeout(LONGEST_STOP)

    def ask(self, *words):
        is_of_operation = words[0] in ("start", "stop", "delete")
        channel = self.channels[1 + words[1] % OPERATORS if is_of_operation else 0]
        channel.send(b"\t".join(word if isinstance(word, bytes) else str(word).encode() for word in words))
        if not (answer := channel.recv(8192)):
            raise RuntimeError("the engine's process has ended")
        return answer[:-1].decode()

    def end(self):
        for channel in self.channels:
            channel.close()
        if code := self.process.wait(LONGEST_STOP):
            raise RuntimeError(f"the engine's process ended with {code}")


class Soak:
    """The whole of it. Operators and faults have threads of their own, everything else is the main thread's."""

    def __init__(self, options, folder):
        self.options, self.folder, self.rng = options, folder, random.Random(options.seed)
        self.counts, self.lock, self.failures = collections.Counter(), threading.Lock(), 0
        self.touches = collections.defaultdict(list)
        # Addresses of this run's own: no other program is likely to hold a port there.
        net = f"127.{self.rng.randrange(1, 255)}.{self.rng.randrange(256)}."
        self.operations = [{"udp": n in (3, 7, 9), "server": n // 2 % len(LOAD["server"]), "port": 8001 + n,
                            "bounce": n in (1, 7), "by_name": n in (2, 3), "limited": n == 4}
                           for n in (*ENGINE, *PROGRAM)]  # fmt: skip
        self.plan = {"server": net + "1", "client": net + "2", "listener": net + "3", "operations": self.operations,
                     "servers": [{"tcp": 7001 + 2 * n, "udp": 7002 + 2 * n} for n in LOAD["server"]]}  # fmt: skip
        self.around = Surroundings(folder, network.enter(), self.plan["server"])
        self.settings = [self.usual_settings(operation) for operation in self.operations]
        self.log = folder / "engine.log"
        self.reports, self.read_at, self.begun = (folder / "reports").open("ab+", buffering=0), 0, set()
        self.load, self.program, self.host = {}, None, None
        self.harms = {"restarts of the program": self.restart_program,
                      "server processes killed": lambda: self.kill_load("server"),
                      "client processes killed": lambda: self.kill_load("client")}  # fmt: skip
        self.faults = {"descriptor shortages": self.shorten_descriptors, "thread shortages": self.shorten_threads,
                       "storms of connections": self.storm, "full disks under the log": self.fill_disk,
                       "reloads of texts and templates": self.replace_texts, "logs moved away": self.move_log}
        if self.around.has_ports:
            self.faults["port shortages"] = self.shorten_ports
        if self.around.has_hosts:
            self.faults["failed name lookups, and back"] = self.fail_lookups

    def add(self, name, number=1):
        with self.lock:
            self.counts[name] += number

    def fail(self, text):
        with self.lock:
            self.failures += 1
        if self.failures <= MOST_TOLD:
            print(f"FAILED: {text}", file=sys.stderr, flush=True)

    def require(self, *words, what=""):
        """A command that has something to say has failed."""
        if answer := self.host.ask(*words):
            self.fail(what + answer)

    # What is done, and what it excuses

    @contextlib.contextmanager
    def touching(self, what, numbers):
        """Of operations "admission" (new sessions may be refused) or "life" (open ones may end, too); or "client"."""
        interval = [time.monotonic(), math.inf]
        for number in numbers:
            self.touches[what, number].append(interval)
        try:
            yield
        finally:
            interval[1] = time.monotonic()

    def judge(self, what, operation, client, begin, end, text):
        touches = self.touches["life", operation] + self.touches["client", client]
        if what == "admission":
            touches += self.touches["admission", operation]
        if any(first <= end and last >= begin for first, last in touches):
            self.add("failures excused by a fault")
        else:
            self.fail(text)

    def read_reports(self):
        text = os.pread(self.reports.fileno(), 1 << 20, self.read_at)
        lines = text[: text.rfind(b"\n") + 1].splitlines(keepends=True)
        self.read_at += sum(map(len, lines))
        for what, *words in map(json.loads, lines):
            if what == "counts":
                for count in words[0].items():
                    self.add(*count)
            elif what == "begun":
                self.begun.add(tuple(words))
            else:
                {"fail": self.fail, "judge": self.judge}[what](*words)

    # The load

    def start_load(self, role, number):
        self.begun.discard((role, number))
        words = ("-B", HERE / "load.py", role, str(number), json.dumps(self.plan), str(self.rng.random()))
        self.load[role, number] = subprocess.Popen([*zelkor_process.BOUND, sys.executable, *words], stdin=subprocess.PIPE,
                                                   stdout=self.reports)  # fmt: skip
        if not wait_for(lambda: self.read_reports() or (role, number) in self.begun):
            raise RuntimeError(f"{role} {number} does not begin")

    def end_load(self, role):
        """In an orderly way: the sessions run to their ends."""
        processes = [self.load[role, number] for number in LOAD[role]]
        for process in processes:
            process.stdin.close()
        if not wait_for(lambda: self.read_reports() or all(process.poll() is not None for process in processes), 300):
            self.fail("sessions did not end")
        for process in processes:
            if process.poll():
                self.fail(f"a {role}'s process ended with {process.returncode}")

    def kill_load(self, role):
        number, what = self.rng.choice(LOAD[role]), "client"
        touched = [number]
        if role == "server":
            what, touched = "life", [n for n, operation in enumerate(self.operations) if operation["server"] == number]
        with self.touching(what, touched):
            kill(self.load[role, number])
            time.sleep(self.rng.choice((0, self.rng.uniform(0, 0.5))))
            self.start_load(role, number)

    # The program

    def start_program(self):
        operations = [self.settings[n] for n in PROGRAM]
        self.image = settings_file.Settings(operations, log_path=str(self.folder / "program.log")).bytes()
        self.file = self.folder / "program.KVR"
        self.file.write_bytes(self.image)
        os.utime(self.file, (0, 0))  # a later save shows
        self.program = zelkor_process.Process(self.options.build / "zelkor", self.file)
        self.program.wait_until(lambda: sum(line.startswith("started ") for line in self.program.out) == len(PROGRAM))
        self.program_descriptors = held_by(self.program.process.pid)[1]

    def end_program(self):
        with self.program as program:
            self.program = None
            if code := program.end():
                self.fail("\n".join([f"the program ended with {code}", *program.err]))
        if self.file.stat().st_mtime == 0 or self.file.read_bytes() != self.image:
            self.fail("the program did not save its settings as they were")

    def restart_program(self):
        with self.touching("life", PROGRAM):
            self.end_program()
            self.start_program()

    def end_program_behind_load(self):
        """What it held for the load must be gone; parked threads go after ten seconds."""
        most = (PROGRAM_THREADS + self.own_threads, self.program_descriptors)
        is_idle = wait_for(lambda: all(map(int.__le__, held_by(self.program.process.pid), most)))
        print("program behind the load: %d threads, %d descriptors" % held_by(self.program.process.pid)[:2])
        if not is_idle:
            self.fail("the program keeps threads or descriptors")
        self.end_program()

    # Operations of the engine

    def usual_settings(self, operation):
        kind = "udp" if operation["udp"] else "tcp"
        host = HOST_NAME if operation["by_name"] and self.around.has_hosts else self.plan["server"]
        port = self.plan["servers"][operation["server"]][kind]
        return settings_file.Operation(PROTOCOLS[kind], operation["port"], host, port, bounce=operation["bounce"],
                                       local_interface=self.plan["listener"], udp_timeout_ms=1000,
                                       max_sessions=LOW_LIMIT if operation["limited"] else HIGH_LIMIT)  # fmt: skip

    def start(self, number, **changes):
        """Again and again while the system refuses for a shortage that is being played."""
        operation = dataclasses.replace(self.settings[number], **changes)
        image = settings_file.Settings([operation]).bytes()[BEHIND_VERSION:]
        if not wait_for(lambda: self.host.ask("start", number, image) == "0"):
            self.fail(f"operation {number} did not start: error {self.host.ask('start', number, image)}")

    def stop(self, number):
        self.require("stop", number, what=f"operation {number}: ")

    def disturb(self, number, rng):
        operation = self.operations[number]
        with self.touching("life", [number]):
            if rng.randrange(4):
                self.stop(number)
            else:
                self.require("delete", number)
                self.settings[number] = self.usual_settings(operation)
                self.add("operations replaced")
            settings = self.settings[number]
            time.sleep(rng.choice((0, rng.uniform(0, 0.3))))
            if rng.randrange(2):  # what leaves the way to the server as it is
                settings.udp_timeout_ms = rng.randint(1000, 3000)
                settings.allow = (("127.0.0.0", "127.255.255.255"),) * rng.randrange(20)
                settings.block = (("10.0.0.1", "10.255.255.255"),) * rng.randrange(20)
                settings.max_sessions = rng.randint(1, 2 * LOW_LIMIT) if operation["limited"] else HIGH_LIMIT
                self.add("changes of operations")
            if operation["by_name"] and not self.around.has_hosts:
                self.start(number, remote_host=IMPOSSIBLE_HOST)
                time.sleep(0.3)
                self.stop(number)
                self.add("failed name lookups, and back")
            self.start(number)
        self.add("restarts of operations")

    def run_operator(self, numbers, seed):
        rng = random.Random(seed)
        while time.monotonic() < self.end:
            self.disturb(rng.choice(numbers), rng)
            time.sleep(max(0, min(self.end - time.monotonic(), rng.uniform(0.5, 3))))

    # Faults

    def run_faults(self, seed):
        """All in turn, in an order that is drawn anew each time: none stays away for long."""
        rng, left = random.Random(seed), []
        while time.monotonic() < self.end:
            left = left or rng.sample(sorted(self.faults), len(self.faults))
            name = left.pop()
            self.faults[name](rng)
            self.add(name)
            time.sleep(max(0, min(self.end - time.monotonic(), rng.uniform(0.1, 1.5))))

    def shorten_descriptors(self, rng):
        usual = resource.getrlimit(resource.RLIMIT_NOFILE)
        with self.touching("admission", ENGINE):
            few = held_by(self.host.pid)[1] + rng.randrange(8)
            resource.prlimit(self.host.pid, resource.RLIMIT_NOFILE, (few, usual[1]))
            time.sleep(rng.uniform(0.1, 2))
            resource.prlimit(self.host.pid, resource.RLIMIT_NOFILE, usual)

    def shorten_ports(self, rng):
        usual, first = PORT_RANGE.read_text(), rng.randint(33000, 60000)
        with self.touching("admission", (*ENGINE, *PROGRAM)):
            PORT_RANGE.write_text(f"{first} {first + rng.randint(1, 16)}")
            time.sleep(rng.uniform(0.1, 1))
            PORT_RANGE.write_text(usual)

    def shorten_threads(self, rng):
        with self.touching("admission", ENGINE):
            self.require("fail threads", rng.randrange(10))
            time.sleep(rng.uniform(0.1, 0.5))
            self.require("fail threads", -1)

    def storm(self, rng):
        """More connections at once than the engine takes, which say nothing and end in one way or the other."""
        port = rng.choice([self.operations[n]["port"] for n in ENGINE if not self.operations[n]["udp"]])
        with self.touching("admission", ENGINE):
            end, storm = time.monotonic() + 2, []
            for _ in range(rng.randint(100, 1000)):
                with contextlib.suppress(OSError):  # a full queue of the listener makes a connect wait for seconds
                    if (left := end - time.monotonic()) > 0:
                        to, source = (self.plan["listener"], port), (self.plan["client"], 0)
                        storm.append(socket.create_connection(to, left, source))
            time.sleep(rng.uniform(0.1, 0.5))
            for connection in storm:
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", rng.randrange(2), 0))
                connection.close()
            if not wait_for(lambda: int(self.host.ask("counters").split()[1]) < USUAL_SESSIONS):
                self.fail("sessions of a storm remain")

    def fail_lookups(self, rng):
        """The look-up is tried here too: it must really fail, and really work again."""
        with self.touching("admission", [n for n in ENGINE if self.operations[n]["by_name"]]):
            self.around.write_hosts(False)
            self.require("resolve", HOST_NAME, what="a name that is gone was found: ")
            time.sleep(rng.uniform(0.1, 1.5))
            self.around.write_hosts(True)
            if self.host.ask("resolve", HOST_NAME) != self.plan["server"]:
                self.fail("a name that is back was not found")

    def fill_disk(self, rng):
        filler, log = self.around.disk / "filler", self.around.full_file
        with contextlib.suppress(OSError):  # more than there is room for
            filler.write_bytes(bytes(128 << 10 if self.around.has_disk else 0))
        self.require("set log", 1, log)
        time.sleep(rng.uniform(0.1, 1.5))
        filler.unlink()
        if self.around.has_disk:
            log.unlink(missing_ok=True)
            if not wait_for(lambda: has_content(log)):
                self.fail("the log did not go on when its disk had room again")
            log.unlink()
        self.require("set log", 1, self.log)

    def move_log(self, rng):
        time.sleep(rng.uniform(0.1, 1))
        self.require("set log", 1, self.log)
        moved = self.log.with_suffix(".moved")
        if wait_for(lambda: has_content(self.log)):
            self.log.rename(moved)
        if wait_for(lambda: has_content(self.log)):
            self.check_log(moved)
        else:
            self.fail("no new log was begun in place of one that was moved away")

    def check_log(self, file):
        """Nobody writes to it any more."""
        first, *lines = file.read_bytes().split(b"\r\n") if file.exists() else [b""]
        if torn := [first] * bool(first) + [line for line in lines if not WHOLE_LINE.fullmatch(line)]:
            self.fail(f"a log line that no event has written: {torn[0][:200]}")
        self.add("log lines checked", len(lines))
        file.unlink(missing_ok=True)

    def replace_texts(self, rng):
        self.require("set texts", rng.randrange(LANGUAGES), rng.choice(LINE_FORMATS), rng.choice(DATE_FORMATS),
                     rng.randrange(2))  # fmt: skip
        self.require("set log", int(rng.randrange(4) > 0), self.log)

    # The run

    def do_harm_beside(self, others):
        next_harm = next_word = time.monotonic()
        while not all(other.done() for other in others):
            self.read_reports()
            time.sleep(0.01)
            if (now := time.monotonic()) >= next_word + 60:
                next_word = now
                print(f"{self.counts['connections']} connections, {self.counts['replies, checked']} replies, "
                      f"{self.failures} failures", flush=True)  # fmt: skip
            if next_harm <= now < self.end:
                name = self.rng.choices(sorted(self.harms), (2, 1, 2))[0]
                self.harms[name]()
                self.add(name)
                next_harm = time.monotonic() + self.rng.uniform(1, 5)

    def run_phase(self, seconds):
        """Everything runs for this long, then load and operations are ended. What the engine holds then."""
        for number in LOAD["server"]:
            self.start_load("server", number)
        if self.program is None:
            self.start_program()
        self.require("set log", 1, self.log)
        self.require("begin log")
        for number in ENGINE:
            self.start(number)
        for number in LOAD["client"]:
            self.start_load("client", number)
        self.end = time.monotonic() + seconds
        with concurrent.futures.ThreadPoolExecutor() as pool:
            shares = [ENGINE[n::OPERATORS] for n in range(OPERATORS)]
            others = [pool.submit(self.run_operator, share, self.rng.random()) for share in shares]
            others.append(pool.submit(self.run_faults, self.rng.random()))
            try:
                self.do_harm_beside(others)
            finally:
                self.end = 0  # for the others, too
            for other in others:
                other.result()
        self.end_load("client")
        self.end_load("server")
        for number in ENGINE:
            self.stop(number)
        self.require("end log")
        self.check_log(self.log)
        return self.left_behind()

    def left_behind(self):
        if (counters := self.host.ask("counters")) != "0 0 0":
            self.fail(f"threads, sessions and set-ups are left at {counters}")
        heap, at_rest = int(self.host.ask("heap")), HOST_THREADS + self.own_threads
        wait_for(lambda: held_by(self.host.pid)[0] <= at_rest, 60)
        threads, descriptors, resident = held_by(self.host.pid)
        print(f"engine stopped: {threads} of {at_rest} threads, {descriptors} descriptors, {heap >> 10} KiB of heap, "
              f"{resident >> 10} KiB resident", flush=True)  # fmt: skip
        # Where a sanitizer has the heap, the memory is its own.
        return {"threads": threads - at_rest, "descriptors": descriptors, "bytes of heap": heap,
                "resident bytes": resident if heap else 0}  # fmt: skip

    def run(self):
        self.host = Host(self.options.build / "zelkor_engine_host")
        self.require("set texts", 0, LINE_FORMATS[0], DATE_FORMATS[0], 0)
        self.own_threads = held_by(self.host.pid)[0] - HOST_THREADS  # a sanitizer's library may have one
        warm_up = {**self.run_phase(self.options.seconds / 5), "threads": 0}
        at_end = self.run_phase(self.options.seconds * 4 / 5)
        for name, most in GROWTH.items():
            if at_end[name] > warm_up[name] + most:
                self.fail(f"{name} are left: {at_end[name] - warm_up[name]} more than behind the warm-up")
        self.end_program_behind_load()
        self.host.end()
        for name in (name for name in MUST_COUNT if self.counts[name] == 0):
            self.fail(f"nothing counted: {name}")

    def clear(self):
        """Ends whatever still runs."""
        for process in (*self.load.values(), *([self.host.process] if self.host else [])):
            kill(process)
        if self.program:
            self.program.__exit__()
        run("umount", "--lazy", self.around.disk)


def kill(process):
    process.kill()
    process.wait()


def main():
    parser = argparse.ArgumentParser(description="Random load and random faults; every byte is checked.")
    parser.add_argument("seconds", type=int, help="at least 5")
    parser.add_argument("--seed", type=int, default=time.time_ns())
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the folder with the built programs")
    options = parser.parse_args()
    if options.seconds < 5:
        parser.error("at least 5 seconds")
    network.enter()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))  # for all that is started, too
    print(f"seed {options.seed}, {options.seconds} seconds", flush=True)
    with tempfile.TemporaryDirectory(prefix="zelkor-soak-", ignore_cleanup_errors=True) as folder:
        soak = Soak(options, pathlib.Path(folder))
        try:
            soak.run()
        except (RuntimeError, OSError, AssertionError, subprocess.SubprocessError) as error:
            soak.fail(f"{type(error).__name__}: {error}")
        finally:
            soak.clear()
    for name in sorted(soak.counts):
        print(f"{soak.counts[name]:14}  {name}")
    print(f"seed {options.seed}: {'FAILED' if soak.failures else 'passed'}, {soak.failures} failures")
    return 1 if soak.failures else 0


if __name__ == "__main__":
    sys.exit(main())
