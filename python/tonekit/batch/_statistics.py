"""What a run has done so far, in memory that doesn't grow with the number of files."""

from __future__ import annotations

import heapq
import time
from typing import Any

_BINS = 240
_KINDS = 200
_SLOWEST = 20
_OTHER = "other errors"


class Timeline:
    """Sums over equal spans of time, which grow longer as time goes on."""

    def __init__(self) -> None:
        self.width = 1.0  # seconds
        self.bins: list[list[float]] = []  # files, seconds of audio, failures

    def add(self, at: float, audio_seconds: float, bad: bool) -> None:
        """Adds a file that was done `at` seconds after the start."""
        while at >= self.width * _BINS:
            pairs = [self.bins[i : i + 2] for i in range(0, len(self.bins), 2)]
            self.bins = [[sum(column) for column in zip(*pair, strict=True)] for pair in pairs]
            self.width *= 2
        index = int(at / self.width)
        while len(self.bins) <= index:
            self.bins.append([0, 0.0, 0])
        row = self.bins[index]
        row[0] += 1
        row[1] += audio_seconds
        row[2] += bad


class Statistics:
    """Counts of a run; all times in seconds."""

    def __init__(self) -> None:
        self.started = time.time()
        self._clock = time.monotonic()
        self.files = 0  # inputs that were listed
        self.complete = False  # the list is
        self.total: tuple[int, int] | None = None  # files and bytes of all inputs, when they are known
        self.done = 0
        self.kept = 0  # done by an earlier run
        self.verified = 0  # of these, looked at and found right
        self.failed = 0
        self.failed_before = 0  # of these, not tried again
        self.repeated = 0  # named twice
        self.dithered = 0
        self.warnings = 0
        self.audio_seconds = 0.0
        self.bytes_in = 0  # of the files that have an outcome
        self.bytes_kept = 0  # of these, of files of which nothing had to be done
        self.bytes_out = 0
        self.errors: dict[str, int] = {}
        self.examples: dict[str, str] = {}
        self.sizes: dict[int, int] = {}  # files by the logarithm of their sizes to base 2
        self.slowest: list[tuple[float, str, float, int]] = []  # seconds, source, seconds of audio, bytes
        self.timeline = Timeline()

    @property
    def seconds(self) -> float:
        """Since the start."""
        return time.monotonic() - self._clock

    def keep(self, size: int, failed: bool = False) -> None:
        """Counts a file of which nothing has to be done."""
        self.bytes_in += size
        self.bytes_kept += size
        if failed:
            self.failed += 1
            self.failed_before += 1
        else:
            self.kept += 1

    def add(self, source: str, size: int, outcome: dict[str, Any]) -> None:
        """Counts an outcome."""
        state = outcome["state"]
        if state == "verified":
            self.keep(size)
            self.verified += 1
            return
        audio = outcome.get("audio_seconds") or 0.0
        self.bytes_in += size
        self.timeline.add(self.seconds, audio, state == "failed")
        self.sizes[size.bit_length()] = self.sizes.get(size.bit_length(), 0) + 1
        taken = outcome.get("total_seconds", 0.0)
        if len(self.slowest) < _SLOWEST or taken > self.slowest[0][0]:
            heapq.heappush(self.slowest, (taken, source, audio, size))
            if len(self.slowest) > _SLOWEST:
                heapq.heappop(self.slowest)
        self.warnings += len(outcome.get("warnings") or ())
        if state == "done":
            self.done += 1
            self.audio_seconds += audio
            self.bytes_out += outcome["target_size"]
            self.dithered += bool(outcome["dithered"])
            return
        self.failed += 1
        kind = outcome["kind"]
        if kind not in self.errors and len(self.errors) >= _KINDS:
            kind = _OTHER
        self.errors[kind] = self.errors.get(kind, 0) + 1
        self.examples.setdefault(kind, outcome["error"])

    def summary(self) -> dict[str, Any]:
        """All counts, as JSON has them."""
        seconds = self.seconds
        return {
            "ok": self.failed == 0 and self.complete,
            "complete": self.complete,
            "files": self.files,
            "done": self.done,
            "kept": self.kept,
            "verified": self.verified,
            "failed": self.failed,
            "failed_before": self.failed_before,
            "repeated": self.repeated,
            "dithered": self.dithered,
            "warnings": self.warnings,
            "audio_seconds": self.audio_seconds,
            "bytes_in": self.bytes_in,
            "bytes_out": self.bytes_out,
            "seconds": seconds,
            "speed": self.audio_seconds / seconds if seconds > 0 else 0.0,
            "errors": dict(sorted(self.errors.items(), key=lambda pair: -pair[1])),
            "examples": self.examples,
        }
