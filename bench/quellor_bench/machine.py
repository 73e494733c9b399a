"""What the figures were taken on."""

import datetime
import os
import platform
import re
import shutil
import subprocess
import time
from pathlib import Path

from .tree import PROJECT

# Somebody else works on the machine if more than this share of its processors is in use for so many seconds. The load
# average would also hold the building of what is to be measured.
IDLE_SHARE, WATCHED_SECONDS = 0.1, 0.5


def first(pattern: str, path: str) -> str:
    found = re.search(pattern, Path(path).read_text(), re.MULTILINE)
    return found.group(1).strip() if found else "unknown"


def revision() -> str:
    if shutil.which("git") is None:
        return "unknown revision"
    described = subprocess.run(["git", "-C", PROJECT, "describe", "--always", "--dirty"], capture_output=True,
                               text=True)
    return described.stdout.strip() or "unknown revision"


def processor_ticks() -> tuple[int, int]:
    """Those spent working, and all."""
    ticks = [int(text) for text in first(r"^cpu (.*)$", "/proc/stat").split()]
    idle, waiting = ticks[3], ticks[4]
    return sum(ticks[:8]) - idle - waiting, sum(ticks[:8])


def share_in_use() -> float:
    working, everything = processor_ticks()
    time.sleep(WATCHED_SECONDS)
    working_then, everything_then = processor_ticks()
    return (working_then - working) / max(1, everything_then - everything)


def describe() -> dict:
    """To be asked for before anything is measured, because of what else runs."""
    in_use = share_in_use()
    return {
        "processor": first(r"^model name\s*:(.*)$", "/proc/cpuinfo"),
        "processors": len(os.sched_getaffinity(0)),
        "memoryBytes": int(first(r"^MemTotal:\s*(\d+)", "/proc/meminfo")) * 1024,
        "system": platform.freedesktop_os_release()["PRETTY_NAME"],
        "kernel": platform.release(),
        "inUseAtStart": in_use,
        "busy": in_use > IDLE_SHARE,
        "date": datetime.date.today().isoformat(),
        "revision": revision(),
    }


def line(machine: dict) -> str:
    busy = f"; the machine was busy ({machine['inUseAtStart']:.0%} in use)" if machine["busy"] else ""
    return (f"{machine['processor']}, {machine['processors']} processors, {machine['memoryBytes'] / 2**30:.0f} GiB, "
            f"{machine['system']}, Linux {machine['kernel']}, {machine['date']}, {machine['revision']}{busy}")
