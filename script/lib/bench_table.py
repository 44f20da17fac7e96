"""The table of medians, the remarks under it, and their place in a document."""
import pathlib
import statistics

BEGIN = "<!-- results: begin -->"
END = "<!-- results: end -->"
REFERENCE = "zelkor"


class Results:
    """The samples and faults of all rounds, by measurement and peer."""

    def __init__(self):
        self.samples = {}
        self.faults = {}

    def add(self, measurement, peer, sample, fault):
        self.samples.setdefault((measurement.name, peer.name), []).append(sample)
        if fault:
            self.faults.setdefault((measurement.name, peer.name), []).append(fault)

    def values(self, row, peer):
        values = []
        for sample in self.samples.get((row.measurement, peer.name), []):
            try:
                values.append(row.value(sample))
            except (KeyError, ZeroDivisionError):
                pass
        return values


def number(value):
    """Three digits that say something."""
    if value >= 100:
        return f"{value:,.0f}"
    return f"{value:.1f}" if value >= 10 else f"{value:.2f}" if value >= 1 else f"{value:.3f}"


def cell(values):
    if not values:
        return "-"
    median = number(statistics.median(values))
    return median if len(values) == 1 else f"{median} ({number(min(values))}-{number(max(values))})"


def ratio(row, results, peers):
    """zelkor's median to the best one of the others."""
    medians = {peer.name: statistics.median(values) for peer in peers
               if peer.name != "direct" and (values := results.values(row, peer))}  # fmt: skip
    own = medians.pop(REFERENCE, None)
    if own is None or not medians:
        return "-"
    best = (max if row.higher_is_better else min)(medians, key=medians.get)
    if medians[best] <= 0:
        return "-"
    quotient = own / medians[best]
    is_ahead = quotient >= 1 if row.higher_is_better else quotient <= 1
    return f"{quotient:.2f} × {best}, {'ahead' if is_ahead else 'behind'}"


def lines_of(results, rows, peers):
    yield ["", "unit", "better", *(peer.name for peer in peers), "zelkor / best peer"]
    yield ["---", "---", "---", *("---:" for _ in peers), "---:"]
    for row in rows:
        cells = [cell(results.values(row, peer)) for peer in peers]
        yield [row.title, row.unit, "more" if row.higher_is_better else "less", *cells, ratio(row, results, peers)]


def aligned(lines):
    lines = list(lines)
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    for line in lines:
        padded = (text.ljust(width) if column < 3 else text.rjust(width)
                  for column, (text, width) in enumerate(zip(line, widths)))  # fmt: skip
        yield f"| {' | '.join(padded)} |"


def remarks(results, measurements, peers, remarks_of):
    """Why a place is empty, and what was lost on the way to the others; one line for each, in the table's order."""
    said = []
    for peer in peers:
        for measurement in measurements:
            key = (measurement.name, peer.name)
            faults = results.faults.get(key, [])
            if faults:
                rounds = "" if len(faults) == len(results.samples[key]) else f", in {len(faults)} of the rounds"
                said.append((peer.name, f"{faults[0]}{rounds}", measurement.name))
            sums = {}
            for what, count, whole in (each for sample in results.samples.get(key, []) for each in remarks_of(sample)):
                old = sums.get(what, (0, 0))
                sums[what] = (old[0] + count, old[1] + whole)
            said += [(peer.name, f"{count:,.0f} of {whole:,.0f} {what}", measurement.name)
                     for what, (count, whole) in sums.items()]  # fmt: skip
    joined = {}
    for name, text, measurement in said:
        joined.setdefault((name, text), []).append(measurement)
    return [f"- {name}, {', '.join(places)}: {text}" for (name, text), places in joined.items()]


def text(results, rows, measurements, peers, remarks_of):
    lines = list(aligned(lines_of(results, rows, peers)))
    if notes := remarks(results, measurements, peers, remarks_of):
        lines += ["", *notes]
    return "\n".join(lines)


def around_results(path):
    """The document's text in front of the results and behind them; a new document has none."""
    path = pathlib.Path(path)
    old = path.read_text(encoding="utf-8") if path.exists() else f"{BEGIN}\n{END}\n"
    head, begin, rest = old.partition(BEGIN + "\n")
    _, end, tail = rest.partition(END)
    if not begin or not end:
        raise RuntimeError(f"{path} has no lines {BEGIN} and {END} to put the results between")
    return head + begin, end + tail


def write(path, section):
    """Puts the section between the document's two marks."""
    head, tail = around_results(path)
    new = pathlib.Path(f"{path}.new")
    new.write_text(f"{head}{section}\n{tail}", encoding="utf-8")
    new.replace(path)
