"""What the figures were taken on."""

import datetime
import os
import platform
import re
import shutil
import subprocess
from pathlib import Path

from .tree import PROJECT

# More than this and somebody else works on the machine.
IDLE_LOAD = 0.5


def first(pattern: str, path: str) -> str:
    found = re.search(pattern, Path(path).read_text(), re.MULTILINE)
    return found.group(1).strip() if found else "unknown"


def revision() -> str:
    if shutil.which("git") is None:
        return "unknown revision"
    described = subprocess.run(["git", "-C", PROJECT, "describe", "--always", "--dirty"], capture_output=True,
                               text=True)
    return described.stdout.strip() or "unknown revision"


def describe() -> dict:
    """To be asked for before anything is measured, because of the load."""
    load = os.getloadavg()[0]
    return {
        "processor": first(r"^model name\s*:(.*)$", "/proc/cpuinfo"),
        "processors": len(os.sched_getaffinity(0)),
        "memoryBytes": int(first(r"^MemTotal:\s*(\d+)", "/proc/meminfo")) * 1024,
        "system": platform.freedesktop_os_release()["PRETTY_NAME"],
        "kernel": platform.release(),
        "loadAtStart": load,
        "busy": load > IDLE_LOAD,
        "date": datetime.date.today().isoformat(),
        "revision": revision(),
    }


def line(machine: dict) -> str:
    busy = f"; the machine was busy (load {machine['loadAtStart']:.1f})" if machine["busy"] else ""
    return (f"{machine['processor']}, {machine['processors']} processors, {machine['memoryBytes'] / 2**30:.0f} GiB, "
            f"{machine['system']}, Linux {machine['kernel']}, {machine['date']}, {machine['revision']}{busy}")
