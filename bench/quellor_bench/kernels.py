"""The small parts that are measured by themselves, with Google Benchmark."""

import json
import subprocess
from pathlib import Path

from .tree import Tree

MICROSECONDS = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}


def measure(tree: Tree, scratch: Path, quick: bool) -> list:
    report = scratch / "kernels.json"
    seconds = 0.1 if quick else 1.0
    subprocess.run([tree.kernels, f"--benchmark_out={report}", "--benchmark_out_format=json",
                    f"--benchmark_min_time={seconds}"],
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    return [kernel_of(entry) for entry in json.loads(report.read_text())["benchmarks"]]


def kernel_of(entry: dict) -> dict:
    if entry.get("error_occurred"):
        raise SystemExit(f"{entry['name']}: {entry['error_message']}")
    kernel = {"name": entry["name"].removesuffix("/real_time"),
              "microseconds": entry["real_time"] * MICROSECONDS[entry["time_unit"]]}
    for key, name in (("bytes_per_second", "bytesPerSecond"), ("items_per_second", "itemsPerSecond")):
        if key in entry:
            kernel[name] = entry[key]
    return kernel
