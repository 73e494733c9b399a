"""How alike two decodings are: PSNR and SSIM of their luma, by ffmpeg."""

import math
import re
import subprocess
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Likeness:
    psnr: float  # dB
    ssim: float  # 0 to 1


def decibels(ssim: float) -> float:
    """SSIM on a scale on which equal steps look about equal."""
    return -10 * math.log10(max(1 - ssim, 1e-9))


class Luma:
    """The luma plane of a y4m file, copied to `path` as a raw file: that has no range which a tool could convert."""

    def __init__(self, y4m: Path, path: Path):
        self.path = path
        with y4m.open("rb") as source, path.open("wb") as plane:
            fields = source.readline().decode().split()
            self.width, self.height = (int(field[1:]) for field in fields[1:3])
            source.readline()  # the frame's header
            samples = source.read(self.width * self.height)
            if len(samples) != self.width * self.height:
                raise SystemExit(f"{y4m} holds no whole 8-bit picture")
            plane.write(samples)

    def likeness(self, other: "Luma") -> Likeness:
        if (self.width, self.height) != (other.width, other.height):
            raise SystemExit(f"{self.path} and {other.path} differ in size")
        report = subprocess.run(
            ["ffmpeg", "-hide_banner", "-nostats", *self._as_input(), *other._as_input(),
             "-lavfi", "[0][1]psnr;[0][1]ssim", "-f", "null", "-"],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, check=True).stderr
        psnr = re.search(r"PSNR y:(\S+)", report)
        ssim = re.search(r"SSIM Y:(\S+)", report)
        return Likeness(float(psnr.group(1)), float(ssim.group(1)))

    def _as_input(self) -> list:
        return ["-f", "rawvideo", "-pix_fmt", "gray", "-s", f"{self.width}x{self.height}", "-i", str(self.path)]
