"""Echo servers, on ports that the system chooses unless told otherwise, and clients that may go through a forwarder.

Waits are for an event and end with it; the deadline only bounds a failure.
"""
import selectors
import socket
import threading
import time

LOCALHOST = "127.0.0.1"
DEADLINE = 60
KINDS = {"tcp": socket.SOCK_STREAM, "udp": socket.SOCK_DGRAM}


def wait_for(condition, what):
    """Waits until the condition holds; gives what made it so."""
    end = time.monotonic() + DEADLINE
    while not (met := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"waited in vain for {what() if callable(what) else what}")
        time.sleep(0.005)
    return met


def free_port(kind, ip=LOCALHOST):
    """A port that nothing is bound to at this moment."""
    with socket.socket(type=KINDS[kind]) as probe:
        probe.bind((ip, 0))
        return probe.getsockname()[1]


class EchoServer:
    """Sends back what it gets, by one thread for any number of connections."""

    def __init__(self, kind, ip=LOCALHOST, port=0):
        self.kind = kind
        self.socket = socket.socket(type=KINDS[kind])
        self.socket.bind((ip, port))
        self.port = self.socket.getsockname()[1]
        if kind == "tcp":
            self.socket.listen(128)
        self.clients = []  # addresses that connected or sent
        self.wake, self.woken = socket.socketpair()
        self.selector = selectors.DefaultSelector()
        for opened in (self.woken, self.socket):
            self.selector.register(opened, selectors.EVENT_READ)
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        while True:
            for key, _ in self.selector.select():
                if key.fileobj is self.woken:
                    return
                self.serve(key.fileobj)

    def serve(self, ready):
        if self.kind == "udp":
            data, client = ready.recvfrom(65536)
            self.clients.append(client)
            ready.sendto(data, client)
        elif ready is self.socket:
            connection, client = ready.accept()
            self.clients.append(client)
            self.selector.register(connection, selectors.EVENT_READ)
        else:
            self.echo(ready)

    def echo(self, connection):
        try:
            data = connection.recv(65536)
            connection.sendall(data)
        except ConnectionError:
            data = b""
        if not data:
            self.selector.unregister(connection)
            connection.close()

    def close(self):
        """Ends its connections too. Once or more often."""
        if self.socket.fileno() < 0:
            return
        self.wake.send(b"x")
        self.thread.join(DEADLINE)
        for key in list(self.selector.get_map().values()):
            key.fileobj.close()
        self.wake.close()
        self.selector.close()


class Client:
    """Connected from any address of this machine, until it is closed."""

    def __init__(self, kind, port, ip=LOCALHOST, to_ip=LOCALHOST):
        self.socket = socket.socket(type=KINDS[kind])
        self.socket.settimeout(DEADLINE)
        try:
            self.socket.bind((ip, 0))
            self.socket.connect((to_ip, port))
        except OSError:
            self.close()
            raise
        self.ip, self.port = self.socket.getsockname()

    def receive(self, size):
        """That many bytes; fewer if the connection ended."""
        data = bytearray()
        while len(data) < size and (piece := self.socket.recv(65536)):
            data += piece
        return bytes(data)

    def echo(self, data):
        """What came back, as much as was sent; less if the connection ended. Never more than a piece is on its way."""
        back = b""
        for at in range(0, len(data), 65536):
            self.socket.sendall(data[at : at + 65536])
            back += self.receive(len(data[at : at + 65536]))
        return back

    def is_closed(self):
        """Waits for the other side's end."""
        try:
            return self.socket.recv(1) == b""
        except ConnectionError:
            return True

    def close(self):
        self.socket.close()
