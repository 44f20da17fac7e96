"""The network of the tests of ICMP errors, and the errors as bytes.

    client (near) --- .1.0/24 --+
                                forwarder --- .3.0/24 --- router --- .4.0/24 --- server
    other client  --- .2.0/24 --+

The hosts' own kernels make the real errors, and take those that the program forwards.
"""
import dataclasses
import errno
import socket
import struct

from network import Network
from program import DEADLINE, Client, EchoServer, ProgramTest
from settings_writer import UDP, Operation, Settings

NEAR_CLIENT, TOWARD_NEAR = "10.77.1.2", "10.77.1.1"  # of a client, and of the forwarder on the same cable
OTHER_CLIENT, TOWARD_OTHER = "10.77.2.2", "10.77.2.1"
TOWARD_ROUTER, ROUTER = "10.77.3.1", "10.77.3.2"
TOWARD_SERVER, SERVER = "10.77.4.1", "10.77.4.2"
OUTER_HEADER = 20
IP_RECVERR = 11  # linux/in.h


def checksum(data):
    """RFC 1071, of an even number of bytes."""
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return struct.pack("!H", total ^ 0xFFFF)


def forwarded(packet, client, listener):
    """The ICMP message that a client is to get for this packet, as a raw socket gives it; two pairs of address and
    port."""
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
    client: Client
    client_end: tuple  # address and port
    listener: tuple  # as the client reaches it
    forwarder_end: tuple  # of the session's own socket, as the server sees it
    target: tuple

    def send(self):
        self.client.socket.send(b"into the void")

    def error(self):
        """The errno of what the kernel of the client hands to its socket next."""
        try:
            return f"{self.client.socket.recv(65536)} and no error"
        except OSError as error:
            return errno.errorcode.get(error.errno, str(error))

    def quoted(self, **fields):
        """An error about a datagram that the forwarder sent for this session."""
        return Error(**{"source": self.forwarder_end, "target": self.target, **fields})


class IcmpTest(ProgramTest):
    """Each test has a network of its own, and may break it."""

    def setUp(self):
        super().setUp()
        self.network = Network()
        self.addCleanup(self.network.close)
        self.near, self.other, self.forwarder, self.router, self.far = (self.network.host() for _ in range(5))
        self.network.cable(self.near, f"{NEAR_CLIENT}/24", self.forwarder, f"{TOWARD_NEAR}/24")
        self.network.cable(self.other, f"{OTHER_CLIENT}/24", self.forwarder, f"{TOWARD_OTHER}/24")
        self.network.cable(self.forwarder, f"{TOWARD_ROUTER}/24", self.router, f"{ROUTER}/24")
        self.router_cable, _ = self.network.cable(self.router, f"{TOWARD_SERVER}/24", self.far, f"{SERVER}/24")
        self.router.set("ipv4/ip_forward", 1)
        for host, gateway in ((self.near, TOWARD_NEAR), (self.other, TOWARD_OTHER), (self.forwarder, ROUTER),
                              (self.far, TOWARD_SERVER)):  # fmt: skip
            host.ip(f"route add default via {gateway}")
        self.network.wait_connected()

    def echo_server(self, host=None, ip=SERVER):
        with (host or self.far).entered():
            server = EchoServer("udp", ip=ip)
        self.addCleanup(server.close)
        return server

    def operation(self, port, **fields):
        return Operation(UDP, 0, **{"remote_host": SERVER, "remote_port": port, "local_ip": "0.0.0.0",
                                    "forward_icmp": True, **fields})  # fmt: skip

    def forward(self, *operations, **settings):
        with self.forwarder.entered():
            return self.start_file(Settings(list(operations), **settings))

    def capture(self, host):
        capture = Capture(host)
        self.addCleanup(capture.close)
        return capture

    def session(self, operation, server, host=None, listener=TOWARD_NEAR):
        """A session that has carried a datagram each way. Errors that leave the socket usable are told as well."""
        with (host or self.near).entered():
            client = Client("udp", operation.local_port, ip="0.0.0.0", to_ip=listener)
        self.addCleanup(client.close)
        client.socket.setsockopt(socket.IPPROTO_IP, IP_RECVERR, 1)
        self.assertEqual(client.echo(b"there and back"), b"there and back")
        target = (SERVER if not operation.bounce else client.socket.getsockname()[0], server.port)
        return Session(client, client.socket.getsockname(), (listener, operation.local_port), server.clients[-1], target)

    def send_error(self, error, host=None):
        """Sends it to the forwarder; bytes are those of the ICMP message."""
        with (host or self.far).entered():
            raw = socket.socket(type=socket.SOCK_RAW, proto=socket.IPPROTO_ICMP)
        with raw:
            raw.sendto(error if isinstance(error, bytes) else error.to_bytes(), (TOWARD_ROUTER, 0))

    def assert_told(self, capture, packet, session, listener=None):
        """The next message of the capture is what the session's client is to get for the packet."""
        told = capture.next()
        listener = listener or session.listener
        outer = (told[0], told[9], socket.inet_ntoa(told[12:16]), socket.inet_ntoa(told[16:20]))
        self.assertEqual(outer, (0x45, socket.IPPROTO_ICMP, listener[0], session.client_end[0]))
        self.assertEqual(told[OUTER_HEADER:].hex(" "), forwarded(packet, session.client_end, listener).hex(" "))
