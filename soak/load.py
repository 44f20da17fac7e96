"""The load of a soak: a process of clients or a server, at both ends of the operations; every byte that arrives is checked.

    load.py client NUMBER SEED PLAN
    load.py server NUMBER PLAN

PLAN is JSON: the addresses, and the operations with their servers. It runs until its standard input ends, and then until
its sessions have ended. What it prints is for the supervisor, one JSON array a line: ["counts", {name: number}],
["failed", text], or ["judge", what, operation, client, begin, end, text] for a failure that a fault excuses if one touched
the session between those moments of the monotonic clock; what is "life" or, of a refused session, "admission".

A TCP client sends a header that tells the whole plan of the session, then bytes that the header determines. The server
greets as soon as it is reached, sends bytes of its own, and in an exchange a mark at the end: it has got everything. A
session of the forwarder ends as a whole when either side closes, so only in an exchange can both directions be held to
arrive whole; a push is one-way, and its sender's end must come behind its last byte.
"""
import collections
import contextlib
import json
import os
import random
import select
import socket
import struct
import sys
import threading
import time
import zlib

TCP_THREADS, UDP_THREADS = 10, 4
STALL = 120  # seconds: longer than any machine needs
GREETING, ALL_RECEIVED = b"reached\n", b"all got\n"
# What stands at a place of a stream is what stands there in the pool, from an offset of the stream's own.
POOL = random.Random(1).randbytes(24 << 20)
MOST_BYTES, USUAL_BYTES, SLOWEST_BYTES = 1 << 23, 1 << 18, 1 << 17
KINDS = ("exchange", "client push", "server push", "client half-close", "server half-close", "client reset", "server reset")
# Mark, kind, operation, client, whether the server reads slowly, offset in the pool, bytes up, bytes down, bytes before
# the break, beginning of the session.
HEADER = struct.Struct("<4s4B4Id")
MARK = b"SOAK"
# Mark, client's seed, sequence, reply, client's port, payload, operation, server. In a request: how many replies.
DATAGRAM = struct.Struct("<4sIIHHHBB")
MOST_REPLIES = 3


class Report:
    """The counts and failures of this process."""

    def __init__(self):
        self.counts = collections.Counter()
        self.lock = threading.Lock()
        threading.Thread(target=self.tell_counts, daemon=True).start()
        threading.excepthook = lambda what: self.tell("failed", f"a thread of the load ended: {what.exc_value!r}")

    def add(self, name, number=1):
        with self.lock:
            self.counts[name] += number

    def tell_counts(self, period=0.5):
        while True:
            time.sleep(period)
            self.flush()

    def flush(self):
        with self.lock:
            counts, self.counts = self.counts, collections.Counter()
        if counts:
            self.tell("counts", counts)

    @staticmethod
    def tell(*words):
        os.write(1, json.dumps(words).encode() + b"\n")  # one call: whole among those of other processes


def spread(rng, most):
    """Small numbers as often as large ones: each power of two up to the most is as likely as the next."""
    power = 1 << rng.randrange(most.bit_length())
    return min(most, power + rng.randrange(power))


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


