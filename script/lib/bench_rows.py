"""What is measured: the runs of the load tool, and the rows of the table that come out of them."""
import dataclasses
import typing

MEMORY_SESSIONS = (0, 100, 700)


@dataclasses.dataclass(frozen=True)
class Measurement:
    """One run of the load tool. The words behind the kind stand in front of the times."""

    name: str
    tool: str
    numbers: tuple = ()

    @property
    def protocol(self):
        return "udp" if self.tool == "datagrams" else "tcp"


# Few enough datagrams on their way for the usual receive buffer of one socket.
MEASUREMENTS = [
    Measurement("tcp-1", "throughput", (1,)),
    Measurement("tcp-8", "throughput", (8,)),
    Measurement("connections", "connections", (4,)),
    Measurement("round-trip", "round-trip", (64,)),
    Measurement("udp-64-1", "datagrams", (1, 64, 16)),
    Measurement("udp-64-50", "datagrams", (50, 64, 2)),
    Measurement("udp-1200-1", "datagrams", (1, 1200, 16)),
    Measurement("udp-1200-50", "datagrams", (50, 1200, 2)),
    Measurement("memory", "sessions"),
]
NAMES = [measurement.name for measurement in MEASUREMENTS]


@dataclasses.dataclass(frozen=True)
class Row:
    """A row of the table. value(sample) of a measurement's sample raises KeyError when the sample lacks it."""

    title: str
    unit: str
    measurement: str
    value: typing.Callable
    higher_is_better: bool = False


def rate(sample, scale=1.0):
    return sample["done"] / sample["seconds"] / scale


def gigabits(sample):
    return rate(sample, 1e9 / 8)


def memory_at(count):
    return lambda sample: sample[f"memory_{count}"] / 1e6


ROWS = [
    Row("TCP, one stream", "Gbit/s", "tcp-1", gigabits, True),
    Row("TCP, eight streams", "Gbit/s", "tcp-8", gigabits, True),
    Row("New connections", "1/s", "connections", rate, True),
    Row("Round trip of 64 bytes, p50", "µs", "round-trip", lambda sample: sample["p50_us"]),
    Row("Round trip of 64 bytes, p99", "µs", "round-trip", lambda sample: sample["p99_us"]),
    Row("UDP, 64 bytes, one client", "1/s", "udp-64-1", rate, True),
    Row("UDP, 64 bytes, 50 clients", "1/s", "udp-64-50", rate, True),
    Row("UDP, 1,200 bytes, one client", "1/s", "udp-1200-1", rate, True),
    Row("UDP, 1,200 bytes, 50 clients", "1/s", "udp-1200-50", rate, True),
    Row("Processor for a GB, one stream", "s", "tcp-1", lambda sample: sample["cpu"] / (sample["received"] / 1e9)),
    Row("Processor for a GB, eight streams", "s", "tcp-8", lambda sample: sample["cpu"] / (sample["received"] / 1e9)),
    Row("Processor for 10,000 connections", "s", "connections", lambda sample: sample["cpu"] / (sample["total"] / 1e4)),
    Row("Processor for a million datagrams of 64 bytes", "s", "udp-64-1",
        lambda sample: sample["cpu"] / (sample["total"] / 1e6)),
    *(Row(f"Memory with {count} sessions", "MB", "memory", memory_at(count)) for count in MEMORY_SESSIONS),
]  # fmt: skip


def complaint(measurement, sample):
    """What does not add up in a sample; empty when all does."""
    number = {name: int(value) for name, value in sample.items() if name not in ("seconds", "cpu")}
    if measurement.tool == "throughput" and number["sent"] != number["received"]:
        return f"{number['sent']} bytes were sent and {number['received']} arrived"
    if measurement.tool == "connections" and not 0 <= number["echoed"] - number["total"] <= number["failed"]:
        return f"{number['total']} bytes came back of {number['echoed']}"
    if measurement.tool == "round-trip" and number["echoed"] != number["total"] * measurement.numbers[0]:
        return f"{number['echoed']} bytes were echoed for {number['total']} messages"
    if measurement.tool == "datagrams":
        is_plausible = number["total"] <= number["arrived"] <= number["sent"]
        if number["sent"] != number["total"] + number["lost"] or not is_plausible:
            return f"of {number['sent']} datagrams {number['arrived']} arrived, {number['total']} came back"
    return ""


# What can go wrong without spoiling the figures: its figure in a sample, and the figures of the whole.
REMARKS = {
    "failed": ("connections failed", ("failed", "total")),
    "lost": ("datagrams were lost", ("sent",)),
    "foreign": ("datagrams came back that nobody had sent", ("total", "foreign")),
}


def remarks(sample):
    """As (what, how many, of how many)."""
    return [(text, sample[name], sum(sample[each] for each in whole))
            for name, (text, whole) in REMARKS.items() if sample.get(name)]  # fmt: skip
