"""What encode-candidate makes of its quality: size and likeness, against heif-enc at its default settings."""

import dataclasses
import math
import sys
from pathlib import Path

from . import table
from .commands import Commands
from .curve import Curve
from .encodings import Encoding, Examiner, on_scale
from .inputs import Inputs, command
from .likeness import SCALES
from .measure import Runner
from .tree import Tree

QUALITIES = [step / 10 for step in range(11)]
QUICK_QUALITIES = [0.0, 0.5, 1.0]

# Cover what the qualities above give. Between steps of 8, interpolated sizes are within 2 % of real ones, between
# steps of 24 within 7 %.
HEIF_ENC_QUALITIES = list(range(0, 97, 8))
QUICK_HEIF_ENC_QUALITIES = list(range(0, 97, 24))

# Both encoders get the samples themselves, so at their best they must be near to them. If one is not, its decoding
# differs in range or matrix, and comparing says nothing.
LEAST_BEST_PSNR = 40

NAMES = {"ssim": "SSIM-Y", "ssimulacra2": "ssimulacra2", "butteraugli": "butteraugli"}

# Of the integral over the likeness.
STEPS = 200


def default_photos(tree: Tree, inputs: Inputs) -> list:
    second = tree.samples / "photos" / "phone-rotated-270-no-profile.heic"
    return [inputs.tiled, *([second] if second.exists() else [])]


class Curves:
    """Both encoders on one photo."""

    def __init__(self, commands: Commands, runner: Runner, scratch: Path, photo: Path, quick: bool):
        reference = scratch / "photo.y4m"
        command("heif-dec", "--quiet", photo, reference)
        examiner = Examiner(runner, scratch, reference, by_eye=True)
        self.photo = photo
        self.coarse = quick
        self.ours, self.theirs = {}, {}
        for quality in QUICK_QUALITIES if quick else QUALITIES:
            self.ours[quality] = examiner.examine(commands.encode_candidate(photo, quality))
            print(f"{photo.name}: quality {quality}", file=sys.stderr)
        for quality in QUICK_HEIF_ENC_QUALITIES if quick else HEIF_ENC_QUALITIES:
            self.theirs[quality] = examiner.examine(commands.heif_enc(reference, quality))
            print(f"{photo.name}: heif-enc -q {quality}", file=sys.stderr)
        for encodings in (self.ours, self.theirs):
            if max(encoding.psnr for encoding in encodings.values()) < LEAST_BEST_PSNR:
                raise SystemExit(f"{photo}: even the best encoding is nothing like the photo")

    @property
    def measures(self) -> list:
        """The names of the measures that there are programs for."""
        return [measure for measure in SCALES if on_scale(self.ours[min(self.ours)], measure) is not None]

    @property
    def rising(self) -> bool:
        """Every step of quality gives more bytes and more likeness, by every measure."""
        encodings = [self.ours[quality] for quality in sorted(self.ours)]
        return all(a.bytes < b.bytes and all(on_scale(a, measure) < on_scale(b, measure) for measure in self.measures)
                   for a, b in zip(encodings, encodings[1:]))

    def against_heif_enc(self, ours: Encoding, figure: str, measure: str) -> float | None:
        """The ratio of the figures at equal likeness; none where heif-enc was not tried."""
        theirs = logarithm(self.theirs, figure, measure)
        at = on_scale(ours, measure)
        return getattr(ours, figure) / math.exp(theirs(at)) if theirs.least <= at <= theirs.greatest else None

    def mean_ratio(self, figure: str, measure: str) -> float:
        """Geometric mean of the ratio over all the likeness that both reach (the Bjøntegaard difference)."""
        ours, theirs = logarithm(self.ours, figure, measure), logarithm(self.theirs, figure, measure)
        least, greatest = max(ours.least, theirs.least), min(ours.greatest, theirs.greatest)
        likenesses = [least + (greatest - least) * (step + 0.5) / STEPS for step in range(STEPS)]
        return math.exp(sum(ours(at) - theirs(at) for at in likenesses) / STEPS)


def logarithm(encodings: dict, figure: str, measure: str) -> Curve:
    """Of a figure, over the likeness."""
    return Curve([(on_scale(encoding, measure), math.log(getattr(encoding, figure)))
                  for encoding in encodings.values()])


def percent(ratio: float | None) -> str:
    return "–" if ratio is None else f"{(ratio - 1) * 100:+.1f} %"


def share(ratio: float | None) -> str:
    return "–" if ratio is None else f"{ratio:.2f} ×"


def text_of(curves: Curves) -> str:
    names = [NAMES[measure] for measure in curves.measures]
    headings = ["quality", "bytes", "CPU s", "PSNR-Y", *names,
                *(f"bytes at equal {name}" for name in names), "CPU at equal SSIM-Y"]
    cells = [cells_of(curves, quality, encoding) for quality, encoding in sorted(curves.ours.items())]
    return f"{summary_of(curves)}\n\n{table.markdown(headings, cells, texts=())}"


def cells_of(curves: Curves, quality: float, encoding: Encoding) -> list:
    likenesses = [f"{getattr(encoding, measure):.{5 if measure == 'ssim' else 2}f}" for measure in curves.measures]
    ratios = [percent(curves.against_heif_enc(encoding, "bytes", measure)) for measure in curves.measures]
    return [f"{quality:.1f}", str(encoding.bytes), f"{encoding.cpu:.2f}", f"{encoding.psnr:.2f}", *likenesses, *ratios,
            share(curves.against_heif_enc(encoding, "cpu", "ssim"))]


def summary_of(curves: Curves) -> str:
    rising = "rise strictly" if curves.rising else "DO NOT RISE STRICTLY"
    summary = f"**{curves.photo.name}**: bytes and likeness {rising} with the quality."
    if curves.coarse:
        return summary + " The steps of a quick run are too wide for more than a glance at the last columns."
    ratios = [f"{percent(curves.mean_ratio('bytes', measure))} at equal {NAMES[measure]}"
              for measure in curves.measures]
    return (f"{summary} Over all of it, bytes differ from heif-enc's by {', '.join(ratios)}; processor time is "
            f"{share(curves.mean_ratio('cpu', 'ssim'))} heif-enc's at equal SSIM-Y.")


def json_of(curves: Curves) -> dict:
    return {
        "photo": curves.photo.name,
        "rising": curves.rising,
        "coarse": curves.coarse,
        "bytesRatio": {measure: curves.mean_ratio("bytes", measure) for measure in curves.measures},
        "cpuRatio": curves.mean_ratio("cpu", "ssim"),
        "encodeCandidate": points_of(curves.ours),
        "heifEnc": points_of(curves.theirs),
    }


def points_of(encodings: dict) -> list:
    return [{"quality": quality, **dataclasses.asdict(encoding)} for quality, encoding in sorted(encodings.items())]
