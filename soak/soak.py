"""Random load and random faults over the engine and the Linux program, every byte checked; docs/testing.md tells how.

This is the supervisor: it starts the engine's process, the program, the clients and the servers, does all that goes wrong
around them, and judges what the load tells. Whatever it does to a part of the set-up it notes with its begin and end: a
session that failed is excused if that touched it.
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
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "script/lib"))

import settings_file  # noqa: E402
import zelkor_process  # noqa: E402

CLIENTS, SERVERS, ENGINE_OPERATIONS, PROGRAM_OPERATIONS, OPERATORS = 3, 2, 8, 2, 2
ENGINE = range(ENGINE_OPERATIONS)
PROGRAM = range(ENGINE_OPERATIONS, ENGINE_OPERATIONS + PROGRAM_OPERATIONS)
HOST_THREADS = 3 + OPERATORS  # of the engine's process at rest: main, log timer, one for each channel
PATIENCE = 120  # seconds for what a busy machine does late
LONGEST_STOP = 600
HIGH_LIMIT, LOW_LIMIT = 1000, 3
USUAL_SESSIONS = 200  # more than the load alone opens
# What the allocator may keep for itself, and the touched pages of the stacks that the library reuses.
HEAP_SLACK, RESIDENT_SLACK = 64 << 10, 24 << 20
MOST_TOLD = 30  # one fault can have a thousand consequences
HOST_NAME = "soak-server.test"
IMPOSSIBLE_HOST = "x" * 80 + ".invalid"  # a label longer than labels can be: no resolver asks anybody
PORT_RANGE = pathlib.Path("/proc/sys/net/ipv4/ip_local_port_range")
# Each line begins and ends with marks of its own, by which a torn one is seen.
LINE_FORMATS = ("<%E|%P|%CIP|%CPort|%RHost>", "{%G%E %DAT %LIP:%LPort}", "(%Z%G%E %DAT %RPort)")
WHOLE_LINE = re.compile(rb"<.*>|\{.*\}|\(.*\)", re.DOTALL)
DATE_FORMATS = ("%Y.%MY.%D %H24:%MN:%S.%MS", "%D %H12 %AP")
LANGUAGES = 10
WORKED = ("sessions to be whole, and whole", "bytes to servers, checked", "bytes to clients, checked",
          "replies, checked", "log lines checked")  # fmt: skip
# Ended with the supervisor, however that ends.
WITH_SUPERVISOR = ("setpriv", "--pdeathsig", "KILL")


def run(*command):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


def enter_namespaces():
    """Begins the program anew with a network and mounts of its own, as root or where users may make namespaces."""
    for rights in ((), ("--user", "--map-root-user")):
        command = ("unshare", *rights, "--net", "--mount")
        if run(*command, "true"):
            os.execvp(command[0], [*command, sys.executable, "-B", *sys.argv, "--inside"])


def wait_for(condition, seconds=PATIENCE):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.01)
    return True


def spread(rng, most):
    """Small numbers as often as large ones."""
    return min(most, math.exp(rng.uniform(0, math.log(most + 1))))


def hold(rng, most_ms):
    time.sleep(rng.uniform(0.1, most_ms / 1000))


def threads_of(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def descriptors_of(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


def resident_of(pid):
    return int(pathlib.Path(f"/proc/{pid}/statm").read_text().split()[1]) * resource.getpagesize()


class Surroundings:
    """What the rights give: a range of ports, a disk that fills up, a host table. What they do not is played otherwise."""

    def __init__(self, folder, has_namespaces, server):
        self.folder, self.server = folder, server
        self.disk, self.hosts, switch = folder / "disk", folder / "hosts", folder / "nsswitch.conf"
        if has_namespaces and not run("ip", "link", "set", "lo", "up"):
            raise RuntimeError("the loopback interface of a new network does not come up")
        self.disk.mkdir()
        self.has_disk = has_namespaces and run("mount", "-t", "tmpfs", "-o", "size=64k,mode=700", "soak", self.disk)
        # The system's own table of sources may ask servers, which a network of our own cannot reach.
        switch.write_text("hosts: files\n")
        self.write_hosts(True)
        self.has_hosts = has_namespaces and all(run("mount", "--bind", file, f"/etc/{file.name}")
                                                for file in (switch, self.hosts))  # fmt: skip
        self.has_ports = has_namespaces and os.access(PORT_RANGE, os.W_OK)
        print(f"port shortages: {'a narrow range in a network of its own' if self.has_ports else 'left out, no rights'}")
        print(f"full disk: {'a file system of 64 KiB' if self.has_disk else '/dev/full'}")
        print(f"failing look-ups: {'a host table of its own' if self.has_hosts else 'a name that cannot be'}")

    def write_hosts(self, is_known):
        """In place: a new file of that name would not be what /etc/hosts shows."""
        self.hosts.write_text(f"{self.server} {HOST_NAME if is_known else 'nobody.test'}\n")

    def full_file(self):
        return self.disk / "soak.log" if self.has_disk else pathlib.Path("/dev/full")

    def fill_disk(self):
        with contextlib.suppress(OSError):
            (self.disk / "filler").write_bytes(bytes(128 << 10 if self.has_disk else 0))

    def empty_disk(self):
        for name in ("filler", "soak.log"):
            (self.disk / name).unlink(missing_ok=True)

    def end(self):
        if self.has_disk:
            run("umount", "--lazy", self.disk)


class Host:
    """The engine's process. Each channel is for one thread at a time."""

    def __init__(self, program):
        pairs = [socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET) for _ in range(1 + OPERATORS)]
        ends = [theirs.fileno() for _, theirs in pairs]
        self.process = subprocess.Popen([*WITH_SUPERVISOR, program, *map(str, ends)], pass_fds=ends)
        self.channels = [ours for ours, _ in pairs]
        for ours, theirs in pairs:
            theirs.close()
            ours.settimeout(LONGEST_STOP)
        self.pid = self.process.pid

    def ask(self, *words, channel=0):
        self.channels[channel].send("\t".join(map(str, words)).encode())
        if not (answer := self.channels[channel].recv(8192)):
            raise RuntimeError("the engine's process has ended")
        return answer[1:].decode()

    def end(self):
        for channel in self.channels:
            channel.close()
        if code := self.process.wait(LONGEST_STOP):
            raise RuntimeError(f"the engine's process ended with {code}")


