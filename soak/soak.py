"""Random load and random faults over the engine and the Linux program, every byte checked; docs/soak.md tells how.

This is the supervisor: it starts the engine's process, the program, the clients and the servers, does all that goes wrong
around them, and judges what the load tells. Whatever it does to a part of the set-up it notes with begin and end: a session
that failed is excused if that touched it.
"""
import argparse
import collections
import concurrent.futures
import contextlib
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

import settings_file  # noqa: E402
import zelkor_process  # noqa: E402

CLIENTS, SERVERS, OPERATORS = range(3), range(2), (1, 2)
ENGINE, PROGRAM = range(8), range(8, 10)  # the operations of either
HOST_THREADS = 3 + len(OPERATORS)  # of the engine's process at rest: main, log timer, one for each channel
PROGRAM_THREADS = 2 + len(PROGRAM)  # main, log writer, listeners
PATIENCE, LONGEST_STOP = 120, 600  # seconds
HIGH_LIMIT, LOW_LIMIT = 1000, 3
USUAL_SESSIONS = 200  # more than the load alone opens
# What may have grown: threads, descriptors, what the allocator keeps for itself, the pages of stacks that are reused.
GROWTH = {"threads": 0, "descriptors": 0, "bytes of heap": 64 << 10, "resident bytes": 24 << 20}
MOST_TOLD = 30  # one fault can have a thousand consequences
HOST_NAME = "soak-server.test"
IMPOSSIBLE_HOST = "x" * 80 + ".invalid"  # a label longer than labels can be: no resolver asks anybody
PORT_RANGE = pathlib.Path("/proc/sys/net/ipv4/ip_local_port_range")
# Each line begins and ends with marks of its own, by which a torn one is seen.
LINE_FORMATS = ("<%E|%P|%CIP|%CPort|%RHost>", "{%G%E %DAT %LIP:%LPort}", "(%Z%G%E %DAT %RPort)")
WHOLE_LINE = re.compile(rb"<.*>|\{.*\}|\(.*\)", re.DOTALL)
DATE_FORMATS = ("%Y.%MY.%D %H24:%MN:%S.%MS", "%D %H12 %AP")
LANGUAGES = 10
# A load that reached nobody would find no fault either.
MUST_COUNT = ("sessions to be whole, and whole", "bytes to servers, checked", "bytes to clients, checked",
              "replies, checked", "log lines checked")  # fmt: skip
WITH_SUPERVISOR = ("setpriv", "--pdeathsig", "KILL")  # ends with it, however that ends


def run(*command):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


def enter_namespaces():
    """Begins anew with a network and mounts of its own, as root or where users may make namespaces."""
    for rights in ((), ("--user", "--map-root-user")):
        command = ("unshare", *rights, "--net", "--mount")
        if run(*command, "true"):
            os.execvp(command[0], [*command, sys.executable, "-B", *sys.argv, "--inside"])


def wait_for(condition, seconds=PATIENCE):
    end = time.monotonic() + seconds
    while not (is_met := condition()) and time.monotonic() < end:
        time.sleep(0.01)
    return is_met


def hold(rng, most_ms):
    time.sleep(rng.uniform(0.1, most_ms / 1000))


def pause_at_times(rng, most_ms):
    """Short ones as often as long ones."""
    time.sleep(rng.randrange(2) * math.exp(rng.uniform(0, math.log(most_ms))) / 1000)


def has_content(file):
    return file.exists() and file.stat().st_size > 0


def held_by(pid):
    """Threads, descriptors and resident bytes."""
    folder = pathlib.Path(f"/proc/{pid}")
    pages = int((folder / "statm").read_text().split()[1])
    return len(os.listdir(folder / "task")), len(os.listdir(folder / "fd")), pages * resource.getpagesize()


class Surroundings:
    """What the rights give: a range of ports, a disk that fills up, a host table. What they do not is played otherwise."""

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

    def fill_disk(self):
        with contextlib.suppress(OSError):
            (self.disk / "filler").write_bytes(bytes(128 << 10 if self.has_disk else 0))

    def empty_disk(self):
        for name in ("filler", "soak.log"):
            (self.disk / name).unlink(missing_ok=True)


