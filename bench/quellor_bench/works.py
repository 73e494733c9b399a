"""What is measured against what, and what the ratios shall not exceed."""

from dataclasses import dataclass, field
from os import sched_getaffinity
from typing import Callable

from .commands import Commands
from .inputs import LARGE_SHARE, Inputs
from .matching import HALF, QUALITY, Matching
from .measure import Run


@dataclass(frozen=True)
class Peer:
    run: Run
    targets: dict = field(default_factory=dict)  # measure to greatest ratio of the medians
    share: float = 1.0  # the work has so many times the pixels of the peer's


@dataclass(frozen=True)
class Work:
    run: Run
    peers: list
    limits: dict = field(default_factory=dict)  # measure to greatest median, in seconds or bytes
    more_rounds: int = 1  # than the others, because it is short
    minutes_long: bool = False  # so long that caches do not matter and rounds have to be few
    files: int = 0  # how many a run works on, where files per minute are of interest


MEGABYTE = 1_000_000
PROCESSORS = len(sched_getaffinity(0))


def timed(run: Run, ratio: float) -> Peer:
    return Peer(run, {"wall": ratio})


def in_proportion(run: Run) -> Peer:
    """The same operation on the 12 megapixels."""
    return Peer(run, {"wall": 1.05, "peak": 1.1}, LARGE_SHARE)


def works(c: Commands, i: Inputs, matching: Matching) -> dict[str, Callable[[], Work]]:
    """By name. An image is made, and a quality is looked for, when a work that needs it is asked for."""

    def matched_heif_enc(quality: float = QUALITY) -> Run:
        return c.heif_enc(i.png, matching.heif_enc_quality(quality))

    def peak(megabytes: float) -> dict:
        return {"peak": megabytes * MEGABYTE}

    def scaling(run: Run) -> Work:
        """On one processor, and as multiples of that on two and on all there are."""
        counts = sorted({1, min(2, PROCESSORS), PROCESSORS} - {1})
        return Work(c.on_processors(run, 1), [Peer(c.on_processors(run, count)) for count in counts])

    def many(operation: str) -> Work:
        """Two runs side by side against one after the other."""
        return Work(c.many(operation, i.many, 2), [Peer(c.many(operation, i.many, 1))], files=len(i.many))

    return {
        "bad-request": lambda: Work(c.refused_request(), [Peer(c.nothing())], {"wall": 0.004}, more_rounds=10),
        "inspect-untiled": lambda: Work(c.inspect(i.untiled), [timed(c.heif_dec(i.untiled), 0.22)], peak(25)),
        "inspect-tiled": lambda: Work(c.inspect(i.tiled), [timed(c.heif_dec(i.tiled), 0.35)], peak(25)),
        "inspect-jpeg": lambda: Work(c.inspect(i.jpeg), [timed(c.djpeg(i.jpeg), 0.65)]),
        "inspect-png": lambda: Work(c.inspect(i.png), [timed(c.vips_avg(i.png), 0.35)]),
        "encode-candidate": lambda: Work(
            c.encode_candidate(i.tiled, QUALITY), [timed(matched_heif_enc(), 0.42)], peak(260)),
        "encode-candidate-half": lambda: Work(
            c.encode_candidate(i.tiled, HALF), [Peer(matched_heif_enc(HALF), {"cpu": 0.4})]),
        "rewrite-from-source": lambda: Work(
            c.rewrite_from_source(i.tiled),
            [timed(c.exiftool_without_position(i.tiled), 0.9), Peer(c.inspect(i.tiled))], peak(30)),
        "rewrite-decoded-image": lambda: Work(c.rewrite_decoded_image(i.tiled), [Peer(matched_heif_enc())]),
        "export": lambda: Work(c.export_pixels(i.tiled), [timed(c.vips_rawsave(i.tiled), 0.75)], peak(95)),
        "icon-inspect": lambda: Work(
            c.inspect(i.icon), [timed(c.heif_info(i.icon), 1.3), Peer(c.exiftool(i.icon))]),
        "icon-inspect-png": lambda: Work(c.inspect(i.icon_png), [Peer(c.vips_avg(i.icon_png))]),
        "icon-encode-candidate": lambda: Work(
            c.encode_candidate(i.icon_png, QUALITY), [timed(c.heif_enc(i.icon_png), 0.6)]),
        "icon-rewrite-from-source": lambda: Work(
            c.rewrite_from_source(i.icon), [Peer(c.inspect(i.icon)), Peer(c.exiftool_copy(i.icon))]),
        "icon-rewrite-decoded-image": lambda: Work(
            c.rewrite_decoded_image(i.icon), [Peer(c.heif_enc(i.icon_png))]),
        "icon-export": lambda: Work(c.export_pixels(i.icon), [Peer(c.vips_rawsave(i.icon))]),
        "large-inspect": lambda: Work(c.inspect(i.large_tiled), [in_proportion(c.inspect(i.tiled))], peak(160)),
        "large-inspect-jpeg": lambda: Work(c.inspect(i.large_jpeg), [in_proportion(c.inspect(i.jpeg))]),
        "large-export": lambda: Work(c.export_pixels(i.large_tiled), [in_proportion(c.export_pixels(i.tiled))]),
        "large-rewrite-from-source": lambda: Work(
            c.rewrite_from_source(i.large_tiled), [in_proportion(c.rewrite_from_source(i.tiled))]),
        "large-encode-candidate": lambda: Work(
            c.encode_candidate(i.large_tiled, QUALITY), [in_proportion(c.encode_candidate(i.tiled, QUALITY))],
            peak(1200), minutes_long=True),
        "processors-inspect-tiled": lambda: scaling(c.inspect(i.tiled)),
        "processors-inspect-untiled": lambda: scaling(c.inspect(i.untiled)),
        "processors-rewrite-from-source": lambda: scaling(c.rewrite_from_source(i.untiled)),
        "many-inspect": lambda: many("inspect"),
        "many-rewrite-from-source": lambda: many("rewrite-from-source"),
    }