class Soak:
    """The whole of it. What is above "Faults" runs on the main thread, save for fail, add and touching."""

    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.rng = random.Random(options.seed)
        self.counts, self.failures, self.touches = collections.Counter(), 0, collections.defaultdict(list)
        # Addresses of this run's own: no other program is likely to hold a port there.
        net = f"127.{self.rng.randrange(1, 255)}.{self.rng.randrange(256)}."
        self.plan = {"server": net + "1", "client": net + "2", "listener": net + "3",
                     "servers": [{"tcp": 7001 + 2 * n, "udp": 7002 + 2 * n} for n in range(SERVERS)],
                     "operations": [
                         {"udp": n % 4 == 3 or n == PROGRAM[-1], "server": n // 2 % SERVERS, "port": 8001 + n,
                          "bounce": n in (1, 7), "by_name": n in (2, 3), "limited": n == 4}
                         for n in (*ENGINE, *PROGRAM)
                     ]}  # fmt: skip
        self.surroundings = Surroundings(folder, options.inside, self.plan["server"])
        self.log = folder / "engine.log"
        self.reports = (folder / "reports").open("ab+", buffering=0)
        self.read_at, self.serving, self.is_over = 0, set(), False
        self.clients, self.servers, self.program, self.host = {}, {}, None, None
        self.settings = [self.usual_settings(operation) for operation in self.plan["operations"]]

    def fail(self, text):
        self.failures += 1
        if self.failures <= MOST_TOLD:
            print(f"FAILED: {text}", file=sys.stderr, flush=True)

    def add(self, name, number=1):
        self.counts[name] += number

    def require(self, answer, what=""):
        """An answer of the engine's process that is not empty is a failure."""
        if answer:
            self.fail(what + answer)

    # What is done, and what it excuses

    @contextlib.contextmanager
    def touching(self, what, numbers):
        """Of operations: "admission", by which new sessions may be refused, or "life": open ones may end too; or clients."""
        interval = [time.monotonic(), math.inf]
        for number in numbers:
            self.touches[what, number].append(interval)
        try:
            yield
        finally:
            interval[1] = time.monotonic()

    def was_touched(self, what, number, begin, end):
        return any(first <= end and last >= begin for first, last in self.touches[what, number])

    def judge(self, what, operation, client, begin, end, text):
        kinds = [("life", operation), ("client", client)] + [("admission", operation)] * (what == "admission")
        if any(self.was_touched(*kind, begin, end) for kind in kinds):
            self.add("sessions excused by a fault")
        else:
            self.fail(text)

    def read_reports(self):
        lines = os.pread(self.reports.fileno(), 1 << 20, self.read_at)
        lines = lines[: lines.rfind(b"\n") + 1]
        self.read_at += len(lines)
        for what, *words in map(json.loads, lines.splitlines()):
            if what == "counts":
                self.counts.update(words[0])
            elif what == "serving":
                self.serving.add(words[0])
            else:
                {"fail": self.fail, "judge": self.judge}[what](*words)
        return len(lines)

    # Processes

    def start_load(self, role, number, *seed):
        return subprocess.Popen([*WITH_SUPERVISOR, sys.executable, "-B", HERE / "load.py", role, str(number),
                                 json.dumps(self.plan), *seed], stdin=subprocess.PIPE, stdout=self.reports)  # fmt: skip

    def start_server(self, number):
        self.serving.discard(number)
        self.servers[number] = self.start_load("server", number)
        if not wait_for(lambda: self.read_reports() and number in self.serving):
            raise RuntimeError(f"server {number} does not serve")

    def start_client(self, number):
        self.clients[number] = self.start_load("client", number, str(self.rng.random()))

    def end_load(self, processes):
        """In an orderly way: their sessions run to their ends."""
        for process in processes.values():
            process.stdin.close()
        while any(process.poll() is None for process in processes.values()):
            self.read_reports()
            time.sleep(0.01)
        for process in processes.values():
            if process.returncode:
                self.fail(f"a process of the load ended with {process.returncode}")

    def kill_server(self):
        number = self.rng.randrange(SERVERS)
        operations = [n for n, operation in enumerate(self.plan["operations"]) if operation["server"] == number]
        with self.touching("life", operations):
            self.kill(self.servers[number])
            time.sleep(self.rng.randrange(2) * spread(self.rng, 500) / 1000)
            self.start_server(number)
        self.add("server processes killed")

    def kill_client(self):
        number = self.rng.randrange(CLIENTS)
        with self.touching("client", [number]):
            self.kill(self.clients[number])
            self.start_client(number)
        self.add("client processes killed")

    @staticmethod
    def kill(process):
        process.kill()
        process.wait()
        process.stdin.close()

    # The program

    def start_program(self):
        operations = [
            settings_file.Operation(settings_file.UDP if operation["udp"] else settings_file.TCP, operation["port"],
                                    self.plan["server"], self.server_port(operation), udp_timeout_ms=1000,
                                    local_interface=self.plan["listener"], max_sessions=HIGH_LIMIT)
            for operation in (self.plan["operations"][n] for n in PROGRAM)
        ]  # fmt: skip
        self.image = settings_file.Settings(operations, log_path=str(self.folder / "program.log")).bytes()
        self.file = self.folder / "program.KVR"
        self.file.write_bytes(self.image)
        os.utime(self.file, (0, 0))  # a later save shows
        self.program = zelkor_process.Zelkor(*WITH_SUPERVISOR, self.options.build / "zelkor", self.file)
        self.program.wait_started(PROGRAM_OPERATIONS)
        self.program_descriptors = descriptors_of(self.program.process.pid)

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
        self.add("restarts of the program")

    def end_program_behind_load(self):
        """What it held for the load must be gone; parked threads go after ten seconds."""
        pid = self.program.process.pid
        idle = 2 + PROGRAM_OPERATIONS + self.own_threads
        is_idle = wait_for(lambda: threads_of(pid) <= idle and descriptors_of(pid) <= self.program_descriptors)
        print(f"{'the program behind the load:':<28} {threads_of(pid)} threads, {descriptors_of(pid)} descriptors")
        if not is_idle:
            self.fail("the program keeps threads or descriptors")
        self.end_program()

    # Operations of the engine

    def server_port(self, operation):
        return self.plan["servers"][operation["server"]]["udp" if operation["udp"] else "tcp"]

    def usual_settings(self, operation):
        """The words of a start behind address and port."""
        host = HOST_NAME if operation["by_name"] and self.surroundings.has_hosts else self.plan["server"]
        return {"host": host, "remote port": self.server_port(operation), "bounce": int(operation["bounce"]),
                "limit": LOW_LIMIT if operation["limited"] else HIGH_LIMIT, "timeout": 500, "filters": 0, "allowed": 0,
                "blocked": 0}  # fmt: skip

    def start(self, number, channel=0, **changes):
        """Again and again while the system refuses for a shortage that is being played."""
        operation = self.plan["operations"][number]
        words = ("start", number, 17 if operation["udp"] else 6, self.plan["listener"], operation["port"],
                 *{**self.settings[number], **changes}.values())  # fmt: skip
        if not wait_for(lambda: self.host.ask(*words, channel=channel) == "0"):
            self.fail(f"operation {number} did not start: error {self.host.ask(*words, channel=channel)}")

    def stop(self, number, channel=0):
        self.require(self.host.ask("stop", number, channel=channel), f"operation {number}: ")

    def disturb(self, number, rng, channel):
        operation = self.plan["operations"][number]
        with self.touching("life", [number]):
            if rng.randrange(4):
                self.stop(number, channel)
            else:
                self.host.ask("delete", number, channel=channel)
                self.settings[number] = self.usual_settings(operation)
                self.add("operations replaced")
            time.sleep(rng.randrange(2) * spread(rng, 300) / 1000)
            if rng.randrange(2):
                self.change(number, rng)
            if operation["by_name"] and not self.surroundings.has_hosts:
                self.start(number, channel, host=IMPOSSIBLE_HOST)
                time.sleep(0.3)
                self.stop(number, channel)
                self.add("failed name lookups, and back")
            self.start(number, channel)
        self.add("restarts of operations")

    def change(self, number, rng):
        """Settings that leave the way to the server as it is."""
        settings = self.settings[number]
        settings.update(timeout=rng.randrange(1501), filters=rng.randrange(2), allowed=rng.randrange(20),
                        blocked=rng.randrange(20))  # fmt: skip
        if self.plan["operations"][number]["limited"]:
            settings["limit"] = rng.randint(1, 2 * LOW_LIMIT)
        self.add("changes of operations")

    def run_operator(self, channel, seed, end):
        """Each has operations of its own: one is started and stopped by one thread."""
        rng = random.Random(seed)
        while time.monotonic() < end:
            self.disturb(rng.choice(ENGINE[channel - 1 :: OPERATORS]), rng, channel)
            time.sleep(max(0, min(end - time.monotonic(), rng.uniform(0.5, 3))))

    # Faults

    def run_faults(self, seed, end):
        """All in turn, in an order that is drawn anew each time: none stays away for long."""
        rng, left = random.Random(seed), []
        while time.monotonic() < end:
            if not left:
                left = [self.descriptor_shortage, self.port_shortage, self.thread_shortage, self.storm,
                        self.lookup_failure, self.full_disk, self.move_log, self.replace_texts]  # fmt: skip
                rng.shuffle(left)
            left.pop()(rng)
            time.sleep(max(0, min(end - time.monotonic(), rng.uniform(0.1, 1.5))))

    def descriptor_shortage(self, rng):
        usual = resource.getrlimit(resource.RLIMIT_NOFILE)
        with self.touching("admission", ENGINE):
            few = descriptors_of(self.host.pid) + rng.randrange(8)
            resource.prlimit(self.host.pid, resource.RLIMIT_NOFILE, (few, usual[1]))
            hold(rng, 2000)
            resource.prlimit(self.host.pid, resource.RLIMIT_NOFILE, usual)
        self.add("descriptor shortages")

    def port_shortage(self, rng):
        if not self.surroundings.has_ports:
            return
        usual, first = PORT_RANGE.read_text(), rng.randint(33000, 60000)
        with self.touching("admission", (*ENGINE, *PROGRAM)):
            PORT_RANGE.write_text(f"{first} {first + rng.randint(1, 16)}")
            hold(rng, 1000)
            PORT_RANGE.write_text(usual)
        self.add("port shortages")

    def thread_shortage(self, rng):
        with self.touching("admission", ENGINE):
            self.host.ask("fail threads", rng.randrange(10))
            hold(rng, 500)
            self.host.ask("fail threads", -1)
        self.add("thread shortages")

    def storm(self, rng):
        """More connections at once than the engine takes, which say nothing and end in one way or the other."""
        operation = self.plan["operations"][rng.choice([n for n in ENGINE if not self.plan["operations"][n]["udp"]])]
        with self.touching("admission", ENGINE):
            end, storm = time.monotonic() + 2, []
            for _ in range(rng.randint(100, 1000)):
                left = end - time.monotonic()
                if left <= 0:  # a full queue of the listener makes a connect wait for seconds
                    break
                with contextlib.suppress(OSError):
                    storm.append(socket.create_connection((self.plan["listener"], operation["port"]), left,
                                                          (self.plan["client"], 0)))  # fmt: skip
            hold(rng, 500)
            for connection in storm:
                if rng.randrange(2):
                    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                connection.close()
            if not wait_for(lambda: int(self.host.ask("counters").split()[1]) < USUAL_SESSIONS):
                self.fail("sessions of a storm remain")
        self.add("storms of connections")

    def lookup_failure(self, rng):
        """The look-up is tried here too: it must really fail, and really work again."""
        if not self.surroundings.has_hosts:
            return
        with self.touching("admission", [n for n in ENGINE if self.plan["operations"][n]["by_name"]]):
            self.surroundings.write_hosts(False)
            if self.host.ask("resolve", HOST_NAME):
                self.fail("a name that is gone was found")
            hold(rng, 1500)
            self.surroundings.write_hosts(True)
            if self.host.ask("resolve", HOST_NAME) != self.plan["server"]:
                self.fail("a name that is back was not found")
        self.add("failed name lookups, and back")

    def full_disk(self, rng):
        file = self.surroundings.full_file()
        self.surroundings.fill_disk()
        self.host.ask("set log", 1, file)
        hold(rng, 1500)
        self.surroundings.empty_disk()
        if self.surroundings.has_disk and not wait_for(lambda: has_content(file)):
            self.fail("the log did not go on when its disk had room again")
        self.host.ask("set log", 1, self.log)
        self.add("full disks under the log")

    def move_log(self, rng):
        hold(rng, 1000)
        self.host.ask("set log", 1, self.log)
        moved = self.log.with_suffix(".moved")
        if wait_for(lambda: has_content(self.log)) and self.log.rename(moved) and wait_for(lambda: has_content(self.log)):
            self.check_log(moved)
            self.add("logs moved away")
        else:
            self.fail("no new log was begun in place of one that was moved away")

    def check_log(self, file):
        """Nobody writes to it any more."""
        if not file.exists():
            return
        first, *lines = file.read_bytes().split(b"\r\n")
        torn = [line for line in lines if not WHOLE_LINE.fullmatch(line)] + [first] * bool(first)
        if torn:
            self.fail(f"a log line that no event has written: {torn[0][:200]}")
        self.add("log lines checked", len(lines))
        file.unlink()

    def replace_texts(self, rng):
        self.host.ask("set texts", rng.randrange(LANGUAGES), rng.choice(LINE_FORMATS), rng.choice(DATE_FORMATS),
                      rng.randrange(2))  # fmt: skip
        self.host.ask("set log", int(rng.randrange(4) > 0), self.log)
        self.add("reloads of texts and templates")

    # The run

    def do_harm_until(self, end, others):
        """Ends early when one of the other threads does."""
        next_harm = next_word = time.monotonic()
        while time.monotonic() < end or not all(other.done() for other in others):
            self.read_reports()
            time.sleep(0.01)
            now = time.monotonic()
            if now >= next_word + 60:
                next_word = now
                print(f"{self.counts['connections']} connections, {self.counts['replies, checked']} replies, "
                      f"{self.failures} failures", flush=True)  # fmt: skip
            if any(other.done() and other.exception() for other in others):
                break
            if next_harm <= now < end:
                self.rng.choice((self.restart_program, *[self.kill_server] * 2, *[self.kill_client] * 2))()
                next_harm = time.monotonic() + self.rng.uniform(1, 5)

    def run_phase(self, seconds):
        """Everything runs for this long; then the engine's operations and the load are ended. What the engine holds then."""
        for number in range(SERVERS):
            self.start_server(number)
        if self.program is None:
            self.start_program()
        self.host.ask("set log", 1, self.log)
        self.require(self.host.ask("begin log"))
        for number in ENGINE:
            self.start(number)
        for number in range(CLIENTS):
            self.start_client(number)
        end = time.monotonic() + seconds
        seeds = [self.rng.random() for _ in range(1 + OPERATORS)]
        with concurrent.futures.ThreadPoolExecutor() as pool:
            others = [pool.submit(self.run_operator, n, seeds[n], end) for n in range(1, 1 + OPERATORS)]
            others.append(pool.submit(self.run_faults, seeds[0], end))
            self.do_harm_until(end, others)
            for other in others:
                other.result()
        self.end_load(self.clients)
        self.end_load(self.servers)
        for number in ENGINE:
            self.stop(number)
        self.require(self.host.ask("end log"))
        self.check_log(self.log)
        return self.left_behind()

    def left_behind(self):
        """Threads, descriptors, bytes of heap and resident bytes of the engine's process."""
        counters = self.host.ask("counters")
        if counters != "0 0 0":
            self.fail(f"threads, sessions and set-ups are left at {counters}")
        heap, pid = int(self.host.ask("heap")), self.host.pid
        wait_for(lambda: threads_of(pid) <= HOST_THREADS + self.own_threads, 60)
        left = threads_of(pid), descriptors_of(pid), heap, resident_of(pid)
        print(f"{'stopped:':<28} {left[0]} threads, {left[1]} descriptors, {left[2] >> 10} KiB of heap, "
              f"{left[3] >> 10} KiB resident", flush=True)  # fmt: skip
        return left

    def compare(self, before, after):
        slack = (0, 0, HEAP_SLACK, RESIDENT_SLACK if before[2] else math.inf)
        for name, old, new, allowed in zip(("threads", "descriptors", "bytes of heap", "resident bytes"), before, after,
                                           slack):  # fmt: skip
            if new > old + allowed:
                self.fail(f"{name} are left: {new} behind {old}")

    def run(self):
        self.host = Host(self.options.build / "zelkor_engine_host")
        self.require(self.host.ask("set texts", 0, LINE_FORMATS[0], DATE_FORMATS[0], 0))
        self.own_threads = threads_of(self.host.pid) - HOST_THREADS  # a sanitizer's library may have one
        warm_up = self.run_phase(self.options.seconds / 5)
        at_end = self.run_phase(self.options.seconds * 4 / 5)
        self.compare((HOST_THREADS + self.own_threads, *warm_up[1:]), at_end)
        self.end_program_behind_load()
        self.host.end()
        for name in WORKED:  # a load that reached nobody would find no fault either
            if self.counts[name] == 0:
                self.fail(f"nothing counted: {name}")

    def end(self):
        """Whatever still runs."""
        for process in (*self.clients.values(), *self.servers.values(), *([self.host.process] if self.host else [])):
            if process.poll() is None:
                process.kill()
                process.wait()
        if self.program:
            self.program.__exit__()
        self.surroundings.end()


def has_content(file):
    return file.exists() and file.stat().st_size > 0


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
