"""How alike two decodings are: PSNR and SSIM of their luma, by ffmpeg; what an eye sees of their colors, by ssimulacra2
and butteraugli where these are installed."""

import math
import re
import shutil
import subprocess
from dataclasses import dataclass
from pathlib import Path

# Names of the fields of Likeness that measure, each with what turns it into a scale that rises with the likeness and on
# which equal steps look about equal.
SCALES = {
    "ssim": lambda ssim: -10 * math.log10(max(1 - ssim, 1e-9)),
    "ssimulacra2": lambda score: score,
    "butteraugli": lambda distance: -math.log(max(distance, 1e-9)),
}


@dataclass(frozen=True)
class Likeness:
    psnr: float  # dB, of luma
    ssim: float  # 0 to 1, of luma
    ssimulacra2: float | None  # at most 100; none where it was not asked for or is not installed
    butteraugli: float | None  # the 3-norm, from 0 on; none likewise


class Picture:
    """An 8-bit 4:2:0 picture of a y4m file, copied to raw files beside `path`: those have no range and no matrix which
    a tool could take otherwise. The colors are drawn in full range, whatever the picture's is: the same for all."""

    def __init__(self, y4m: Path, path: Path, with_colors: bool):
        self._luma = path.with_suffix(".luma")
        self.colors = path.with_suffix(".ppm") if with_colors else None
        with y4m.open("rb") as source:
            fields = source.readline().decode().split()
            self.width, self.height = (int(field[1:]) for field in fields[1:3])
            source.readline()  # the frame's header
            luma = source.read(self.width * self.height)
            chroma = source.read()
        if len(chroma) != 2 * (-(-self.width // 2) * -(-self.height // 2)):
            raise SystemExit(f"{y4m} holds no whole 8-bit 4:2:0 picture")
        self._luma.write_bytes(luma)
        if self.colors:
            self._draw(path.with_suffix(".yuv"), luma + chroma)

    def likeness(self, other: "Picture") -> Likeness:
        """Of this one to the other, the original."""
        if (self.width, self.height) != (other.width, other.height):
            raise SystemExit(f"{self._luma} and {other._luma} differ in size")
        report = ffmpeg(*self._as_input(self._luma, "gray"), *self._as_input(other._luma, "gray"),
                        "-lavfi", "[0][1]psnr;[0][1]ssim", "-f", "null", "-")
        psnr = re.search(r"PSNR y:(\S+)", report)
        ssim = re.search(r"SSIM Y:(\S+)", report)
        return Likeness(float(psnr.group(1)), float(ssim.group(1)),
                        self._judged("ssimulacra2", other, r"^(\S+)"),
                        self._judged("butteraugli_main", other, r"^3-norm: (\S+)"))

    def _draw(self, planes: Path, samples: bytes) -> None:
        planes.write_bytes(samples)
        ffmpeg(*self._as_input(planes, "yuvj420p"), "-frames:v", "1", "-y", self.colors)
        planes.unlink()

    def _judged(self, program: str, other: "Picture", pattern: str) -> float | None:
        if not (self.colors and other.colors and shutil.which(program)):
            return None
        report = subprocess.run([program, other.colors, self.colors],
                                stdin=subprocess.DEVNULL, capture_output=True, text=True, check=True).stdout
        return float(re.search(pattern, report, re.MULTILINE).group(1))

    def _as_input(self, path: Path, samples: str) -> list:
        return ["-f", "rawvideo", "-pix_fmt", samples, "-s", f"{self.width}x{self.height}", "-i", path]


def ffmpeg(*arguments) -> str:
    """What it reports."""
    return subprocess.run(["ffmpeg", "-hide_banner", "-nostats", *map(str, arguments)],
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, check=True).stderr