class Pump:
    """One side of a connection, both directions on one thread: sends in pieces and pauses of random size, and checks."""

    def __init__(self, connection, rng, out, expected, sent=0, received=0, slow=False):
        self.connection, self.rng, self.out, self.expected = connection, rng, out, expected
        self.sent, self.received, self.slow = sent, received, slow
        self.held_back = 0  # bytes at the end that go out when everything has been received
        self.break_at, self.break_by = None, ""  # what has been sent when it breaks: "half-close", "close", "reset"
        self.ends_when_received = False

    def is_whole(self):
        return self.received == len(self.expected)

    def pause(self, slow=False):
        self.moved = time.monotonic()
        if slow:
            return self.moved + self.rng.uniform(0.001, 0.01)
        return self.moved + (spread(self.rng, 100) / 1000 if self.rng.randrange(40) == 0 else 0)

    def run(self):
        """How it ended: "complete", "ended" or "failed" by the other side, "broken" as planned, "corrupt", "stalled"."""
        self.read_from = self.write_from = self.moved = time.monotonic()
        self.connection.setblocking(False)
        while True:
            if self.ends_when_received and self.is_whole():
                return "complete"
            # An end that meets bytes nobody has read becomes a reset, which destroys what is on its way: greeting first.
            if self.sent == self.break_at and self.received >= len(GREETING):
                self.break_at, self.out = None, self.out[: self.sent]
                if self.break_by != "half-close":
                    reset(self.connection) if self.break_by == "reset" else self.connection.close()
                    return "broken"
                with contextlib.suppress(OSError):  # it has failed already, as a receive will tell
                    self.connection.shutdown(socket.SHUT_WR)
            if end := self.step():
                return end

    def step(self):
        now = time.monotonic()
        if now - self.moved > STALL:
            return "stalled"
        limit = len(self.out) - (0 if self.is_whole() else self.held_back) if self.break_at is None else self.break_at
        has_more = self.sent < limit
        reads, writes = now >= self.read_from, has_more and now >= self.write_from
        until = min([now + 1] + [self.read_from] * (not reads) + [self.write_from] * (has_more and not writes))
        if not reads and not writes:  # a dead connection would end any wait for it at once
            time.sleep(max(0, until - now))
            return None
        poll = select.poll()
        poll.register(self.connection, select.POLLIN * reads | select.POLLOUT * writes)
        for _, events in poll.poll(max(0, until - now) * 1000):
            if reads and events & ~select.POLLOUT and (end := self.receive()):
                return end
            if writes and events & ~select.POLLIN:
                self.send(limit)
        return None

    def receive(self):
        try:
            piece = self.connection.recv(spread(self.rng, 2048 if self.slow else 65536))
        except BlockingIOError:
            return None
        except OSError:
            return "failed"
        if not piece:
            return "ended"
        if not self.expected.startswith(piece, self.received):
            return "corrupt"
        self.received += len(piece)
        self.read_from = self.pause(self.slow)
        return None

    def send(self, limit):
        try:
            self.sent += self.connection.send(self.out[self.sent : min(limit, self.sent + spread(self.rng, 65536))])
        except BlockingIOError:
            return
        except OSError:  # what the other side sent before it went can still be read
            self.out, self.break_at = self.out[: self.sent], None
            return
        self.write_from = self.pause()


class Session:
    """The plan of one TCP session, as its header tells it."""

    def __init__(self, kind, operation, client, slow_server, offset, up, down, break_at, begin):
        self.kind, self.operation, self.client, self.slow_server = KINDS[kind], operation, client, slow_server
        self.fields = (MARK, kind, operation, client, slow_server, offset, up, down, break_at, begin)
        self.break_at, self.begin = break_at, begin
        self.header = HEADER.pack(*self.fields)
        self.up = self.header + POOL[offset : offset + up]
        offset = offset * 7 % MOST_BYTES + MOST_BYTES
        self.down = GREETING + POOL[offset : offset + down] + (ALL_RECEIVED if self.kind == "exchange" else b"")

    @classmethod
    def draw(cls, rng, operation, client, slow):
        kind = 0 if rng.randrange(2) == 0 else rng.randrange(len(KINDS))
        up, down = (0 if KINDS[kind] == idle else cls.size(rng, slow) for idle in ("server push", "client push"))
        break_at = rng.randrange((up if KINDS[kind].startswith("client") else down) + 1)
        return cls(kind, operation, client, slow and rng.randrange(2), rng.randrange(MOST_BYTES), up, down, break_at,
                   time.monotonic())  # fmt: skip

    @staticmethod
    def size(rng, slow):
        if slow or rng.randrange(50) == 0:
            return spread(rng, SLOWEST_BYTES) if slow else 0
        return spread(rng, MOST_BYTES if rng.randrange(20) == 0 else USUAL_BYTES)

    def set_break(self, pump, side, head):
        """What this side does: "push" breaks behind its last byte, the others on the way."""
        if self.kind == f"{side} push":
            pump.break_at, pump.break_by = len(pump.out), "half-close"
            if side == "server" and self.fields[5] % 2:
                pump.break_by = "close"
        elif self.kind.startswith(side):
            pump.break_at, pump.break_by = head + self.break_at, self.kind.split()[-1]

    def judge(self, report, side, pump, end, is_whole):
        """Whatever was done to a session, no byte may be wrong; what was planned whole must be unless a fault is to blame."""
        text = (f"{side}, operation {self.operation}, {self.kind}, up {len(self.up)}, down {len(self.down)}, break at "
                f"{self.break_at}: {end} behind {pump.sent} sent, {pump.received} received")  # fmt: skip
        if end in ("corrupt", "stalled"):
            report.tell("failed", text)
        elif not is_whole:
            report.tell("judge", "life", self.operation, self.client, self.begin, time.monotonic(), text)


