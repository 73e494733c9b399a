"""The commands that are measured: the program's operations, and the peers at the same work."""

import dataclasses
import json
from pathlib import Path

from .measure import Run
from .tree import Tree


class Commands:
    """Commands whose outputs go to `scratch`."""

    def __init__(self, tree: Tree, scratch: Path):
        self._program = tree.program
        self._scratch = scratch

    # The program.

    def refused_request(self) -> Run:
        request = {"protocolVersion": 9, "operation": "inspect", "inputPath": "/nonexistent"}
        return Run("quellor, bad request", (self._program,), request, status=1)

    def inspect(self, image: Path) -> Run:
        return self._operation("inspect", image)

    def encode_candidate(self, image: Path, quality: float = 0.8) -> Run:
        return self._operation("encode-candidate", image, "candidate.heic", quality=quality)

    def rewrite_from_source(self, image: Path) -> Run:
        return self._operation("rewrite-from-source", image, "from-source.heic")

    def rewrite_decoded_image(self, image: Path) -> Run:
        return self._operation("rewrite-decoded-image", image, "decoded.heic")

    def export_pixels(self, image: Path) -> Run:
        return self._operation("export-storage-pixels", image, "export.raw")

    def _operation(self, operation: str, image: Path, output: str | None = None, **fields) -> Run:
        request = {"protocolVersion": 1, "operation": operation, "inputPath": str(image), **fields}
        written = self._scratch / output if output else None
        if written:
            request["outputPath"] = str(written)
        return Run(f"quellor {operation}", (self._program,), request, written)

    def many(self, operation: str, images: list, side_by_side: int) -> Run:
        """The operation on every image, so many runs at a time."""
        folder = self._scratch / "many"
        folder.mkdir(exist_ok=True)
        items = folder / f"{operation}.txt"
        lines = []
        for number, image in enumerate(images):
            written = folder / f"{operation}-{number}.heic"
            fields = {} if operation == "inspect" else {"outputPath": str(written)}
            request = {"protocolVersion": 1, "operation": operation, "inputPath": str(image), **fields}
            asked = folder / f"{operation}-{number}.json"
            asked.write_text(json.dumps(request))
            lines.append(f"{asked} {written}\n")
        items.write_text("".join(lines))
        script = 'rm -f "$2"; exec "$0" <"$1" >/dev/null'
        return Run(f"{side_by_side} at a time", ("xargs", "-a", items, "-P", str(side_by_side), "-n", "2",
                                                 "sh", "-c", script, self._program))

    @staticmethod
    def on_processors(run: Run, processors: int) -> Run:
        """The same on the first so many processors only."""
        return dataclasses.replace(run, name=f"{run.name}, processors: {processors}",
                                   command=("taskset", "-c", f"0-{processors - 1}", *run.command))

    # The peers.

    @staticmethod
    def nothing() -> Run:
        return Run("/bin/true", ("/bin/true",))

    def heif_dec(self, image: Path, output: str = "decoded.y4m") -> Run:
        return self._writing("heif-dec", output, lambda to: ("heif-dec", "--quiet", image, to))

    def heif_enc(self, image: Path, quality: int | None = None, output: str = "encoded.heic") -> Run:
        choice = () if quality is None else ("-q", str(quality))
        name = " ".join(("heif-enc", *choice))
        return self._writing(name, output, lambda to: ("heif-enc", *choice, image, "-o", to))

    def djpeg(self, image: Path) -> Run:
        return self._writing("djpeg", "decoded.ppm", lambda to: ("djpeg", "-outfile", to, image))

    def vips_rawsave(self, image: Path) -> Run:
        return self._writing("vips rawsave", "vips.raw", lambda to: ("vips", "rawsave", image, to))

    @staticmethod
    def vips_avg(image: Path) -> Run:
        return Run("vips avg", ("vips", "avg", image))

    @staticmethod
    def heif_info(image: Path) -> Run:
        return Run("heif-info", ("heif-info", image))

    @staticmethod
    def exiftool(image: Path) -> Run:
        return Run("exiftool", ("exiftool", image))

    def exiftool_without_position(self, image: Path) -> Run:
        name = "exiftool-gps" + image.suffix
        return self._writing("exiftool -gps:all=", name, lambda to: ("exiftool", "-q", "-gps:all=", "-o", to, image))

    def exiftool_copy(self, image: Path) -> Run:
        name = "exiftool" + image.suffix
        return self._writing("exiftool -all=", name, lambda to: ("exiftool", "-q", "-all=", "-o", to, image))

    def _writing(self, name: str, output: str, command) -> Run:
        written = self._scratch / output
        return Run(name, command(written), output=written)
