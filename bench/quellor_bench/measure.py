"""Running commands and taking their time, processor time and peak memory."""

import json
import statistics
import subprocess
from dataclasses import dataclass
from pathlib import Path
from typing import Callable

from .tree import Tree


@dataclass(frozen=True)
class Run:
    """One command, as it is started again and again."""

    name: str
    command: tuple
    request: dict | None = None  # written to its standard input as JSON
    output: Path | None = None  # what it writes; removed before each start
    status: int = 0  # what it must end with


@dataclass(frozen=True)
class Sample:
    wall: float  # seconds from start to end
    cpu: float  # seconds of user and system time
    peak: float  # bytes of resident memory


MEASURES = ("wall", "cpu", "peak")


class Runner:
    def __init__(self, tree: Tree, scratch: Path):
        self._launcher = tree.measured_run
        self._request = scratch / "request.json"

    def run(self, run: Run) -> Sample:
        if run.output is not None:
            run.output.unlink(missing_ok=True)
        source = "/dev/null"
        if run.request is not None:
            self._request.write_text(json.dumps(run.request))
            source = self._request
        command = [str(self._launcher), str(source), *map(str, run.command)]
        ended = subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL)
        if ended.returncode != 0:
            raise SystemExit(f"{run.name} could not be started: {ended.stderr}")
        wall, cpu, peak, status = map(int, ended.stdout.split())
        if status != run.status:
            raise SystemExit(f"{run.name} ended with {status} instead of {run.status}: {ended.stderr}")
        return Sample(wall / 1e6, cpu / 1e6, peak * 1024.0)

    def round_robin(self, runs: list, rounds: int, uncounted: int, after: Callable) -> list:
        """A list of samples for each run: A, B, A, B, … so that what changes on the machine meets all of them alike.

        The rounds that do not count come first and fill the caches. `after()` is called after every run.
        """
        samples = [[] for _ in runs]
        for number in range(-uncounted, rounds):
            for run, taken in zip(runs, samples):
                sample = self.run(run)
                if number >= 0:
                    taken.append(sample)
                after()
        for run in runs:
            if run.output is not None:
                run.output.unlink(missing_ok=True)
        return samples


def median(samples: list) -> Sample:
    return Sample(*(statistics.median(getattr(sample, measure) for sample in samples) for measure in MEASURES))
