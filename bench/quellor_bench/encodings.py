"""Encoding once and looking at what came out: size, likeness and processor time."""

from dataclasses import dataclass
from pathlib import Path

from .inputs import command
from .likeness import SCALES, Likeness, Picture
from .measure import Run, Runner


@dataclass(frozen=True)
class Encoding(Likeness):
    bytes: int
    cpu: float  # seconds


class Examiner:
    """Encodes, and compares what the file decodes to with a y4m file; `by_eye` also with what judges colors, which
    takes ten seconds for 12 megapixels."""

    def __init__(self, runner: Runner, scratch: Path, reference: Path, by_eye: bool = False):
        self._runner = runner
        self._decoded = scratch / "examined.y4m"
        self._by_eye = by_eye
        self._reference = Picture(reference, scratch / "reference", by_eye)

    def examine(self, run: Run) -> Encoding:
        sample = self._runner.run(run)
        command("heif-dec", "--quiet", run.output, self._decoded)
        likeness = Picture(self._decoded, self._decoded, self._by_eye).likeness(self._reference)
        return Encoding(**vars(likeness), bytes=run.output.stat().st_size, cpu=sample.cpu)


def on_scale(encoding: Encoding, measure: str) -> float | None:
    """By one of the names of SCALES; none where it was not measured."""
    value = getattr(encoding, measure)
    return None if value is None else SCALES[measure](value)


def ssim_decibels(encoding: Encoding) -> float:
    return on_scale(encoding, "ssim")
