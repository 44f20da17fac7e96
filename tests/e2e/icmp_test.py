"""ICMP errors about the datagrams of a session reach its client: real hosts, real errors, and crafted ones.

The kernels of the hosts make the real errors. The client's hands an error to the client's socket if it quotes what that
socket sent, and tells what stood in it.
"""
import contextlib
import dataclasses
import errno
import socket
import struct
import sys
import unittest

import network
from e2e import LinuxTest
from network import cable_of, host
from sample_servers import DEADLINE, LOCALHOST, EchoServer, free_port, wait_for
from settings_file import TCP, UDP, Operation, Settings

NEAR, OTHER, ROUTER, FAR = "10.77.1.2", "10.77.2.2", "10.77.3.2", "10.77.4.2"
FOR_NEAR, FOR_OTHER, FOR_ROUTER, FOR_FAR = "10.77.1.1", "10.77.2.1", "10.77.3.1", "10.77.4.1"  # beside these
ANYWHERE = "0.0.0.0"
IP_RECVERR = 11  # linux/in.h
CLOSED = ("ECONNREFUSED", 3, 3, 0)
# Whoever runs it, and root too.
ONLY_RAW_SOCKETS = ("setpriv", "--bounding-set", "-all,+net_raw", "--inh-caps", "-all")
NO_RAW_SOCKETS = ("setpriv", "--bounding-set", "-net_raw", "--inh-caps", "-net_raw")


class Session:
    """A datagram has gone each way: errors about it find their client."""

    def __init__(self, where, listener, server):
        with host(where):
            self.socket = socket.socket(type=socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.IPPROTO_IP, IP_RECVERR, 1)
        self.socket.settimeout(DEADLINE)
        self.listener = listener
        self.send()
        self.socket.recv(100)
        self.socket.setblocking(False)
        self.source, self.target = server.clients[-1], server.socket.getsockname()  # of what the forwarder sends

    def send(self, size=13):
        self.socket.sendto(bytes(size), self.listener)

    def errors(self):
        """Those that have come: name, type, code, further information, where what they are about was sent, and who
        tells it."""
        found = []
        with contextlib.suppress(BlockingIOError):
            while True:
                _, [(_, _, data)], _, about = self.socket.recvmsg(0, 512, socket.MSG_ERRQUEUE)
                number, _, kind, code, more, _ = struct.unpack_from("=IBBBxII", data)
                found.append((errno.errorcode[number], kind, code, more, about, socket.inet_ntoa(data[20:24])))
        return found

    def wait_for_errors(self, count=1):
        found = []
        wait_for(lambda: found.extend(self.errors()) or len(found) >= count, lambda: f"errors behind {found}")
        return found


def crafted(source, target, kind=3, code=3, size=36):
    """An error about a datagram between these; 36 bytes are the least that counts."""
    quoted = struct.pack("!B8xB2x4s4sHHI", 0x45, UDP, *(socket.inet_aton(ip) for ip, _ in (source, target)),
                         source[1], target[1], 0)  # fmt: skip
    total = sum(struct.unpack("!15H", struct.pack("!BB", kind, code) + quoted))
    return (struct.pack("!BBHI", kind, code, 0xFFFF - total % 0xFFFF, 0) + quoted + bytes(500))[:size]


def send_crafted(*about, where="far", **fields):
    with host(where), socket.socket(type=socket.SOCK_RAW, proto=socket.IPPROTO_ICMP) as raw:
        raw.sendto(crafted(*about, **fields), (FOR_ROUTER, 0))