class Host:
    """The engine's process. Each channel is for one thread at a time."""

    def __init__(self, program):
        pairs = [socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET) for _ in (0, *OPERATORS)]
        self.channels, ends = zip(*pairs)
        numbers = [end.fileno() for end in ends]
        self.process = subprocess.Popen([*WITH_SUPERVISOR, program, *map(str, numbers)], pass_fds=numbers)
        self.pid = self.process.pid
        for ours, theirs in pairs:
            theirs.close()
            ours.settimeout(LONGEST_STOP)

    def ask(self, *words, channel=0):
        self.channels[channel].send("\t".join(map(str, words)).encode())
        if not (answer := self.channels[channel].recv(8192)):
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
        self.operations = [{"udp": n % 4 == 3 or n == PROGRAM[-1], "server": n // 2 % len(SERVERS), "port": 8001 + n,
                            "bounce": n in (1, 7), "by_name": n in (2, 3), "limited": n == 4}
                           for n in (*ENGINE, *PROGRAM)]  # fmt: skip
        self.plan = {"server": net + "1", "client": net + "2", "listener": net + "3", "operations": self.operations,
                     "servers": [{"tcp": 7001 + 2 * n, "udp": 7002 + 2 * n} for n in SERVERS]}  # fmt: skip
        self.around = Surroundings(folder, options.inside, self.plan["server"])
        self.settings = [self.usual_settings(operation) for operation in self.operations]
        self.log = folder / "engine.log"
        self.reports, self.read_at, self.serving = (folder / "reports").open("ab+", buffering=0), 0, set()
        self.clients, self.servers, self.program, self.host = {}, {}, None, None
        self.harms = {"restarts of the program": self.restart_program, "server processes killed": self.kill_server,
                      "client processes killed": self.kill_client}  # fmt: skip
        self.faults = {"descriptor shortages": self.shorten_descriptors, "thread shortages": self.shorten_threads,
                       "storms of connections": self.storm, "full disks under the log": self.fill_disk,
                       "logs moved away": self.move_log, "reloads of texts and templates": self.replace_texts}  # fmt: skip
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

    def require(self, *words, channel=0, what=""):
        """A command that has something to say has failed."""
        if answer := self.host.ask(*words, channel=channel):
            self.fail(what + answer)

    # What is done, and what it excuses

    @contextlib.contextmanager
    def touching(self, what, numbers):
        """Of operations: "admission", by which new sessions may be refused, or "life": open ones may end too; or "client"."""
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
            else:
                {"serving": self.serving.add, "fail": self.fail, "judge": self.judge}[what](*words)

    # The load

    def start_load(self, role, number, *seed):
        return subprocess.Popen([*WITH_SUPERVISOR, sys.executable, "-B", HERE / "load.py", role, str(number),
                                 json.dumps(self.plan), *seed], stdin=subprocess.PIPE, stdout=self.reports)  # fmt: skip

    def start_server(self, number):
        self.serving.discard(number)
        self.servers[number] = self.start_load("server", number)
        if not wait_for(lambda: self.read_reports() or number in self.serving):
            raise RuntimeError(f"server {number} does not serve")

    def start_client(self, number):
        self.clients[number] = self.start_load("client", number, str(self.rng.random()))

    def end_load(self, processes):
        """In an orderly way: their sessions run to their ends."""
        for process in processes.values():
            process.stdin.close()
        if not wait_for(lambda: self.read_reports() or all(each.poll() is not None for each in processes.values()), 300):
            self.fail("sessions did not end")
        for process in processes.values():
            if process.poll():
                self.fail(f"a process of the load ended with {process.returncode}")

    def kill_server(self):
        number = self.rng.choice(SERVERS)
        with self.touching("life", [n for n, operation in enumerate(self.operations) if operation["server"] == number]):
            kill(self.servers[number])
            pause_at_times(self.rng, 500)
            self.start_server(number)

    def kill_client(self):
        number = self.rng.choice(CLIENTS)
        with self.touching("client", [number]):
            kill(self.clients[number])
            self.start_client(number)

    # The program

    def start_program(self):
        operations = [settings_file.Operation(17 if self.operations[n]["udp"] else 6, self.operations[n]["port"],
                                              self.plan["server"], self.settings[n]["remote port"], udp_timeout_ms=1000,
                                              local_interface=self.plan["listener"], max_sessions=HIGH_LIMIT)
                      for n in PROGRAM]  # fmt: skip
        self.image = settings_file.Settings(operations, log_path=str(self.folder / "program.log")).bytes()
        self.file = self.folder / "program.KVR"
        self.file.write_bytes(self.image)
        os.utime(self.file, (0, 0))  # a later save shows
        self.program = zelkor_process.Zelkor(*WITH_SUPERVISOR, self.options.build / "zelkor", self.file)
        self.program.wait_started(len(PROGRAM))
        self.program_descriptors = held_by(self.program.process.pid)[1]

    def end_program(self):
        code = self.program.end()
        self.program.__exit__()
        if code != 0:
            self.fail("\n".join([f"the program ended with {code}", *self.program.err.lines]))
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
        """The words of a start behind address and port."""
        host = HOST_NAME if operation["by_name"] and self.around.has_hosts else self.plan["server"]
        port = self.plan["servers"][operation["server"]]["udp" if operation["udp"] else "tcp"]
        limit = LOW_LIMIT if operation["limited"] else HIGH_LIMIT
        return {"host": host, "remote port": port, "bounce": int(operation["bounce"]), "limit": limit, "timeout": 500,
                "filters": 0, "allowed": 0, "blocked": 0}  # fmt: skip

    def start(self, number, channel=0, **changes):
        """Again and again while the system refuses for a shortage that is being played."""
        operation = self.operations[number]
        words = ("start", number, 17 if operation["udp"] else 6, self.plan["listener"], operation["port"],
                 *{**self.settings[number], **changes}.values())  # fmt: skip
        if not wait_for(lambda: self.host.ask(*words, channel=channel) == "0"):
            self.fail(f"operation {number} did not start: error {self.host.ask(*words, channel=channel)}")

    def stop(self, number, channel=0):
        self.require("stop", number, channel=channel, what=f"operation {number}: ")

    def disturb(self, number, rng, channel):
        operation = self.operations[number]
        with self.touching("life", [number]):
            if rng.randrange(4):
                self.stop(number, channel)
            else:
                self.require("delete", number, channel=channel)
                self.settings[number] = self.usual_settings(operation)
                self.add("operations replaced")
            pause_at_times(rng, 300)
            if rng.randrange(2):  # what leaves the way to the server as it is
                self.settings[number].update(timeout=rng.randrange(1501), filters=rng.randrange(2),
                                             allowed=rng.randrange(20), blocked=rng.randrange(20))  # fmt: skip
                if operation["limited"]:
                    self.settings[number]["limit"] = rng.randint(1, 2 * LOW_LIMIT)
                self.add("changes of operations")
            if operation["by_name"] and not self.around.has_hosts:
                self.start(number, channel, host=IMPOSSIBLE_HOST)
                time.sleep(0.3)
                self.stop(number, channel)
                self.add("failed name lookups, and back")
            self.start(number, channel)
        self.add("restarts of operations")

    def run_operator(self, channel, seed, end):
        """Each has operations of its own: one is started and stopped by one thread."""
        rng = random.Random(seed)
        while time.monotonic() < end:
            self.disturb(rng.choice(ENGINE[channel - 1 :: len(OPERATORS)]), rng, channel)
            time.sleep(max(0, min(end - time.monotonic(), rng.uniform(0.5, 3))))

    # Faults

    def run_faults(self, seed, end):
        """All in turn, in an order that is drawn anew each time: none stays away for long."""
        rng, left = random.Random(seed), []
        while time.monotonic() < end:
            left = left or rng.sample(sorted(self.faults), len(self.faults))
            name = left.pop()
            self.faults[name](rng)
            self.add(name)
            time.sleep(max(0, min(end - time.monotonic(), rng.uniform(0.1, 1.5))))

    def shorten_descriptors(self, rng):
        usual = resource.getrlimit(resource.RLIMIT_NOFILE)
        with self.touching("admission", ENGINE):
            few = held_by(self.host.pid)[1] + rng.randrange(8)
            resource.prlimit(self.host.pid, resource.RLIMIT_NOFILE, (few, usual[1]))
            hold(rng, 2000)
            resource.prlimit(self.host.pid, resource.RLIMIT_NOFILE, usual)

    def shorten_ports(self, rng):
        usual, first = PORT_RANGE.read_text(), rng.randint(33000, 60000)
        with self.touching("admission", (*ENGINE, *PROGRAM)):
            PORT_RANGE.write_text(f"{first} {first + rng.randint(1, 16)}")
            hold(rng, 1000)
            PORT_RANGE.write_text(usual)

    def shorten_threads(self, rng):
        with self.touching("admission", ENGINE):
            self.require("fail threads", rng.randrange(10))
            hold(rng, 500)
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
            hold(rng, 500)
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
            hold(rng, 1500)
            self.around.write_hosts(True)
            if self.host.ask("resolve", HOST_NAME) != self.plan["server"]:
                self.fail("a name that is back was not found")

    def fill_disk(self, rng):
        self.around.fill_disk()
        self.require("set log", 1, self.around.full_file)
        hold(rng, 1500)
        self.around.empty_disk()
        if self.around.has_disk and not wait_for(lambda: has_content(self.around.full_file)):
            self.fail("the log did not go on when its disk had room again")
        self.require("set log", 1, self.log)

    def move_log(self, rng):
        hold(rng, 1000)
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

    def do_harm_until(self, end, others):
        """Ends early when one of the other threads has failed."""
        next_harm = next_word = time.monotonic()
        while not all(other.done() for other in others) and not any(other.done() and other.exception() for other in others):
            self.read_reports()
            time.sleep(0.01)
            if (now := time.monotonic()) >= next_word + 60:
                next_word = now
                print(f"{self.counts['connections']} connections, {self.counts['replies, checked']} replies, "
                      f"{self.failures} failures", flush=True)  # fmt: skip
            if next_harm <= now < end:
                name = self.rng.choices(sorted(self.harms), (2, 1, 2))[0]
                self.harms[name]()
                self.add(name)
                next_harm = time.monotonic() + self.rng.uniform(1, 5)

    def run_phase(self, seconds):
        """Everything runs for this long; then the load and the engine's operations are ended. What the engine holds then."""
        for number in SERVERS:
            self.start_server(number)
        if self.program is None:
            self.start_program()
        self.require("set log", 1, self.log)
        self.require("begin log")
        for number in ENGINE:
            self.start(number)
        for number in CLIENTS:
            self.start_client(number)
        end = time.monotonic() + seconds
        with concurrent.futures.ThreadPoolExecutor() as pool:
            others = [pool.submit(self.run_operator, n, self.rng.random(), end) for n in OPERATORS]
            others.append(pool.submit(self.run_faults, self.rng.random(), end))
            self.do_harm_until(end, others)
            for other in others:
                other.result()
        self.end_load(self.clients)
        self.end_load(self.servers)
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
        for name in MUST_COUNT:
            if self.counts[name] == 0:
                self.fail(f"nothing counted: {name}")

    def end(self):
        """Whatever still runs."""
        for process in (*self.clients.values(), *self.servers.values(), *([self.host.process] if self.host else [])):
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
    parser.add_argument("--inside", action="store_true", help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.seconds < 5:
        parser.error("at least 5 seconds")
    if not options.inside:
        enter_namespaces()
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
            soak.end()
    for name in sorted(soak.counts):
        print(f"{soak.counts[name]:14}  {name}")
    print(f"seed {options.seed}: {'FAILED' if soak.failures else 'passed'}, {soak.failures} failures")
    return 1 if soak.failures else 0


if __name__ == "__main__":
    sys.exit(main())
