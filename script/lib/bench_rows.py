"""What is measured: the runs of the load tool, and the rows of the table that come out of them."""
import typing

MEMORY_SESSIONS = (0, 100, 700)
IDLE_SESSIONS = 700
UDP_KINDS = ("datagrams", "one-way", "datagram-sessions")


class Measurement(typing.NamedTuple):
    """One run of the load tool: its kind of load, with the numbers of that."""

    name: str
    kind: str
    numbers: tuple = ()

    @property
    def protocol(self):
        return "udp" if self.kind in UDP_KINDS else "tcp"


# Few enough datagrams on their way for the usual receive buffer of one socket.
MEASUREMENTS = [
    Measurement("tcp-1", "throughput", (1,)),
    Measurement("tcp-8", "throughput", (8,)),
    Measurement("connections", "connections", (4,)),
    Measurement("round-trip", "round-trip", (64,)),
    Measurement("two-writes", "two-writes", (32,)),
    Measurement("connect-bursts", "connect-bursts", (200,)),
    Measurement("udp-64-1", "datagrams", (1, 64, 16)),
    Measurement("udp-64-50", "datagrams", (50, 64, 2)),
    Measurement("udp-64-700", "datagrams", (700, 64, 1)),
    Measurement("udp-1200-1", "datagrams", (1, 1200, 16)),
    Measurement("udp-1200-50", "datagrams", (50, 1200, 2)),
    Measurement("udp-64-overload", "one-way", (64,)),
    Measurement("udp-1200-overload", "one-way", (1200,)),
    Measurement("udp-idle", "datagram-sessions"),
    Measurement("memory", "sessions"),
]


class Row(typing.NamedTuple):
    """A row of the table. value(sample) of a measurement's sample raises KeyError when the sample lacks it."""

    title: str
    unit: str
    measurement: str
    value: typing.Callable
    higher_is_better: bool = False


def rate(scale=1.0):
    return lambda sample: sample["done"] / sample["seconds"] / scale


def processor(of, scale):
    return lambda sample: sample["cpu"] / (sample[of] / scale)


def figure(name, scale=1.0):
    return lambda sample: sample[name] / scale


ROWS = [
    Row("TCP, one stream", "Gbit/s", "tcp-1", rate(1e9 / 8), True),
    Row("TCP, eight streams", "Gbit/s", "tcp-8", rate(1e9 / 8), True),
    Row("New connections", "1/s", "connections", rate(), True),
    Row("Round trip of 64 bytes, p50", "µs", "round-trip", figure("p50_us")),
    Row("Round trip of 64 bytes, p99", "µs", "round-trip", figure("p99_us")),
    Row("Two small writes and an answer, p50", "µs", "two-writes", figure("p50_us")),
    Row("Two small writes and an answer, p99", "µs", "two-writes", figure("p99_us")),
    Row("200 connects back to back, the slowest", "ms", "connect-bursts", figure("slowest_us", 1e3)),
    Row("UDP, 64 bytes, one client", "1/s", "udp-64-1", rate(), True),
    Row("UDP, 64 bytes, 50 clients", "1/s", "udp-64-50", rate(), True),
    Row("UDP, 64 bytes, 700 clients", "1/s", "udp-64-700", rate(), True),
    Row("UDP, 1,200 bytes, one client", "1/s", "udp-1200-1", rate(), True),
    Row("UDP, 1,200 bytes, 50 clients", "1/s", "udp-1200-50", rate(), True),
    Row("UDP one way under overload, 64 bytes", "1/s", "udp-64-overload", rate(), True),
    Row("UDP one way under overload, 1,200 bytes", "1/s", "udp-1200-overload", rate(), True),
    Row("Processor for a GB, one stream", "s", "tcp-1", processor("received", 1e9)),
    Row("Processor for a GB, eight streams", "s", "tcp-8", processor("received", 1e9)),
    Row("Processor for 10,000 connections", "s", "connections", processor("total", 1e4)),
    Row("Processor for a million datagrams of 64 bytes", "s", "udp-64-1", processor("total", 1e6)),
    Row(f"Processor of {IDLE_SESSIONS} idle UDP sessions", "% of a core", "udp-idle", figure("idle_cpu", 1e-2)),
    *(Row(f"Memory with {n} sessions", "MB", "memory", figure(f"memory_{n}", 1e6)) for n in MEMORY_SESSIONS),
]

# What can go wrong without spoiling the figures: its figure in a sample, and the figures of the whole.
REMARKS = {
    "failed": ("connections failed", ("failed", "total")),
    "lost": ("datagrams were lost", ("sent",)),
    "foreign": ("datagrams came back that nobody had sent", ("total", "foreign")),
}
