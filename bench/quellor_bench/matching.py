"""The quality at which heif-enc's output is as like the photo as encode-candidate's: peers are compared at it."""

import dataclasses
import json
import math
from pathlib import Path

from .commands import Commands
from .curve import Curve
from .encodings import Encoding, Examiner, ssim_decibels
from .inputs import Inputs
from .measure import Runner

QUALITY = 0.8
HALF = 0.5

# Around what the answers have been so far.
FIRST_TRIED = (32, 46, 60, 74)

# heif-enc's rate factor is a whole number that falls by one with every second quality, the even ones.
STEP = 2


class Matching:
    """Looked for when first asked for. What heif-enc does does not change, so it is remembered with the inputs."""

    def __init__(self, commands: Commands, runner: Runner, inputs: Inputs, scratch: Path):
        self._commands = commands
        self._runner = runner
        self._inputs = inputs
        self._scratch = scratch
        self._found = {}

    def heif_enc_quality(self, of: float) -> int:
        """heif-enc's quality for that of encode-candidate."""
        if of not in self._found:
            self._found[of] = self._find(of)
        return self._found[of]["heifEncQuality"]

    @property
    def report(self) -> list:
        """What was found for those who asked."""
        return list(self._found.values())

    def _find(self, of: float) -> dict:
        examiner = Examiner(self._runner, self._scratch, self._inputs.y4m)
        ours = examiner.examine(self._commands.encode_candidate(self._inputs.tiled, of))
        quality = self._nearest(examiner, ssim_decibels(ours))
        return {
            "quality": of,
            "candidate": dataclasses.asdict(ours),
            "heifEncQuality": quality,
            "heifEnc": dataclasses.asdict(self._heif_enc(examiner, quality)),
        }

    def _nearest(self, examiner: Examiner, wanted: float) -> int:
        def likeness(quality: int) -> float:
            return ssim_decibels(self._heif_enc(examiner, quality))

        estimate = Curve([(likeness(quality), quality) for quality in FIRST_TRIED])(wanted)
        below = math.floor(estimate / STEP) * STEP
        return min((below, below + STEP), key=lambda quality: abs(likeness(quality) - wanted))

    def _heif_enc(self, examiner: Examiner, quality: int) -> Encoding:
        remembered = self._inputs.folder / f"heif-enc-{quality}.json"
        if not remembered.exists():
            encoding = examiner.examine(self._commands.heif_enc(self._inputs.png, quality))
            remembered.write_text(json.dumps(dataclasses.asdict(encoding)))
        return Encoding(**json.loads(remembered.read_text()))
