"""Measures tonekit beside other resamplers: speed in one interleaved run, quality, threads and memory, in one set of tables.

Speed is processor time, the median of interleaved rounds, as a ratio to python-soxr's at the same precision (above 1: faster).
Usage: compare.py [--rounds N] [--json FILE]
"""

from __future__ import annotations

import argparse
import json
import platform
import statistics
import subprocess
import sys
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import NamedTuple

import librosa
import numpy as np
import resampy
import samplerate
import scipy.signal
import soxr

import tonekit
from quality import QUALITY_HEADINGS, quality_of

sys.path.append(str(Path(__file__).parents[1] / "programs"))
from spent import processor


class Seconds(NamedTuple):
    wall: float
    processor: float


Resampler = Callable[[np.ndarray, int, int], np.ndarray]


def _poly(x: np.ndarray, a: int, b: int) -> np.ndarray:
    divisor = np.gcd(a, b)
    return scipy.signal.resample_poly(x, b // divisor, a // divisor)


RESAMPLERS: dict[str, Resampler] = {
    "tonekit": tonekit.resample,
    "python-soxr": lambda x, a, b: soxr.resample(x, a, b, "VHQ"),
    "samplerate": lambda x, a, b: samplerate.resample(x, b / a, "sinc_best"),
    "resampy": lambda x, a, b: resampy.resample(x, a, b, axis=0, filter="kaiser_best"),
    "scipy": _poly,
    "librosa": lambda x, a, b: librosa.resample(x, orig_sr=a, target_sr=b, axis=0, res_type="soxr_vhq"),
}
SLOW = {"samplerate", "resampy"}  # one round in four
LIMITS = {"60 s, 44.1 to 48": 0.95, "60 s, 44.1 to 16": 0.95, "1 s, 44.1 to 48": 0.8, "1 s, 44.1 to 16": 0.8, "10 ms blocks": 1.0}


def noise(seconds: float, rate: int = 44100) -> np.ndarray:
    return np.random.default_rng(1).uniform(-0.5, 0.5, (int(seconds * rate), 2)).astype(np.float32)


def blocks_of_tonekit(x: np.ndarray) -> None:
    converter = tonekit.Converter(44100, 48000, in_channels=2)
    for i in range(0, len(x), 441):
        converter.write(x[i : i + 441])
    converter.flush()


def blocks_of_soxr(x: np.ndarray) -> None:
    stream = soxr.ResampleStream(44100, 48000, 2, dtype="float32", quality="VHQ")
    for i in range(0, len(x), 441):
        stream.resample_chunk(x[i : i + 441], last=i + 441 >= len(x))


def tasks() -> dict[str, dict[str, Callable[[], object]]]:
    long, middle, clip = noise(60), noise(10), noise(1)
    result: dict[str, dict[str, Callable[[], object]]] = {}
    for target in (48000, 16000):
        kilo = target // 1000
        result[f"60 s, 44.1 to {kilo}"] = {
            name: (lambda r=r, t=target: r(long, 44100, t)) for name, r in RESAMPLERS.items()
        }
        result[f"1 s, 44.1 to {kilo}"] = {
            name: (lambda r=r, t=target: [r(clip, 44100, t) for _ in range(10)]) for name, r in RESAMPLERS.items()
        }
    result["10 ms blocks"] = {
        "tonekit": lambda: blocks_of_tonekit(middle),
        "python-soxr": lambda: blocks_of_soxr(middle),
    }
    return result


def processor_time(work: Callable[[], object]) -> float:
    start = time.process_time()
    work()
    return time.process_time() - start


def measure_speed(rounds: int) -> dict[str, dict[str, float]]:
    """Median processor time of each task and resampler, in seconds."""
    work = tasks()
    times: dict[str, dict[str, list[float]]] = {task: {name: [] for name in peers} for task, peers in work.items()}
    for number in range(-1, rounds):  # the first round warms up
        for task, peers in work.items():
            for name, call in peers.items():
                if name in SLOW and number % 4:
                    continue
                spent = processor_time(call)
                if number >= 0:
                    times[task][name].append(spent)
    return {task: {name: statistics.median(t) for name, t in peers.items()} for task, peers in times.items()}


def measure_threads() -> dict[int, Seconds]:
    """Best times of one, two and eight threads that resample the same 160 clips of five seconds, in five interleaved rounds.

    That is about a second of work. With a tenth of it the start of eight threads, and their end, when some have no clip
    left and others have one of 5 ms, are a tenth of what is measured. Results are dropped, as those of a data set are that
    are written to files. Processor time says what threads cost each other: eight results at a time don't fit into the
    caches that one does.
    """
    clips = [noise(5) for _ in range(16)] * 10

    def seconds(threads: int) -> Seconds:
        with ThreadPoolExecutor(threads) as pool:
            start = Seconds(time.perf_counter(), time.process_time())
            for _ in pool.map(lambda x: len(tonekit.resample(x, 44100, 48000)), clips):
                pass
            return Seconds(time.perf_counter() - start.wall, time.process_time() - start.processor)

    rounds = [{n: seconds(n) for n in (1, 2, 8)} for _ in range(5)]
    return {n: Seconds(min(r[n].wall for r in rounds), min(r[n].processor for r in rounds)) for n in rounds[0]}


_MEMORY = """
import resource, sys, numpy as np, tonekit
seconds, target = int(sys.argv[1]), int(sys.argv[2])
x = np.zeros((seconds * 44100, 2), np.float32); x[:] = 0.1
tonekit.resample(x[:1], 44100, target)
def status(key):
    with open("/proc/self/status") as f:
        return next(int(line.split()[1]) for line in f if line.startswith(key)) * 1024
before = status("VmRSS")
open("/proc/self/clear_refs", "w").write("5")
y = tonekit.resample(x, 44100, target)
print(status("VmHWM") - before - y.nbytes)
"""


def measure_memory(seconds: int, target: int) -> float:
    """MiB at the peak of a conversion beyond its input and output."""
    run = subprocess.run([sys.executable, "-c", _MEMORY, str(seconds), str(target)], capture_output=True, text=True, check=True)
    return int(run.stdout) / 2**20


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--json", help="write the figures to this file too")
    arguments = parser.parse_args()

    print(f"{processor()}, Python {platform.python_version()}, NumPy {np.__version__}\n")
    speed = measure_speed(arguments.rounds)
    quality = {name: quality_of(call) for name, call in RESAMPLERS.items()}
    failed = 0

    print("| | " + " | ".join(f"{task} | limit" if task in LIMITS else task for task in speed) + " |")
    print("|---" * (1 + sum(1 + (task in LIMITS) for task in speed)) + "|")
    for name in RESAMPLERS:
        cells = []
        for task, times in speed.items():
            ratio = times["python-soxr"] / times[name] if name in times else None
            cells.append("" if ratio is None else f"{ratio:.2f}")
            cells.append(f"{LIMITS[task]:.2f}" if name == "tonekit" else "")
            failed += name == "tonekit" and ratio is not None and ratio < LIMITS[task]
        print(f"| {name} | " + " | ".join(cells) + " |")
    print("\n| 44.1 to 48 | " + " | ".join(QUALITY_HEADINGS) + " |")
    print("|---" * (1 + len(QUALITY_HEADINGS)) + "|")
    for name, figures in quality.items():
        print(f"| {name} | " + " | ".join(figures) + " |")

    threads = measure_threads()
    two, eight = (threads[1].wall / threads[n].wall for n in (2, 8))
    print(f"\nthreads: 2 run {two:.2f} and 8 run {eight:.2f} times as fast as 1 (limit 1.80 on two cores)")
    two, eight = (threads[n].processor / threads[1].processor for n in (2, 8))
    print(f"threads: 2 take {two:.2f} and 8 take {eight:.2f} times the processor time of 1")
    memory = {target: measure_memory(60, target) for target in (48000, 16000)}
    for target, extra in memory.items():
        print(f"memory: 60 s, 44.1 to {target // 1000}: {extra:.1f} MiB beyond input and output (limit 4.0)")
        failed += extra > 4.0
    if arguments.json:
        with open(arguments.json, "w") as file:
            json.dump(
                {"processor": processor(), "seconds": speed, "quality": quality, "threads": threads,
                 "memory": memory}, file, indent=2)  # fmt: skip
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