class Clients:
    """The threads of a client process."""

    def __init__(self, number, seed, plan):
        self.number, self.plan, self.report, self.is_over = number, plan, Report(), False
        runs = [self.tcp_session] * TCP_THREADS + [self.udp_session] * UDP_THREADS
        threads = [threading.Thread(target=self.run, args=(run, random.Random(f"{seed} {n}"))) for n, run in
                   enumerate(runs)]  # fmt: skip
        for thread in threads:
            thread.start()
        wait_for_end()
        self.is_over = True
        for thread in threads:
            thread.join()
        self.report.flush()

    def run(self, session, rng):
        is_udp = session == self.udp_session
        choice = [n for n, operation in enumerate(self.plan["operations"]) if operation["udp"] == is_udp]
        while not self.is_over:
            session(rng, rng.choice(choice))
            if rng.randrange(4) == 0:
                time.sleep(spread(rng, 100) / 1000)

    def open(self, kind, operation):
        client = socket.socket(type=kind)
        # Only connect chooses the port: a bind would take one that no other destination could share.
        client.setsockopt(socket.IPPROTO_IP, 24, 1)  # IP_BIND_ADDRESS_NO_PORT
        try:
            client.bind((self.plan["server" if operation["bounce"] else "client"], 0))
            client.connect((self.plan["listener"], operation["port"]))
        except OSError:
            client.close()
            return None
        return client

    def tcp_session(self, rng, number):
        operation = self.plan["operations"][number]
        slow = rng.randrange(12) == 0
        session = Session.draw(rng, number, self.number, slow)
        connection = self.open(socket.SOCK_STREAM, operation)
        if connection is None:
            self.judge_refusal(session, operation, "not connected")
            return
        slow_reader = slow and not session.slow_server
        self.report.add("slow readers", slow)
        if slow_reader:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        pump = Pump(connection, rng, session.up, session.down, slow=slow_reader)
        pump.ends_when_received = session.kind == "exchange"
        session.set_break(pump, "client", HEADER.size)
        end = pump.run()
        if end in ("ended", "failed") and pump.received < len(GREETING):
            self.judge_refusal(session, operation, end)
        else:
            self.judge(session, pump, end)
        if end == "complete" and rng.randrange(10) == 0:
            reset(connection)
        connection.close()

    def judge(self, session, pump, end):
        is_whole = {"exchange": end == "complete", "client push": end == "ended" and pump.sent == len(session.up),
                    "server push": end == "ended" and pump.is_whole()}.get(session.kind, True)  # fmt: skip
        self.report.add("connections")
        self.report.add("bytes to clients, checked", pump.received)
        if session.kind.startswith("client ") and session.kind != "client push":
            self.report.add("resets" if session.kind.endswith("reset") else "half-closes")
        self.report.add("sessions to be whole, and whole", is_whole and session.kind in KINDS[:3])
        session.judge(self.report, "client", pump, end, is_whole)

    def judge_refusal(self, session, operation, end):
        """A connection that reached no server. A reset by the server destroys what was sent before it."""
        self.report.add("refused connections")
        if operation["limited"] or (session.kind == "server reset" and end == "ended"):
            return
        text = f"operation {session.operation} refused a client without a reason: {session.kind}, {end}"
        self.report.tell("judge", "admission", session.operation, self.number, session.begin, time.monotonic(), text)

    def udp_session(self, rng, number):
        """One silent session proves nothing: its port may have been another client's a moment ago, whose session met an
        error and carries no replies any more until it ends."""
        begin = time.monotonic()
        for _ in range(3):
            client = self.open(socket.SOCK_DGRAM, self.plan["operations"][number])
            if client is None or not DatagramSession(self, rng, number, client).is_silent():
                return
        text = f"operation {number}: sessions without a single reply"
        self.report.tell("judge", "admission", number, self.number, begin, time.monotonic(), text)