class Icmp(LinuxTest):
    def setUp(self):
        super().setUp()
        network.build()
        self.far = self.server_at("far", FAR)

    def server_at(self, where, address, port=0):
        with host(where):
            return self.opened(EchoServer("udp", address, port))

    def operation(self, **fields):
        with host("forwarder"):
            port = free_port("udp", ANYWHERE)
        where = dict(local_port=port, remote_host=FAR, remote_port=self.far.port, local_interface=ANYWHERE)
        return Operation(UDP, **{**where, "forward_icmp": 1, **fields})

    def start(self, *operations, through=ONLY_RAW_SOCKETS):
        with host("forwarder"):
            return super().start(Settings(list(operations), log_path=self.log_path, log_seconds=0), through=through)

    def session(self, operation, where="near", listener=FOR_NEAR, server=None):
        session = Session(where, (listener, operation.local_port), server or self.far)
        self.opened(session.socket)
        return session

    def assert_told(self, session, error, listener=None):
        """The next error is this one about what was sent to the listener, and there is no other."""
        listener = listener or session.listener
        self.assertEqual(session.wait_for_errors(), [(*error, listener, listener[0])])

    def test_each_real_error_reaches_the_clients_own_socket(self):
        last = cable_of(FOR_FAR)
        silence = (f"ntable change name arp_cache dev {last} retrans 20", f"neighbour flush dev {last}")
        for name, error, size, *changes in (
            ("a closed port", CLOSED, 13),
            ("a router that forbids", ("EHOSTUNREACH", 3, 13, 0), 13, ("router", f"route add prohibit {FAR}")),
            ("a host that does not answer any more", ("EHOSTUNREACH", 3, 1, 0), 13,
             ("far", f"address del {FAR}/24 dev {cable_of(FAR)}"), ("router", *silence)),
            ("a net that is lost", ("ENETUNREACH", 3, 0, 0), 13, ("router", f"address flush dev {last}")),
            ("a way too long", ("EHOSTUNREACH", 11, 0, 0), 13,
             ("forwarder", f"route add {FAR} via {ROUTER} hoplimit 1")),
            ("a way too narrow", ("EMSGSIZE", 3, 4, 1280), 1400, ("router", f"link set {last} mtu 1280")),
        ):  # fmt: skip
            with self.subTest(name):
                network.build()
                self.far = self.server_at("far", FAR)
                operation = self.operation()
                program = self.start(operation)
                session = self.session(operation)
                for change in changes:
                    network.ip(*change)
                if not changes:
                    self.far.close()
                session.send(size)
                self.assert_told(session, error)
                self.assert_ends(program)

    def test_each_client_is_told_once_and_from_its_own_side(self):
        here, near, other = (self.server_at(where, address, self.far.port) for where, address in (
            ("forwarder", LOCALHOST), ("near", NEAR), ("other", OTHER)))  # fmt: skip
        plain, silent, near_only = self.operation(), self.operation(forward_icmp=0), self.operation(local_ip=FOR_NEAR)
        named, bounce, blank = (self.operation(**fields) for fields in (
            dict(remote_host=" localhost "), dict(bounce=1), dict(remote_host=" \t")))  # fmt: skip
        self.start(plain, silent, near_only, named, bounce, blank)
        sessions = [self.session(plain), self.session(plain), self.session(plain, "other", FOR_OTHER),
                    self.session(near_only), self.session(named, server=here)]  # fmt: skip
        for operation in (bounce, blank):
            mine = self.session(operation, server=near), self.session(operation, "other", FOR_OTHER, other)
            send_crafted(mine[0].source, mine[1].target)  # nobody's
            sessions += mine
        unheard, across = self.session(silent), self.session(near_only, "other", FOR_NEAR)
        for server in (self.far, here, near, other):
            server.close()
        for session in sessions * 2:
            unheard.send()
            session.send()
            self.assert_told(session, CLOSED)
        across.send()
        self.assert_told(across, CLOSED, (FOR_OTHER, near_only.local_port))
        self.assertEqual([session.errors() for session in (unheard, *sessions)], [[]] * (1 + len(sessions)))

    def test_errors_that_are_taken_and_ignored(self):
        operation = self.operation()
        self.start(operation)
        session = self.session(operation)
        (ip, port), (far, far_port) = session.source, session.target
        for about, fields, told in (
            ((session.source, session.target), dict(kind=11, code=0, where="router"), True),
            ((session.source, session.target), dict(size=536, code=10), True),
            ((("192.0.2.1", port), session.target), dict(code=9), True),  # not looked at
            ((session.source, session.target), dict(size=35, code=10), False),
            ((session.source, session.target), dict(kind=12, code=0), False),
            (((ip, port ^ 1), session.target), dict(code=10), False),
            ((session.source, (far, far_port ^ 1)), dict(code=10), False),
            ((session.source, (ROUTER, far_port)), dict(code=10), False),
        ):
            with self.subTest(about=about, fields=fields):
                send_crafted(*about, **fields)
                send_crafted(session.source, session.target, code=2)
                got = session.wait_for_errors(1 + told)
                expected = [(fields.get("kind", 3), fields["code"])] * told + [(3, 2)]
                self.assertEqual([error[1:3] for error in got], expected)

    def test_errors_do_not_lengthen_a_sessions_life(self):
        operation = self.operation(udp_timeout_ms=1000)
        self.start(operation)
        session = self.session(operation)

        def is_over():
            send_crafted(session.source, session.target)
            return any("Session ended" in entry for entry in self.log_entries())

        wait_for(is_over, "the end of a session that gets nothing but errors")

    def test_a_refusal_is_told_with_its_reason_and_leaves_the_others(self):
        taken, rule, plain = self.operation(), self.operation(), self.operation(forward_icmp=0)
        stream = dataclasses.replace(rule, protocol=TCP)
        self.server_at("forwarder", ANYWHERE, taken.local_port)
        refused = "zelkor: not started: UDP 0.0.0.0:{}" + f" -> {FAR}:{self.far.port}: "
        in_use = refused.format(taken.local_port) + "Address already in use"
        no_right = refused + "Operation not permitted (to forward ICMP errors needs CAP_NET_RAW)"
        for through, operations, code, lines in (
            ((), [taken], 3, [in_use]),
            (NO_RAW_SOCKETS, [rule], 3, [no_right.format(rule.local_port)]),
            (NO_RAW_SOCKETS, [rule, plain, stream], 0, [no_right.format(rule.local_port)]),
        ):
            with self.subTest(lines):
                program = self.start(*operations, through=through)
                if len(operations) > 1:
                    self.session(plain)
                    program.end()
                self.assertEqual((program.exit_code(), program.err), (code, lines))
                self.assertEqual(len(program.out), len(operations) - 1)


if __name__ == "__main__":
    if not network.enter():
        print("skipped: network namespaces are not allowed here")
        sys.exit(77)
    unittest.main()
