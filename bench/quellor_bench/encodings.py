"""Encoding once and looking at what came out: size, likeness and processor time."""

from dataclasses import dataclass
from pathlib import Path

from .inputs import command
from .likeness import Luma, decibels
from .measure import Run, Runner


@dataclass(frozen=True)
class Encoding:
    bytes: int
    psnr: float
    ssim: float
    cpu: float  # seconds


class Examiner:
    """Encodes, and compares what the file decodes to with a y4m file."""

    def __init__(self, runner: Runner, scratch: Path, reference: Path):
        self._runner = runner
        self._decoded = scratch / "examined.y4m"
        self._luma = scratch / "examined.luma"
        self._reference = Luma(reference, scratch / "reference.luma")

    def examine(self, run: Run) -> Encoding:
        sample = self._runner.run(run)
        command("heif-dec", "--quiet", run.output, self._decoded)
        likeness = Luma(self._decoded, self._luma).likeness(self._reference)
        return Encoding(run.output.stat().st_size, likeness.psnr, likeness.ssim, sample.cpu)


def ssim_decibels(encoding: Encoding) -> float:
    return decibels(encoding.ssim)
