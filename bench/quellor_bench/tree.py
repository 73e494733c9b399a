"""Where things stand: the build tree that is measured, the project, the scratch folder for outputs."""

import re
import shutil
import sys
import tempfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]

# The raw export of 200 megapixels and the largest peer's output stand there at the same time.
SCRATCH_BYTES = 2_500_000_000


class Tree:
    """A build tree with the target quellor_bench built."""

    def __init__(self, folder: Path):
        self.folder = folder.resolve()
        self.program = self.folder / "quellor"
        self.kernels = self.folder / "bench" / "quellor_kernels"
        self.measured_run = self.folder / "bench" / "measured_run"
        self.repeat_tiles = self.folder / "bench" / "repeat_tiles"
        self.results = self.folder / "bench"
        for needed in (self.program, self.kernels, self.measured_run, self.repeat_tiles):
            if not needed.exists():
                raise SystemExit(f"{needed} is missing: build the target quellor_bench in {self.folder}")

    @property
    def samples(self) -> Path:
        """The folder of sample files that the tree was configured with; it may be absent."""
        cache = (self.folder / "CMakeCache.txt").read_text()
        entry = re.search(r"^QUELLOR_SAMPLES:\w+=(.*)$", cache, re.MULTILINE)
        return Path(entry.group(1)) if entry else PROJECT / "no-samples"


def make_scratch(tree: Tree) -> tempfile.TemporaryDirectory:
    """A folder in memory, so that no disk is measured; on the disk where there is not room enough."""
    memory = Path("/dev/shm")
    if memory.is_dir() and shutil.disk_usage(memory).free >= SCRATCH_BYTES:
        return tempfile.TemporaryDirectory(prefix="quellor-bench-", dir=memory)
    print(f"{memory} has no room: outputs go to the disk, which is measured, too", file=sys.stderr)
    return tempfile.TemporaryDirectory(prefix="scratch-", dir=tree.results)
