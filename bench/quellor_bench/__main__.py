"""The command: bench/run describes its arguments."""

import argparse
import dataclasses
import json
import signal
import sys
from pathlib import Path

from . import kernels, machine, plot, quality, results, table
from .commands import Commands
from .inputs import Inputs
from .matching import Matching
from .measure import Runner
from .tree import Tree, make_scratch
from .works import Work, works

ROUNDS, QUICK_ROUNDS = 9, 3
LONG_WORK_SHARE = 4  # has so many times fewer rounds
KERNELS = "kernels"


def parsed_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="bench/run", description="Measures the program against its peers.")
    parser.add_argument("--tree", type=Path, required=True, help="build tree to measure (default: build it, in build)")
    parser.add_argument("--quick", action="store_true", help="fewer rounds")
    parser.add_argument("--only", default="", metavar="NAME", help="the work NAME, or those whose names contain it")
    parser.add_argument("--list", action="store_true", help="print the names of the works and end")
    parser.add_argument("--quality", nargs="*", type=Path, metavar="PHOTO", help="rate and likeness instead")
    return parser.parse_args()


class Bench:
    def __init__(self, arguments: argparse.Namespace, scratch: Path):
        self._arguments = arguments
        self._tree = Tree(arguments.tree)
        self._scratch = scratch
        self._machine = machine.describe()
        self._runner = Runner(self._tree, scratch)
        self._inputs = Inputs(self._tree)
        self._commands = Commands(self._tree, scratch)
        self._matching = Matching(self._commands, self._runner, self._inputs, scratch)

    def performance(self) -> None:
        rows, samples, files = [], {}, {}
        for name, make_work in self._chosen().items():
            work = make_work()
            samples[name] = self._samples(name, work)
            rows.extend(results.rows_of(name, work, samples[name]))
            if work.files:
                files[name] = round(60 * work.files / rows[-1].ours.wall)
        wanted = self._arguments.only in KERNELS
        measured = kernels.measure(self._tree, self._scratch, self._arguments.quick) if wanted else []
        if not rows and not measured:
            raise SystemExit(f"no work is named like {self._arguments.only}; --list names them")
        self._report(rows, measured, samples, files)

    def quality(self) -> None:
        photos = self._arguments.quality or quality.default_photos(self._tree, self._inputs)
        curves = [quality.Curves(self._commands, self._runner, self._scratch, photo, self._arguments.quick)
                  for photo in photos]
        text = "\n\n".join([machine.line(self._machine), *map(quality.text_of, curves)])
        self._keep("quality", {"machine": self._machine, "photos": [quality.json_of(curve) for curve in curves]}, text)

    def list(self) -> None:
        print("\n".join([*self._works(), KERNELS]))

    def _works(self) -> dict:
        return works(self._commands, self._inputs, self._matching)

    def _chosen(self) -> dict:
        all_works, only = self._works(), self._arguments.only
        if only in all_works:
            return {only: all_works[only]}
        return {name: work for name, work in all_works.items() if only in name}

    def _samples(self, name: str, work: Work) -> list:
        rounds = (QUICK_ROUNDS if self._arguments.quick else ROUNDS) * work.more_rounds
        uncounted = 1
        if work.minutes_long:
            rounds, uncounted = max(1, rounds // LONG_WORK_SHARE), 0
        print(f"{name} ({rounds} rounds) ", end="", file=sys.stderr, flush=True)
        runs = [work.run, *(peer.run for peer in work.peers)]
        samples = self._runner.round_robin(runs, rounds, uncounted, progress)
        print(file=sys.stderr)
        return samples

    def _report(self, rows: list, measured: list, samples: dict, files: dict) -> None:
        missed = [row.work for row in rows if row.missed]
        document = {
            "machine": self._machine,
            "photo": self._inputs.description,
            "quick": self._arguments.quick,
            "only": self._arguments.only,
            "missed": missed,
            "matching": self._matching.report,
            "rows": [dataclasses.asdict(row) for row in rows],
            "samples": {name: [[dataclasses.asdict(s) for s in taken] for taken in lists]
                        for name, lists in samples.items()},
            "kernels": measured,
            "filesPerMinute": files,
        }
        parts = [machine.line(self._machine), f"Photo: {self._inputs.description}."]
        parts.extend(map(matching_text, self._matching.report))
        if rows:
            parts.extend([table.of_rows(rows), f"Missed: {', '.join(missed) or 'nothing'}."])
            if files:
                texts = (f"{name} {count}" for name, count in files.items())
                parts.append(f"Files per minute, two runs side by side: {', '.join(texts)}.")
            plot.draw(rows, self._tree.results / "results.svg")
        if measured:
            parts.append(table.of_kernels(measured))
        self._keep("results", document, "\n\n".join(parts))

    def _keep(self, name: str, document: dict, text: str) -> None:
        (self._tree.results / f"{name}.json").write_text(json.dumps(document, indent=1) + "\n")
        (self._tree.results / f"{name}.md").write_text(text + "\n")
        print(text)


def progress() -> None:
    print(".", end="", file=sys.stderr, flush=True)


def matching_text(found: dict) -> str:
    ours, theirs = found["candidate"], found["heifEnc"]
    return (f"Equal likeness: encode-candidate at {found['quality']} gives SSIM-Y {ours['ssim']:.5f} and "
            f"{ours['bytes']} bytes, heif-enc -q {found['heifEncQuality']} {theirs['ssim']:.5f} and "
            f"{theirs['bytes']} bytes.")


def main() -> None:
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))  # so that the scratch folder goes
    arguments = parsed_arguments()
    with make_scratch(Tree(arguments.tree)) as scratch:
        bench = Bench(arguments, Path(scratch))
        if arguments.list:
            bench.list()
        elif arguments.quality is not None:
            bench.quality()
        else:
            bench.performance()


main()
