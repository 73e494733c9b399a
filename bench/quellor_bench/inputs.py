"""The images that are measured with, made once and kept in the build tree."""

import hashlib
import os
import subprocess
import sys
import tempfile
from functools import cached_property
from pathlib import Path

from .tree import PROJECT, Tree

# Raised when a recipe below changes, so that nobody measures with an image of the old one.
RECIPES = 2

WIDTH, HEIGHT = 4032, 3024  # 12 megapixels, as phones take them
LARGE_WIDTH, LARGE_HEIGHT = 16320, 12240  # 200 megapixels, likewise
TILE = 512
LARGE_SHARE = LARGE_WIDTH * LARGE_HEIGHT / (WIDTH * HEIGHT)

# Gives about the size of the tiled photo.
UNTILED_QUALITY = 60


def command(*arguments) -> None:
    ended = subprocess.run([str(a) for a in arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if ended.returncode != 0:
        raise SystemExit(f"{' '.join(map(str, arguments))}: {ended.stdout}{ended.stderr}")


def tiles_for(size: int) -> int:
    return -(-size // TILE)


class Inputs:
    def __init__(self, tree: Tree):
        self._tree = tree
        self._photo = tree.samples / "photos" / "phone-grid-12mp.heic"
        source = self._photo if self._photo.exists() else PROJECT / "examples" / "photo.heic"
        digest = hashlib.sha256(source.read_bytes()).hexdigest()[:12]
        self.folder = tree.results / f"inputs-{RECIPES}-{digest}"
        self.folder.mkdir(parents=True, exist_ok=True)

    @property
    def description(self) -> str:
        return self._photo.name if self._photo.exists() else "a generated photo"

    @property
    def many(self) -> list:
        """All photos of the sample folder, or the example alone, many times."""
        photos = sorted(self._photo.parent.glob("*.h*")) if self._photo.exists() else []
        return photos or [PROJECT / "examples" / "photo.heic"] * 8

    @cached_property
    def tiled(self) -> Path:
        """12 MP HEIC, a grid of 48 tiles, with metadata."""
        return self._photo if self._photo.exists() else self._make("tiled.heic", self._generate_tiled)

    @cached_property
    def untiled(self) -> Path:
        """The same as one picture with entry points for every row of blocks."""
        photo = self.png
        return self._make("untiled.heic", lambda to: command(
            "heif-enc", "-q", UNTILED_QUALITY, "-p", "x265:wpp=1", photo, "-o", to))

    @cached_property
    def jpeg(self) -> Path:
        photo = self.tiled
        return self._make("photo.jpg", lambda to: command("heif-dec", "--quiet", "-q", "90", photo, to))

    @cached_property
    def png(self) -> Path:
        photo = self.tiled
        return self._make("photo.png", lambda to: command(
            "heif-dec", "--quiet", "--png-compression-level", "6", photo, to))

    @cached_property
    def y4m(self) -> Path:
        """The tiled photo's samples as they are coded."""
        photo = self.tiled
        return self._make("photo.y4m", lambda to: command("heif-dec", "--quiet", photo, to))

    @cached_property
    def large_tiled(self) -> Path:
        """200 MP HEIC of the tiled photo's tiles, again and again, each with a number."""
        photo = self.tiled
        return self._make("large.heic", lambda to: command(
            self._tree.repeat_tiles, photo, to, tiles_for(LARGE_WIDTH), tiles_for(LARGE_HEIGHT),
            LARGE_WIDTH, LARGE_HEIGHT))

    @cached_property
    def large_jpeg(self) -> Path:
        photo = self.jpeg
        return self._make("large.jpg", lambda to: self._enlarge(photo, to))

    @cached_property
    def icon_png(self) -> Path:
        photo = self.png
        return self._make("icon.png", lambda to: command(
            "vips", "thumbnail", photo, f"{to}[strip]", "64", "--height", "64", "--size", "force"))

    @cached_property
    def icon(self) -> Path:
        picture = self.icon_png
        return self._make("icon.heic", lambda to: command("heif-enc", picture, "-o", to))

    def _make(self, name: str, recipe) -> Path:
        """The file of that name, whole or not at all."""
        path = self.folder / name
        if not path.exists():
            print(f"making {name} …", file=sys.stderr)
            unfinished = self.folder / f"unfinished-{os.getpid()}{path.suffix}"
            recipe(unfinished)
            unfinished.rename(path)
        return path

    def _enlarge(self, photo: Path, to: Path) -> None:
        repeated = to.with_suffix(".v")
        command("vips", "replicate", photo, repeated, -(-LARGE_WIDTH // WIDTH),
                -(-LARGE_HEIGHT // HEIGHT))
        command("vips", "crop", repeated, f"{to}[Q=85,strip]", 0, 0, LARGE_WIDTH, LARGE_HEIGHT)
        repeated.unlink()

    def _generate_tiled(self, to: Path) -> None:
        """The example picture, scaled up and with the noise of a sensor, so that it is as hard to code as a photo."""
        example = PROJECT / "examples" / "photo.heic"
        with tempfile.TemporaryDirectory(dir=self.folder) as folder:
            small, grown = Path(folder) / "small.png", Path(folder) / "grown.png"
            command("heif-dec", "--quiet", example, small)
            command("convert", small, "-strip", "-rotate", "-90",
                    "-resize", f"{tiles_for(WIDTH) * TILE}x{tiles_for(HEIGHT) * TILE}!",
                    "-seed", "1", "-attenuate", "0.15", "+noise", "Gaussian", "-depth", "8", grown)
            command("heif-enc", "-q", UNTILED_QUALITY, "-T", cut_tiles(grown, Path(folder)),
                    "--tiled-image-width", WIDTH, "--tiled-image-height", HEIGHT, "-o", to)
        command("exiftool", "-q", "-overwrite_original", "-tagsfromfile", example, "-all:all", "-orientation=", to)


def cut_tiles(picture: Path, folder: Path) -> Path:
    """Cuts the picture into files that heif-enc takes as a grid, and gives the first of them."""
    for row in range(tiles_for(HEIGHT)):
        for column in range(tiles_for(WIDTH)):
            command("vips", "crop", picture, folder / f"tile-{row:02}-{column:02}.png", column * TILE, row * TILE,
                    TILE, TILE)
    return folder / "tile-00-00.png"
