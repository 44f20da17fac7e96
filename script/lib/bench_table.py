"""The table of medians, the remarks under it, and their place in a document."""
import contextlib
import itertools
import pathlib
import statistics

import bench_rows

BEGIN = "<!-- results: begin -->\n"
END = "<!-- results: end -->"


# Results are lists of (sample, fault), one pair for each round, by the names of measurement and peer.


def values_of(results, row, peer):
    values = []
    for sample, _ in results.get((row.measurement, peer), []):
        with contextlib.suppress(KeyError, ZeroDivisionError):
            values.append(row.value(sample))
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
    medians = {peer: statistics.median(values) for peer in peers if peer != "direct"
               and (values := values_of(results, row, peer))}  # fmt: skip
    own = medians.pop("zelkor", None)
    best = (max if row.higher_is_better else min)(medians, key=medians.get) if medians else None
    if own is None or best is None or medians[best] <= 0:
        return "-"
    quotient = own / medians[best]
    is_ahead = quotient == 1 or (quotient > 1) == row.higher_is_better
    return f"{quotient:.2f} × {best}, {'ahead' if is_ahead else 'behind'}"


def table(results, rows, peers):
    lines = [["", "unit", "better", *peers, "zelkor / best peer"], ["---"] * 3 + ["---:"] * (len(peers) + 1)]
    for row in rows:
        figures = [*(cell(values_of(results, row, peer)) for peer in peers), ratio(row, results, peers)]
        lines.append([row.title, row.unit, "more" if row.higher_is_better else "less", *figures])
    widths = [max(map(len, column)) for column in zip(*lines)]
    for line in lines:
        padded = [text.ljust(width) for text, width in zip(line[:3], widths)]
        padded += [text.rjust(width) for text, width in zip(line[3:], widths[3:])]
        yield f"| {' | '.join(padded)} |"


def remarks(results, measurements, peers):
    """Why a place is empty, and what was lost on the way to the others; one line for each, in the table's order."""
    places = {}
    for peer, measurement in itertools.product(peers, measurements):
        rounds = results.get((measurement, peer), [])
        faults = [fault for _, fault in rounds if fault]
        said = faults[:1]
        if 0 < len(faults) < len(rounds):
            said = [f"{faults[0]}, in {len(faults)} of the rounds"]
        for name, (text, whole) in bench_rows.REMARKS.items():
            if count := sum(sample.get(name, 0) for sample, _ in rounds):
                among = sum(sample.get(each, 0) for sample, _ in rounds for each in whole)
                said.append(f"{count:,.0f} of {among:,.0f} {text}")
        for text in said:
            places.setdefault((peer, text), []).append(measurement)
    return [f"- {peer}, {', '.join(names)}: {text}" for (peer, text), names in places.items()]


def text(results, rows, measurements, peers):
    notes = remarks(results, measurements, peers)
    return "\n".join([*table(results, rows, peers), *([""] if notes else []), *notes])


def around_results(path):
    """The document's text in front of the results and behind them; a new document has none."""
    old = path.read_text(encoding="utf-8") if path.exists() else f"{BEGIN}{END}\n"
    head, begin, rest = old.partition(BEGIN)
    _, end, tail = rest.partition(END)
    if not begin or not end:
        raise RuntimeError(f"{path} has no lines {BEGIN}{END} to put the results between")
    return head + begin, end + tail


def write(path, section):
    """Puts the section between the document's two marks."""
    head, tail = around_results(path)
    new = pathlib.Path(f"{path}.new")
    new.write_text(f"{head}{section}\n{tail}", encoding="utf-8")
    new.replace(path)
