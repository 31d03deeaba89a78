"""Measures the conversion of archives: what each engine costs beside the bare program, how it scales, and the driver alone.

Wall time and processor time of whole runs, start included, interleaved, as medians; ratios above 1 are faster than the bare
program. What a run left is removed, and the disk has ended its work, before the next one starts. Two workers are compared with
one on a set that takes less than a second, of which start and end are a good part, and on sets of ten and twenty times as many.
Usage: archives.py [--files N] [--rounds N] [--minutes N...] [--entries N] [--json FILE]
"""

from __future__ import annotations

import argparse
import json
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Iterable
from pathlib import Path
from typing import Any

import numpy as np
import tonekit
from empty_archive import entries, simulated

sys.path.append(str(Path(__file__).parents[1] / "programs"))
from spent import processor

Times = tuple[float, float | None]  # wall and processor seconds

OPTIONS = ["--rate", "16000", "--channels", "1", "--type", "flac", "--hash", "sha256"]
PROGRAM = str(Path(tonekit.__file__).parent / "_bin" / "tonekit-convert")
BATCH = [sys.executable, "-P", "-c", "from tonekit.batch._command import main; main()"]

# Whole in one process, so that what Ray itself takes to start is left out.
OVER_RAY = """
import sys, time, ray, tonekit.batch
ray.init(num_cpus=int(sys.argv[3]), log_to_driver=False, include_dashboard=False)
options = dict(rate=16000, channels=1, type="flac", hash="sha256")
tonekit.batch.run(sys.argv[4], sys.argv[2] + "-first", engine="ray", **options)
started = time.perf_counter()
tonekit.batch.run(sys.argv[1], sys.argv[2], engine="ray", **options)
print(time.perf_counter() - started)
"""


def make_files(folder: Path, count: int, seconds: float) -> Path:
    """Files of stereo noise and tones, no two of them equal."""
    folder.mkdir(parents=True)
    rng = np.random.default_rng(1)
    frames = int(44100 * seconds)
    noise = (rng.standard_normal((frames + count, 2)) * 3000).astype(np.int16)
    t = np.arange(frames)
    for i in range(count):
        tone = 8000 * np.sin(t * (0.01 + i * 1e-5))
        tonekit.write(folder / f"{i:06}.wav", (tone[:, None] + noise[i : i + frames]).astype(np.int16), 44100)
    return folder


def timed(command: list[str]) -> Times:
    """Wall and processor seconds of a command and all its processes."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    started = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wall = time.perf_counter() - started
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return wall, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def over_ray(source: Path, target: Path, workers: int, first: Path) -> Times:
    """Wall seconds of a run on a cluster that is there already; its processes are not this one's."""
    command = [sys.executable, "-P", "-c", OVER_RAY, str(source), str(target), str(workers), str(first)]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return float(output.split()[-1]), None


def interleaved(runs: dict[str, Callable[[Path], Times]], rounds: int, folder: Path) -> dict[str, Any]:
    times: dict[str, list[Times]] = {name: [] for name in runs}
    for _ in range(rounds):
        for name, run in runs.items():
            os.sync()
            times[name].append(run(folder / "target"))
            for path in folder.glob("target*"):
                shutil.rmtree(path)
    return {name: {"wall": _median(t[0] for t in of_one), "cpu": _median(t[1] for t in of_one)} for name, of_one in times.items()}


def _median(seconds: Iterable[float | None]) -> float | None:
    known = [one for one in seconds if one is not None]
    return statistics.median(known) if known else None


def engines(folder: Path, files: int, rounds: int) -> dict[str, Any]:
    """Short files through the bare program, the local engine, and Ray if it is installed."""
    source = make_files(folder / "short", files, 3.0)
    first = make_files(folder / "first", 4, 0.1)
    runs: dict[str, Callable[[Path], Times]] = {
        "tonekit-convert -j 2": lambda target: timed([PROGRAM, "-q", "-j", "2", *OPTIONS, str(source), str(target)]),
        "local, 2 workers": lambda target: timed([*BATCH, str(source), str(target), *OPTIONS, "-q", "--workers", "2"]),
    }
    try:
        import ray  # noqa: F401

        runs["ray, 2 processors"] = lambda target: over_ray(source, target, 2, first)
    except ImportError:
        print("Ray isn't installed, so its engine is left out.")
    results = interleaved(runs, rounds, folder)
    bare = results["tonekit-convert -j 2"]
    print(f"\n{files} files of 3 s to 16 kHz mono FLAC\n\n| | wall | ratio | processor time | ratio |\n|---|---|---|---|---|")
    for name, times in results.items():
        cells = [f"{times[kind]:.2f} s | {bare[kind] / times[kind]:.2f}" if times[kind] else " | " for kind in ("wall", "cpu")]
        print(f"| {name} | {' | '.join(cells)} |")
    return results


def scaling(folder: Path, counts: list[int], rounds: int) -> dict[str, Any]:
    """Sets of files of a minute, each with one worker and with two."""
    files = sorted(make_files(folder / "minutes", max(counts), 60.0).iterdir())
    results = {}
    for count in counts:
        source = folder / f"minutes-{count}"
        source.mkdir()
        for path in files[:count]:
            os.link(path, source / path.name)
        runs = {"1 worker": _with_workers(source, 1), "2 workers": _with_workers(source, 2)}
        results[f"{count} files"] = interleaved(runs, rounds, folder)
        one, two = results[f"{count} files"].values()
        print(
            f"\n{count} files of a minute: {one['wall']:.2f} s with one worker, {two['wall']:.2f} s with two,"
            f" which is {one['wall'] / two['wall']:.2f} times as fast"
        )
    return results


def _with_workers(source: Path, count: int) -> Callable[[Path], Times]:
    return lambda target: timed([*BATCH, str(source), str(target), *OPTIONS, "-q", "--workers", str(count)])


def driver(folder: Path, count: int) -> dict[str, Any]:
    """The driver with an empty conversion: files a second of its processor, and memory."""
    started = time.process_time()
    for _ in entries(count):
        pass
    naming = time.process_time() - started
    started = time.process_time()
    simulated(folder / "books", count)
    seconds = time.process_time() - started
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024
    print(f"\n{count} entries: {count / (seconds - naming):,.0f} files a second of the driver, {peak:.0f} MiB")
    return {"entries": count, "files_a_second": count / (seconds - naming), "memory_mib": peak}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--files", type=int, default=2000)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--minutes", type=int, nargs="*", default=[24, 240, 480], metavar="N", help="files of a minute in a set")
    parser.add_argument("--entries", type=int, default=1_000_000)
    parser.add_argument("--json")
    arguments = parser.parse_args()
    print(f"{processor()}, {os.cpu_count()} processors")
    results: dict[str, Any] = {"processor": processor()}
    with tempfile.TemporaryDirectory(prefix="archives-") as name:
        folder = Path(name)
        if arguments.files:
            results["engines"] = engines(folder, arguments.files, arguments.rounds)
        if any(arguments.minutes):
            results["scaling"] = scaling(folder, arguments.minutes, arguments.rounds)
        if arguments.entries:
            results["driver"] = driver(folder, arguments.entries)
    if arguments.json:
        Path(arguments.json).write_text(json.dumps(results, indent=1))


if __name__ == "__main__":
    main()
