"""Tables, as Markdown that is readable on a terminal as well."""

from .measure import Sample
from .results import Row
from .works import MEGABYTE

HEADINGS = ["work", "ms", "CPU ms", "MB", "peer", "ms", "CPU ms", "MB", "time", "CPU", "memory", "target"]


def markdown(headings: list, rows: list, texts: tuple) -> str:
    """Columns whose numbers are in `texts` are aligned to the left, the others to the right."""
    cells = [headings, *rows]
    widths = [max(len(row[column]) for row in cells) for column in range(len(headings))]

    def line(row: list) -> str:
        aligned = (cell.ljust(width) if column in texts else cell.rjust(width)
                   for column, (cell, width) in enumerate(zip(row, widths)))
        return "| " + " | ".join(aligned) + " |"

    rule = "|".join("-" * (width + 2) if column in texts else "-" * (width + 1) + ":"
                    for column, width in enumerate(widths))
    return "\n".join([line(headings), f"|{rule}|", *map(line, rows)])


def significant(value: float) -> str:
    """Three digits, or all of those before the point."""
    return f"{value:.0f}" if value >= 100 else f"{value:.3g}"


def figures(sample: Sample) -> list:
    return [significant(value) for value in (sample.wall * 1e3, sample.cpu * 1e3, sample.peak / MEGABYTE)]


def verdicts(row: Row) -> str:
    return "; ".join(f"{verdict.text} {'met' if verdict.met else 'MISSED'}" for verdict in row.verdicts) or "–"


def of_rows(rows: list) -> str:
    cells = [[row.work, *figures(row.ours), row.peer, *figures(row.theirs),
              *(f"{row.ratios[measure]:.2f}" for measure in ("wall", "cpu", "peak")), verdicts(row)] for row in rows]
    return markdown(HEADINGS, cells, texts=(0, 4, 11))


def of_kernels(kernels: list) -> str:
    cells = [[kernel["name"], significant(kernel["microseconds"]), rate(kernel.get("bytesPerSecond"), "MB/s"),
              rate(kernel.get("itemsPerSecond"), "million/s")] for kernel in kernels]
    return markdown(["kernel", "µs", "bytes", "items"], cells, texts=(0,))


def rate(value: float | None, unit: str) -> str:
    return "–" if value is None else f"{significant(value / 1e6)} {unit}"
