"""Measures the conversion of archives: what each engine costs beside the bare program, how it scales, and the driver alone.

Wall time and processor time of whole runs, start included, interleaved, as medians; ratios above 1 are faster than the bare
program. Usage: archives.py [--files N] [--rounds N] [--minutes N] [--entries N] [--json FILE]
"""

from __future__ import annotations

import argparse
import json
import os
import platform
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any

import numpy as np
import tonekit
from empty_archive import entries, simulated

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


def timed(command: list[str]) -> tuple[float, float]:
    """Wall and processor seconds of a command and all its processes."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    started = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wall = time.perf_counter() - started
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return wall, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def over_ray(source: Path, target: Path, workers: int, first: Path) -> tuple[float, float]:
    """Wall seconds of a run on a cluster that is there already; its processes are not this one's."""
    command = [sys.executable, "-P", "-c", OVER_RAY, str(source), str(target), str(workers), str(first)]
    output = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return float(output.split()[-1]), float("nan")


def interleaved(runs: dict[str, Callable[[Path], tuple[float, float]]], rounds: int, folder: Path) -> dict[str, Any]:
    times: dict[str, list[tuple[float, float]]] = {name: [] for name in runs}
    for _ in range(rounds):
        for name, run in runs.items():
            target = folder / "target"
            times[name].append(run(target))
            for path in folder.glob("target*"):
                shutil.rmtree(path)
    return {
        name: {"wall": statistics.median(t[0] for t in all_of_one), "cpu": statistics.median(t[1] for t in all_of_one)}
        for name, all_of_one in times.items()
    }


def engines(folder: Path, files: int, rounds: int) -> dict[str, Any]:
    """Short files through the bare program, the local engine, and Ray if it is installed."""
    source = make_files(folder / "short", files, 3.0)
    first = make_files(folder / "first", 4, 0.1)
    runs: dict[str, Callable[[Path], tuple[float, float]]] = {
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
        print(
            f"| {name} | {times['wall']:.2f} s | {bare['wall'] / times['wall']:.2f} | {times['cpu']:.2f} s |"
            f" {bare['cpu'] / times['cpu']:.2f} |"
        )
    return results


def scaling(folder: Path, files: int, rounds: int) -> dict[str, Any]:
    """Files of a minute with one worker and with two."""
    source = make_files(folder / "minutes", files, 60.0)

    def with_workers(count: int) -> Callable[[Path], tuple[float, float]]:
        return lambda target: timed([*BATCH, str(source), str(target), *OPTIONS, "-q", "--workers", str(count)])

    results = interleaved({"1 worker": with_workers(1), "2 workers": with_workers(2)}, rounds, folder)
    ratio = results["1 worker"]["wall"] / results["2 workers"]["wall"]
    print(f"\n{files} files of a minute: two workers are {ratio:.2f} times one")
    return results


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
    parser.add_argument("--minutes", type=int, default=24)
    parser.add_argument("--entries", type=int, default=1_000_000)
    parser.add_argument("--json")
    arguments = parser.parse_args()
    print(f"{platform.processor() or platform.machine()}, {os.cpu_count()} processors")
    results: dict[str, Any] = {}
    with tempfile.TemporaryDirectory(prefix="archives-") as name:
        folder = Path(name)
        if arguments.files:
            results["engines"] = engines(folder, arguments.files, arguments.rounds)
        if arguments.minutes:
            results["scaling"] = scaling(folder, arguments.minutes, arguments.rounds)
        if arguments.entries:
            results["driver"] = driver(folder, arguments.entries)
    if arguments.json:
        Path(arguments.json).write_text(json.dumps(results, indent=1))


if __name__ == "__main__":
    main()