class DatagramSession:
    """A UDP client with a socket of its own. Datagrams may be lost, but not come altered, twice or to another client."""

    def __init__(self, clients, rng, number, client):
        self.report, self.rng, self.number, self.client = clients.report, rng, number, client
        self.server = clients.plan["operations"][number]["server"]
        self.port, self.seed = client.getsockname()[1], rng.getrandbits(32)
        self.awaited, self.asked, self.replies = set(), 0, 0
        with client:
            for sequence in range(rng.randrange(1, 61)):
                self.send(sequence)
                # At times longer than the session's timeout: the next datagram begins another one of the same client.
                self.receive_for((spread(rng, 2000) if rng.randrange(50) == 0 else rng.randrange(8)) / 1000)
            self.receive_for(0.5, until_answered=True)

    def is_silent(self):
        return self.asked >= 10 and self.replies == 0

    def send(self, sequence):
        wanted = self.rng.randrange(MOST_REPLIES + 1)
        datagram = b""
        if self.rng.randrange(30):
            datagram = make_datagram(b"ASK.", self.seed, sequence, wanted, self.port, payload_size(self.rng), self.number)
            self.asked += wanted
            self.awaited |= {(sequence, reply) for reply in range(wanted)}
        try:
            self.client.send(datagram)
            self.report.add("datagrams sent")
        except OSError:  # what an earlier one met that was sent to a stopped operation
            pass

    def receive_for(self, seconds, until_answered=False):
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0 and not (until_answered and not self.awaited):
            self.client.settimeout(left)
            try:
                self.check(self.client.recv(65536))
            except OSError:
                pass

    def check(self, datagram):
        what = f"operation {self.number}, port {self.port}"
        if (head := read_datagram(b"TOLD", datagram)) is None:
            self.report.tell("failed", f"{what}: an altered reply of {len(datagram)} bytes")
            return
        _, seed, sequence, reply, port, _, number, server = head
        if (port, number, server) != (self.port, self.number, self.server):
            self.report.tell("failed", f"{what}: a reply for operation {number}, port {port} by server {server}")
        elif seed == self.seed:  # else for an earlier client of the same port
            if (sequence, reply) not in self.awaited:
                self.report.tell("failed", f"{what}: a reply that came twice or was not asked for")
            self.awaited.discard((sequence, reply))
            self.replies += 1
            self.report.add("replies, checked")


def payload_size(rng):
    return spread(rng, 60000 if rng.randrange(50) == 0 else 1400)


def make_datagram(mark, seed, sequence, reply, port, size, number, server=0):
    head = DATAGRAM.pack(mark, seed, sequence, reply, port, size, number, server)
    at = zlib.crc32(head) % MOST_BYTES
    return head + POOL[at : at + size]


def read_datagram(mark, datagram):
    """Its fields; None if it is not, byte by byte, what the other side would have sent."""
    if len(datagram) < DATAGRAM.size:
        return None
    head = DATAGRAM.unpack_from(datagram)
    return head if head[0] == mark and make_datagram(*head) == datagram else None


