"""From samples to ratios, and from ratios to what was met and missed."""

from dataclasses import dataclass

from .measure import MEASURES, Sample, median
from .works import MEGABYTE, Peer, Work

MEASURE_NAMES = {"wall": "time", "cpu": "CPU", "peak": "memory"}


@dataclass(frozen=True)
class Verdict:
    text: str
    met: bool


@dataclass(frozen=True)
class Row:
    """A work against one peer."""

    work: str
    ours: Sample
    peer: str
    theirs: Sample
    ratios: dict  # by measure
    targets: dict  # greatest ratios, by measure
    verdicts: list

    @property
    def missed(self) -> bool:
        return any(not verdict.met for verdict in self.verdicts)


def limit_verdicts(work: Work, ours: Sample) -> list:
    def text(measure: str, limit: float) -> str:
        return f"{limit / MEGABYTE:g} MB" if measure == "peak" else f"{limit * 1e3:g} ms"

    return [Verdict(f"{MEASURE_NAMES[measure]} ≤ {text(measure, limit)}", getattr(ours, measure) <= limit)
            for measure, limit in work.limits.items()]


def row_of(name: str, ours: Sample, peer: Peer, theirs: Sample) -> Row:
    ratios = {measure: getattr(ours, measure) / (getattr(theirs, measure) * peer.share) for measure in MEASURES}
    verdicts = [Verdict(f"{MEASURE_NAMES[measure]} ≤ {target:g} ×", ratios[measure] <= target)
                for measure, target in peer.targets.items()]
    label = peer.run.name if peer.share == 1 else f"{peer.run.name}, 12 MP × {peer.share:.2f}"
    return Row(name, ours, label, theirs, ratios, peer.targets, verdicts)


def rows_of(name: str, work: Work, samples: list) -> list:
    """`samples` are those of the work, then those of its peers. Limits stand in the first row."""
    ours, *theirs = map(median, samples)
    rows = [row_of(name, ours, peer, figures) for peer, figures in zip(work.peers, theirs)]
    rows[0].verdicts.extend(limit_verdicts(work, ours))
    return rows
