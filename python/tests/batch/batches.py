"""What tests of batches share: the command as a process, and the rows of its books."""

from __future__ import annotations

import hashlib
import json
import os
import signal
import subprocess
import sys
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pyarrow.parquet as parquet

TO_16K = ["--rate", "16000", "--channels", "1", "--type", "flac", "--dither", "off"]
OF_16K = {"rate": 16000, "channels": 1, "type": "flac", "dither": "off"}

_MAIN = "import sys; from tonekit.batch._command import main; main()"


def start(*words: object, **more: Any) -> subprocess.Popen[str]:
    """Starts tonekit-batch; an interrupt reaches it wherever the tests run."""
    return subprocess.Popen(
        [sys.executable, "-P", "-c", _MAIN, *map(str, words)],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.default_int_handler),
        **more,
    )


def command(*words: object, **more: Any) -> tuple[int, str, str]:
    """Runs tonekit-batch; returns its exit status and what it wrote."""
    process = start(*words, **more)
    out, err = process.communicate(timeout=300)
    return process.returncode, out, err


def summary_of(*words: object, **more: Any) -> tuple[int, dict[str, Any]]:
    """Runs tonekit-batch --json; returns its exit status and the summary."""
    code, out, err = command(*words, "--json", **more)
    assert out, err
    return code, json.loads(out)


def rows_of(target: Path) -> dict[str, dict[str, Any]]:
    """The rows of a finished run's manifest by source, each of which must be there once."""
    rows = parquet.read_table(target / "tonekit-manifest").to_pylist()
    by_source = {row["source"]: row for row in rows}
    assert len(by_source) == len(rows)
    return by_source


def bytes_of(target: Path) -> dict[str, str]:
    """Digests of all results by name; fails on anything else that was left there."""
    digests = {}
    for path in sorted(target.rglob("*")):
        if path.is_file() and "tonekit-manifest" not in path.parts:
            assert not path.name.startswith(".") and not path.name.endswith(".tmp"), path
            digests[str(path.relative_to(target))] = hashlib.sha256(path.read_bytes()).hexdigest()
    return digests


def workers_of(driver: int) -> list[int]:
    """The processes that a driver started."""
    children = Path(f"/proc/{driver}/task/{driver}/children").read_text().split()
    return [int(child) for child in children]


def until(condition: Callable[[], Any], seconds: float = 60.0) -> Any:
    """Waits for a condition and returns what it does."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if value := condition():
            return value
        time.sleep(0.01)
    raise AssertionError("it did not come to pass")


def environment(folder: Path, code: str) -> dict[str, str]:
    """An environment in which Python's processes run this code first."""
    folder.mkdir(exist_ok=True)
    (folder / "sitecustomize.py").write_text(code)
    path = os.pathsep.join([str(folder), *filter(None, [os.environ.get("PYTHONPATH")])])
    return {**os.environ, "PYTHONPATH": path}


# Makes workers die of files with "killer" in their names, and be slow with the others if SLOW says so.
KILLER = """
import os, signal, sys, time
if any(word in ("tonekit.batch._worker",) for word in sys.orig_argv):
    import tonekit.batch._work as work
    converted = work.Worker._converted
    def deadly(self, item):
        if "killer" in item.source:
            converted(self, item)  # with a result that is never put in place
            os.kill(os.getpid(), signal.SIGKILL)
        time.sleep(float(os.environ.get("SLOW", "0")))
        return converted(self, item)
    work.Worker._converted = deadly
"""
