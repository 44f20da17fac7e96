"""The load of a soak: a process of clients or a server, at the ends of the operations; every byte is checked.

    load.py client|server NUMBER PLAN SEED

PLAN is JSON: the addresses, and the operations with their servers. The process ends its sessions and then itself when
its standard input ends. What it prints is for the supervisor, one JSON array a line: ["counts", {name: number}],
["begun", role, number], ["fail", text], or ["judge", what, operation, client, begin, end, text] for a failure that a
fault excuses if it touched the session between these moments of the monotonic clock; what is "life" or, of a refused
session, "admission".

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

TCP_THREADS, UDP_THREADS, STALL = 10, 4, 120  # seconds: longer than any machine needs
GREETING, ALL_RECEIVED = b"reached\n", b"all got\n"
# What stands at a place of a stream is what stands there in the pool, from an offset of the stream's own.
MOST_BYTES, USUAL_BYTES, SLOWEST_BYTES = 1 << 23, 1 << 18, 1 << 17
POOL = random.Random(1).randbytes(3 * MOST_BYTES)
WHOLE_KINDS = ("exchange", "client push", "server push")
KINDS = (*WHOLE_KINDS, "client half-close", "server half-close", "client reset", "server reset")
# Mark, kind, operation, client, whether the server reads slowly, offset in the pool, bytes up, bytes down, bytes before
# the break, beginning of the session.
HEADER = struct.Struct("<4s4B4Id")
# Mark, client's seed, sequence, reply, client's port, payload, operation, server. In a request: how many replies.
DATAGRAM = struct.Struct("<4sIIHHHBB")
MOST_REPLIES = 3
NO_LINGER = struct.pack("ii", 1, 0)


class Report:
    """The counts and failures of this process."""

    def __init__(self):
        self.counts, self.lock, self.next = collections.Counter(), threading.Lock(), 0
        threading.excepthook = lambda what: self.tell("fail", f"a thread of the load ended: {what.exc_value!r}")

    def add(self, name, number=1):
        with self.lock:
            self.counts[name] += number
        if time.monotonic() > self.next:
            self.flush()

    def flush(self):
        with self.lock:
            self.next = time.monotonic() + 0.5
            counts, self.counts = self.counts, collections.Counter()
        self.tell("counts", counts)

    @staticmethod
    def tell(*words):
        os.write(1, json.dumps(words).encode() + b"\n")  # one call: whole among those of other processes


def spread(rng, most):
    """Small numbers as often as large ones: each power of two up to the most is as likely as the next."""
    power = 1 << rng.randrange(most.bit_length())
    return min(most, power + rng.randrange(power))


class Stream:
    """A TCP session as its header tells it, and one side of it: both directions on one thread, in pieces and pauses of
    random size."""

    def __init__(self, report, rng, side, header):
        self.report, self.rng, self.side = report, rng, side
        _, kind, self.operation, self.client, self.is_server_slow, offset, up, down, break_at, self.begin = header
        self.kind = KINDS[kind]
        up = HEADER.pack(*header) + POOL[offset : offset + up]
        down = GREETING + POOL[2 * offset : 2 * offset + down] + (ALL_RECEIVED if self.kind == "exchange" else b"")
        self.sent, self.received = (0, 0) if side == "client" else (len(GREETING), HEADER.size)
        self.out, self.expected = (up, down) if side == "client" else (down, up)
        # At the end of what the server sends: goes out when it has received everything.
        self.held_back = len(ALL_RECEIVED) if self.kind == "exchange" and side == "server" else 0
        self.break_at, self.break_by = None, self.kind.split()[-1]
        if self.kind == f"{side} push":
            self.break_at, self.break_by = len(self.out), "close" if side == "server" and offset % 2 else "half-close"
        elif self.kind.startswith(side):
            self.break_at = (HEADER.size if side == "client" else len(GREETING)) + break_at

    def run(self, connection, is_slow):
        """How it ended: "complete", "ended" or "failed" by the peer, "broken" as planned, "corrupt" or "stalled"."""
        if is_slow:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
        connection.setblocking(False)
        poll = select.poll()
        while True:
            if self.side == "client" and self.kind == "exchange" and self.is_received():
                return "complete"
            # An end that meets unread bytes becomes a reset, which destroys what is on its way: greeting first.
            if self.sent == self.break_at and self.received >= len(GREETING):
                self.break_at, self.out = None, self.out[: self.sent]
                if self.break_by != "half-close":
                    close(connection, self.break_by == "reset")
                    return "broken"
                with contextlib.suppress(OSError):  # it has failed already, as a receive will tell
                    connection.shutdown(socket.SHUT_WR)
            limit = self.break_at
            if limit is None:
                limit = len(self.out) - (0 if self.is_received() else self.held_back)
            poll.register(connection, select.POLLIN | select.POLLOUT * (self.sent < limit))
            events = sum(events for _, events in poll.poll(STALL * 1000))
            if end := self.move(connection, events, limit, 2048 if is_slow else 65536):
                return end
            if is_slow or self.rng.randrange(40) == 0:
                time.sleep(self.rng.randrange(1, 10) / 1000 if is_slow else spread(self.rng, 100) / 1000)

    def is_received(self):
        return self.received == len(self.expected)

    def move(self, connection, events, limit, most):
        """One piece each way, as far as the events allow. The end if that is one."""
        if not events:
            return "stalled"
        if events & select.POLLOUT:
            try:
                self.sent += connection.send(self.out[self.sent : min(limit, self.sent + spread(self.rng, 65536))])
            except BlockingIOError:
                pass
            except OSError:  # what the other side sent before it went can still be read
                self.out, self.break_at = self.out[: self.sent], None
        if not events & ~select.POLLOUT:
            return None
        try:
            piece = connection.recv(spread(self.rng, most))
        except BlockingIOError:
            return None
        except OSError:
            return "failed"
        is_right = self.expected.startswith(piece, self.received)
        self.received += len(piece) * is_right
        return "ended" if not piece else None if is_right else "corrupt"

    def judge(self, end, is_whole):
        """No byte may be wrong, whatever was done; what was planned whole must be, or a fault is to blame."""
        if self.kind.startswith(self.side) and self.kind not in WHOLE_KINDS:
            self.report.add("resets" if self.kind.endswith("reset") else "half-closes")
        text = (f"{self.side}, operation {self.operation}, {self.kind}: {end} behind {self.sent} of {len(self.out)} "
                f"bytes sent, {self.received} of {len(self.expected)} received")  # fmt: skip
        if end in ("corrupt", "stalled"):
            self.report.tell("fail", text)
        elif not is_whole:
            self.blame("life", text)

    def blame(self, what, text):
        self.report.tell("judge", what, self.operation, self.client, self.begin, time.monotonic(), text)


def draw_header(rng, operation, client, is_slow):
    def size(is_idle):
        if is_idle or (not is_slow and rng.randrange(50) == 0):
            return 0
        return spread(rng, SLOWEST_BYTES if is_slow else MOST_BYTES if rng.randrange(20) == 0 else USUAL_BYTES)

    kind = 0 if rng.randrange(2) == 0 else rng.randrange(len(KINDS))
    up, down = size(KINDS[kind] == "server push"), size(KINDS[kind] == "client push")
    break_at = rng.randrange((up if KINDS[kind].startswith("client") else down) + 1)
    is_server_slow, offset = is_slow and rng.randrange(2), rng.randrange(MOST_BYTES)
    return b"SOAK", kind, operation, client, is_server_slow, offset, up, down, break_at, time.monotonic()


def close(connection, is_reset):
    if is_reset:
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, NO_LINGER)
    connection.close()


class Clients:
    """A client process."""

    def __init__(self, number, plan, seed):
        self.number, self.plan, self.report, self.is_over = number, plan, Report(), False
        runs = enumerate([self.tcp_session] * TCP_THREADS + [self.udp_session] * UDP_THREADS)
        threads = [threading.Thread(target=self.run, args=(run, random.Random(f"{seed} {n}"))) for n, run in runs]
        for thread in threads:
            thread.start()
        self.report.tell("begun", "client", number)
        sys.stdin.read()
        self.is_over = True
        for thread in threads:
            thread.join()

    def run(self, session, rng):
        is_udp = session == self.udp_session
        choice = [n for n, operation in enumerate(self.plan["operations"]) if operation["udp"] == is_udp]
        while not self.is_over:
            number = rng.choice(choice)
            session(rng, number, self.plan["operations"][number])
            if rng.randrange(4) == 0:
                time.sleep(spread(rng, 100) / 1000)

    def open(self, kind, operation):
        """None when it cannot be connected."""
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

    def tcp_session(self, rng, number, operation):
        is_slow = rng.randrange(12) == 0
        stream = Stream(self.report, rng, "client", draw_header(rng, number, self.number, is_slow))
        connection, end = self.open(socket.SOCK_STREAM, operation), "not connected"
        if connection:
            end = stream.run(connection, is_slow and not stream.is_server_slow)
            close(connection, end == "complete" and rng.randrange(10) == 0)
        if end in ("not connected", "ended", "failed") and stream.received < len(GREETING):
            self.report.add("refused connections")
            # A reset by the server destroys what was sent before it.
            if not operation["limited"] and (stream.kind != "server reset" or end != "ended"):
                stream.blame("admission", f"operation {number} refused a client without a reason: {stream.kind}, {end}")
            return
        is_whole = {"exchange": end == "complete", "client push": end == "ended" and stream.sent == len(stream.out),
                    "server push": end == "ended" and stream.is_received()}.get(stream.kind, True)  # fmt: skip
        self.report.add("connections")
        self.report.add("slow readers", int(is_slow))
        self.report.add("bytes to clients, checked", stream.received)
        self.report.add("sessions to be whole, and whole", int(is_whole and stream.kind in WHOLE_KINDS))
        stream.judge(end, is_whole)

    def udp_session(self, rng, number, operation):
        """One silent session proves nothing: its port may have been another client's a moment ago, whose session met an
        error and carries no replies any more until it ends."""
        begin = time.monotonic()
        for _ in range(3):
            client = self.open(socket.SOCK_DGRAM, operation)
            if client is None or DatagramSession(self.report, rng, number, operation["server"], client).has_answer():
                return
        text = f"operation {number}: sessions without a single reply"
        self.report.tell("judge", "admission", number, self.number, begin, time.monotonic(), text)


class DatagramSession:
    """A UDP client with a socket of its own. Datagrams may be lost, not come altered, twice or to another client."""

    def __init__(self, report, rng, number, server, client):
        self.report, self.rng, self.number, self.server, self.client = report, rng, number, server, client
        self.port, self.seed = client.getsockname()[1], rng.getrandbits(32)
        self.awaited, self.asked, self.replies = set(), 0, 0
        with client:
            for sequence in range(rng.randrange(1, 61)):
                self.send(sequence)
                # At times longer than the session's timeout: the next datagram begins another one of the same client.
                self.receive_for((spread(rng, 4000) if rng.randrange(50) == 0 else rng.randrange(8)) / 1000)
            self.receive_for(0.5 if self.replies else 5, until_answered=True)

    def has_answer(self):
        """Or has asked too little to be sure of one."""
        return self.asked < 10 or self.replies > 0

    def send(self, sequence):
        wanted, datagram = self.rng.randrange(MOST_REPLIES + 1), b""
        if self.rng.randrange(30):
            size = payload_size(self.rng)
            datagram = make_datagram(b"ASK.", self.seed, sequence, wanted, self.port, size, self.number)
            self.asked += wanted
            self.awaited |= {(sequence, reply) for reply in range(wanted)}
        with contextlib.suppress(OSError):  # what an earlier one met that was sent to a stopped operation
            self.client.send(datagram)
        self.report.add("datagrams sent")

    def receive_for(self, seconds, until_answered=False):
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0 and not (until_answered and not self.awaited):
            self.client.settimeout(left)
            with contextlib.suppress(OSError):
                self.check(self.client.recv(65536))

    def check(self, datagram):
        what = f"operation {self.number}, port {self.port}"
        if (head := read_datagram(b"TOLD", datagram)) is None:
            self.report.tell("fail", f"{what}: an altered reply of {len(datagram)} bytes")
            return
        _, seed, sequence, reply, port, _, number, server = head
        if (port, number, server) != (self.port, self.number, self.server):
            self.report.tell("fail", f"{what}: a reply for operation {number}, port {port} by server {server}")
        elif seed == self.seed:  # else for an earlier client of the same port
            if (sequence, reply) not in self.awaited:
                self.report.tell("fail", f"{what}: a reply that came twice or was not asked for")
            self.awaited.discard((sequence, reply))
            self.replies += 1
            self.report.add("replies, checked")


def payload_size(rng):
    return spread(rng, 60000 if rng.randrange(50) == 0 else 1400)


def make_datagram(*head, server=0):
    packed = DATAGRAM.pack(*head, server)
    at = zlib.crc32(packed) % MOST_BYTES
    return packed + POOL[at : at + head[5]]


def read_datagram(mark, datagram):
    """Its fields; None if it is not, byte by byte, what the other side would have sent."""
    if len(datagram) < DATAGRAM.size:
        return None
    *head, server = DATAGRAM.unpack_from(datagram)
    return (*head, server) if head[0] == mark and make_datagram(*head, server=server) == datagram else None


class Server:
    """A server process: one TCP and one UDP port."""

    def __init__(self, number, plan, _seed):
        self.number, self.operations, self.report, self.threads = number, plan["operations"], Report(), []
        tcp = socket.create_server((plan["server"], plan["servers"][number]["tcp"]), backlog=4096)
        udp = socket.socket(type=socket.SOCK_DGRAM)
        udp.bind((plan["server"], plan["servers"][number]["udp"]))
        threading.Thread(target=self.accept, args=(tcp,), daemon=True).start()
        threading.Thread(target=self.answer, args=(udp,), daemon=True).start()
        self.report.tell("begun", "server", number)
        sys.stdin.read()
        for thread in self.threads:
            thread.join()

    def accept(self, tcp):
        while True:
            connection, _ = tcp.accept()
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
                self.report.tell("fail", "a server waited in vain for a client's header")
            except OSError:
                pass
            else:
                if len(header) == HEADER.size:
                    self.carry(connection, HEADER.unpack(header))

    def carry(self, connection, header):
        if header[0] != b"SOAK" or self.operations[header[2]]["server"] != self.number:
            self.report.tell("fail", f"a header that no client sent to server {self.number}: {header}")
            return
        stream = Stream(self.report, random.Random(header[5]), "server", header)
        end = stream.run(connection, stream.is_server_slow)
        self.report.add("bytes to servers, checked", stream.received - HEADER.size)
        # The server can tell only of a push: an exchange may end in any way once its mark is out.
        stream.judge(end, stream.kind != "client push" or (end == "ended" and stream.is_received()))

    def answer(self, udp):
        while True:
            datagram, client = udp.recvfrom(65536)
            if not datagram:
                continue
            head = read_datagram(b"ASK.", datagram)
            if head is None or self.operations[head[6]]["server"] != self.number:
                self.report.tell("fail", f"server {self.number}: an altered request of {len(datagram)} bytes")
                continue
            self.report.add("datagrams served, checked")
            _, seed, sequence, replies, port, _, number, _ = head
            rng = random.Random(seed + sequence)
            for reply in range(replies):
                size = payload_size(rng)
                reply = make_datagram(b"TOLD", seed, sequence, reply, port, size, number, server=self.number)
                udp.sendto(reply, client)


if __name__ == "__main__":
    sys.setswitchinterval(0.0005)
    _, role, own_number, own_plan, own_seed = sys.argv
    {"client": Clients, "server": Server}[role](int(own_number), json.loads(own_plan), own_seed).report.flush()
