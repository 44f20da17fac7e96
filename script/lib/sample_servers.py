"""Sample servers on loopback, on ports that the system chooses, and clients that go through the forwarder."""
import socket
import socketserver
import threading


class TcpEcho(socketserver.BaseRequestHandler):
    def handle(self):
        while data := self.request.recv(65536):
            self.request.sendall(data)


class UdpEcho(socketserver.BaseRequestHandler):
    def handle(self):
        data, reply = self.request
        reply.sendto(data, self.client_address)


class TcpServer(socketserver.ThreadingTCPServer):
    daemon_threads = True


def start(kind):
    """The port of a new server that sends back what it gets; kind is "tcp" or "udp"."""
    if kind == "tcp":
        server = TcpServer(("127.0.0.1", 0), TcpEcho)
    else:
        server = socketserver.UDPServer(("127.0.0.1", 0), UdpEcho)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server.server_address[1]


def free_port(kind):
    """A port that nothing is bound to at this moment."""
    with socket.socket(type=socket.SOCK_STREAM if kind == "tcp" else socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Client:
    """Connected to a port of the forwarder; every echo is checked."""

    def __init__(self, kind, port):
        self.socket = socket.socket(type=socket.SOCK_STREAM if kind == "tcp" else socket.SOCK_DGRAM)
        self.socket.settimeout(30)
        self.socket.connect(("127.0.0.1", port))

    def echo(self, data):
        self.socket.sendall(data)
        back = b""
        while len(back) < len(data):
            piece = self.socket.recv(65536)
            if not piece:
                break
            back += piece
        if back != data:
            raise RuntimeError(f"sent {len(data)} bytes and got back {len(back)} of them, or other ones")
        return len(back)

    def close(self):
        self.socket.close()
