"""The network of the tests of ICMP errors, and the errors as bytes.

    near  --- 10.77.1.0/24 --+
                             forwarder --- 10.77.3.0/24 --- router --- 10.77.4.0/24 --- far
    other --- 10.77.2.0/24 --+

Clients run on near and other, servers on far. The kernels of these hosts make the real errors, and judge those that the
program forwards.
"""
import dataclasses
import errno
import socket
import struct

from network import Network
from program import DEADLINE, Client, EchoServer, ProgramTest
from settings_writer import UDP, Operation, Settings

# Both ends of each cable; the names that begin with TOWARD stand for the forwarder or the router.
NEAR, TOWARD_NEAR = "10.77.1.2", "10.77.1.1"
OTHER, TOWARD_OTHER = "10.77.2.2", "10.77.2.1"
ROUTER, TOWARD_ROUTER = "10.77.3.2", "10.77.3.1"
FAR, TOWARD_FAR = "10.77.4.2", "10.77.4.1"
OUTER_HEADER = 20
IP_RECVERR, IP_MTU = 11, 14  # linux/in.h


def checksum(data):
    """RFC 1071, of an even number of bytes."""
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return struct.pack("!H", total ^ 0xFFFF)


def forwarded(packet, client, listener):
    """The ICMP message that a client is to get for this packet (as a raw socket gives it). Client and listener are pairs
    of address and port."""
    header = packet[28:38] + b"\0\0" + socket.inet_aton(client[0]) + socket.inet_aton(listener[0])
    header = header[:10] + checksum(header) + header[12:]
    udp = struct.pack("!HH", client[1], listener[1]) + packet[52:54] + b"\0\0"
    message = packet[20:22] + b"\0\0" + packet[24:28] + header + udp
    return message[:2] + checksum(message) + message[4:]


@dataclasses.dataclass
class Error:
    """An ICMP error about a datagram from source to target (pairs of address and port), every field of a value of its
    own."""

    source: tuple
    target: tuple
    type: int = 3
    code: int = 3
    rest: bytes = bytes((0xA1, 0xA2, 0xA3, 0xA4))
    first_byte: int = 0x45
    protocol: int = UDP
    options: bytes = b""  # of the quoted header

    def to_bytes(self):
        header = struct.pack("!BBHHHBB2x4s4s", self.first_byte, 0x10, 41, 0x1234, 0x4000, 63, self.protocol,
                             socket.inet_aton(self.source[0]), socket.inet_aton(self.target[0]))  # fmt: skip
        header = header[:10] + checksum(header + self.options) + header[12:] + self.options
        udp = struct.pack("!HHHH", self.source[1], self.target[1], 21, 0xEEEE)
        message = struct.pack("!BB2x", self.type, self.code) + self.rest + header + udp
        return message[:2] + checksum(message) + message[4:]


def with_outer_options(options, message):
    """A packet to the forwarder whose own header has options; its source address is the sender's."""
    header = struct.pack("!BBHHHBB2x4s4s", 0x45 + len(options) // 4, 0, 0, 0, 0, 64, socket.IPPROTO_ICMP, bytes(4),
                         socket.inet_aton(TOWARD_ROUTER))  # fmt: skip
    return header + options + message


def with_rights(*options):
    """What to start the program through. It ends with the test even if that is killed: a program that runs on would
    keep its host."""
    return ("setpriv", "--pdeathsig", "KILL", *options)


class Capture:
    """All ICMP messages that a host gets from now on, each with its outer header."""

    def __init__(self, host):
        with host.entered():
            self.socket = socket.socket(type=socket.SOCK_RAW, proto=socket.IPPROTO_ICMP)
        self.socket.settimeout(DEADLINE)

    def next(self):
        return self.socket.recv(65536)

    def close(self):
        self.socket.close()


@dataclasses.dataclass
class Session:
    """Pairs of address and port, but for the client's socket."""

    client: Client
    client_end: tuple
    listener: tuple  # as the client reaches it
    forwarder_end: tuple  # of the session's own socket, as the server sees it
    target: tuple

    def send(self, size=13):
        self.client.socket.send(bytes(size))

    def error(self):
        """The name of the error that the client's kernel hands to its socket next."""
        try:
            return f"{self.client.socket.recv(65536)} and no error"
        except OSError as error:
            return errno.errorcode.get(error.errno, str(error))

    def hear_passing_errors(self):
        """Those that a datagram socket is not bothered with unless it asks for them: all that may go away again."""
        self.client.socket.setsockopt(socket.IPPROTO_IP, IP_RECVERR, 1)

    def path_mtu(self):
        return self.client.socket.getsockopt(socket.IPPROTO_IP, IP_MTU)

    def about(self, **fields):
        """An error about a datagram that the forwarder sent for this session."""
        return Error(**{"source": self.forwarder_end, "target": self.target, **fields})