class Server:
    """A server process: one TCP and one UDP port."""

    def __init__(self, number, plan):
        self.number, self.plan, self.report = number, plan, Report()
        self.threads = []
        ports = plan["servers"][number]
        self.tcp = serve(socket.SOCK_STREAM, plan["server"], ports["tcp"])
        self.udp = serve(socket.SOCK_DGRAM, plan["server"], ports["udp"])
        for work in (self.accept, self.answer):
            threading.Thread(target=work, daemon=True).start()
        self.report.tell("serving", number)
        wait_for_end()
        for thread in self.threads:
            thread.join()
        self.report.flush()

    def accept(self):
        while True:
            connection, _ = self.tcp.accept()
            self.threads = [thread for thread in self.threads if thread.is_alive()]
            self.threads.append(threading.Thread(target=self.session, args=(connection,)))
            self.threads[-1].start()

    def session(self, connection):
        with connection:
            try:
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVTIMEO, struct.pack("ll", STALL, 0))
                connection.sendall(GREETING)
                header = connection.recv(HEADER.size, socket.MSG_WAITALL)
            except BlockingIOError:
                self.report.tell("failed", "a server waited in vain for a client's header")
                return
            except OSError:
                return
            if len(header) == HEADER.size:
                self.carry(connection, header)

    def carry(self, connection, header):
        mark, *fields = HEADER.unpack(header)
        if mark != MARK or fields[0] >= len(KINDS):
            self.report.tell("failed", "a server received a header that no client sent")
            return
        session = Session(*fields)
        if self.plan["operations"][session.operation]["server"] != self.number:
            self.report.tell("failed", f"a session of operation {session.operation} came to server {self.number}")
            return
        if session.slow_server:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        pump = Pump(connection, random.Random(fields[4]), session.down, session.up, len(GREETING), len(header),
                    session.slow_server)  # fmt: skip
        pump.held_back = len(ALL_RECEIVED) if session.kind == "exchange" else 0
        session.set_break(pump, "server", len(GREETING))
        end = pump.run()
        self.report.add("bytes to servers, checked", pump.received - len(header))
        if session.kind in ("server reset", "server half-close"):
            self.report.add("resets" if session.kind.endswith("reset") else "half-closes")
        # The server can tell only of a push: an exchange may end in any way once its mark is out.
        is_whole = session.kind != "client push" or (end == "ended" and pump.is_whole())
        session.judge(self.report, "server", pump, end, is_whole)

    def answer(self):
        while True:
            datagram, client = self.udp.recvfrom(65536)
            if not datagram:
                continue
            head = read_datagram(b"ASK.", datagram)
            if head is None or self.plan["operations"][head[6]]["server"] != self.number:
                self.report.tell("failed", f"server {self.number}: an altered request of {len(datagram)} bytes")
                continue
            self.report.add("datagrams served, checked")
            _, seed, sequence, replies, port, _, number, _ = head
            rng = random.Random(seed + sequence)
            for reply in range(replies):
                size = payload_size(rng)
                self.udp.sendto(make_datagram(b"TOLD", seed, sequence, reply, port, size, number, self.number), client)


def serve(kind, address, port):
    """The port is the one that the process before this had: another socket may hold it for a moment."""
    server = socket.socket(type=kind)
    server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, kind == socket.SOCK_STREAM)
    end = time.monotonic() + STALL
    while True:
        try:
            server.bind((address, port))
            break
        except OSError:
            if time.monotonic() > end:
                raise
            time.sleep(0.02)
    if kind == socket.SOCK_STREAM:
        server.listen(4096)
    return server


def wait_for_end():
    sys.stdin.read()


if __name__ == "__main__":
    sys.setswitchinterval(0.0005)
    role, own_number, *words = sys.argv[1:]
    if role == "client":
        Clients(int(own_number), words[0], json.loads(words[1]))
    else:
        Server(int(own_number), json.loads(words[0]))