class IcmpTest(ProgramTest):
    """Each test has a network of its own, and may break it."""

    def setUp(self):
        super().setUp()
        self.network = Network()
        self.addCleanup(self.network.close)
        self.near, self.other, self.forwarder, self.router, self.far = (self.network.host() for _ in range(5))
        self.network.cable(self.near, f"{NEAR}/24", self.forwarder, f"{TOWARD_NEAR}/24")
        self.network.cable(self.other, f"{OTHER}/24", self.forwarder, f"{TOWARD_OTHER}/24")
        self.network.cable(self.forwarder, f"{TOWARD_ROUTER}/24", self.router, f"{ROUTER}/24")
        self.router_cable, _ = self.network.cable(self.router, f"{TOWARD_FAR}/24", self.far, f"{FAR}/24")
        self.router.set("ipv4/ip_forward", 1)
        for host, gateway in ((self.near, TOWARD_NEAR), (self.other, TOWARD_OTHER), (self.forwarder, ROUTER),
                              (self.far, TOWARD_FAR)):  # fmt: skip
            host.ip(f"route add default via {gateway}")
        self.network.wait_connected()

    def echo_server(self, host=None, ip=FAR, port=0):
        with (host or self.far).entered():
            server = EchoServer("udp", ip, port)
        self.addCleanup(server.close)
        return server

    def operation(self, server, **fields):
        return Operation(UDP, 0, **{"remote_host": FAR, "remote_port": server.port, "local_ip": "0.0.0.0",
                                    "forward_icmp": True, **fields})  # fmt: skip

    def forward(self, *operations, rights=(), **settings):
        with self.forwarder.entered():
            return self.start_file(Settings(list(operations), **settings), through=with_rights(*rights))

    def session(self, operation, server, host=None, listener=TOWARD_NEAR):
        """A session that has carried a datagram each way: errors about it find their client."""
        with (host or self.near).entered():
            client = Client("udp", operation.local_port, ip="0.0.0.0", to_ip=listener)
        self.addCleanup(client.close)
        self.assertEqual(client.echo(b"there and back"), b"there and back")
        return Session(client, client.socket.getsockname(), (listener, operation.local_port), server.clients[-1],
                       server.socket.getsockname())  # fmt: skip

    def begin(self, server, **fields):
        """One operation to that server, one session of it, and captures of what the forwarder and the client get."""
        rule = self.operation(server, **fields)
        self.program = self.forward(rule, log_path=str(self.log))
        self.mine = self.session(rule, server)
        self.came, self.told = self.capture(self.forwarder), self.capture(self.near)

    def capture(self, host):
        capture = Capture(host)
        self.addCleanup(capture.close)
        return capture

    def send_icmp(self, data, host=None, whole=False):
        """Sends an Error or the bytes of a message to the forwarder, or with `whole` those of a packet."""
        with (host or self.far).entered():
            raw = socket.socket(type=socket.SOCK_RAW, proto=socket.IPPROTO_ICMP)
        with raw:
            raw.setsockopt(socket.IPPROTO_IP, socket.IP_HDRINCL, whole)
            raw.sendto(data.to_bytes() if isinstance(data, Error) else data, (TOWARD_ROUTER, 0))

    def assert_told(self, told, packet, session, listener=None):
        """The next message that the capture `told` holds is the one that the session's client is to get for the packet,
        and comes from the address that it names as the listener's."""
        message = told.next()
        listener = listener or session.listener
        outer = (message[0], message[9], socket.inet_ntoa(message[12:16]), socket.inet_ntoa(message[16:20]))
        self.assertEqual(outer, (0x45, socket.IPPROTO_ICMP, listener[0], session.client_end[0]))
        expected = forwarded(packet, session.client_end, listener)
        self.assertEqual(message[OUTER_HEADER:].hex(" "), expected.hex(" "))
