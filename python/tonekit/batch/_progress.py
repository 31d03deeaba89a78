"""What a person sees of a run: a bar on a terminal, a line now and then elsewhere."""

from __future__ import annotations

import os
import sys
import threading
import time
from collections.abc import Callable, Iterator
from typing import TextIO

from ._listing import Entry
from ._statistics import Statistics
from ._words import clock, length

_BAR = 24
_SHORTEST_BAR = 6
_COLUMNS = 80  # of a terminal that has no size
_BAR_SECONDS = 0.2
_LINE_SECONDS = 10.0


class Count:
    """Counts all inputs aside, so that the time that is left can be reported.

    :param lister: lists them
    """

    def __init__(self, lister: Callable[[], Iterator[Entry]], statistics: Statistics) -> None:
        self._lister = lister
        self._statistics = statistics
        self._ended = False
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self) -> None:
        files = size = 0
        try:
            for entry in self._lister():
                files += 1
                size += entry.size
                if self._ended:
                    return
        except Exception:  # the run itself meets it too
            return
        self._statistics.total = (files, size)

    def close(self) -> None:
        """Ends counting."""
        self._ended = True
        self._thread.join()


class Progress:
    """Shows a run's statistics.

    :param stream: where
    """

    def __init__(self, statistics: Statistics, stream: TextIO = sys.stderr) -> None:
        self._statistics = statistics
        self._stream = stream
        self._terminal = stream.isatty()
        self._due = time.monotonic() + (0.0 if self._terminal else _LINE_SECONDS)

    def tick(self) -> None:
        """Shows the state if it is time."""
        now = time.monotonic()
        if now < self._due:
            return
        self._due = now + (_BAR_SECONDS if self._terminal else _LINE_SECONDS)
        if self._terminal:
            self._write(f"\r{self.line(self._columns() - 1)}\x1b[K")
        else:
            self._write(self.line() + "\n")

    def close(self) -> None:
        """Clears the bar."""
        if self._terminal:
            self._write("\r\x1b[K")

    def line(self, columns: int | None = None) -> str:
        """The state in one line; in so many columns it begins with a bar, if there is room, and ends where there is none."""
        parts = self._parts()
        text = ", ".join(parts)
        share = self._share()
        if columns is None:
            return text
        room = min(_BAR, columns - len(text) - 3)
        if share is not None and room >= _SHORTEST_BAR:
            return f"[{'#' * int(share * room):{room}}] {text}"
        while len(parts) > 1 and len(text) > columns:
            parts.pop()
            text = ", ".join(parts)
        return text[:columns]

    def _parts(self) -> list[str]:
        """What there is to say, the most important first."""
        s = self._statistics
        seconds = max(s.seconds, 1e-9)
        finished = s.done + s.kept + s.failed + s.repeated
        parts = [f"{finished:,} files" if not s.total else f"{finished:,} of {s.total[0]:,} files"]
        parts.append(f"{length(s.audio_seconds)} of audio")
        parts.append(f"{s.audio_seconds / seconds:,.0f} times real time")
        if s.failed:
            parts.append(f"{s.failed:,} failed")
        if s.total and s.bytes_in > s.bytes_kept:
            left = max(0, s.total[1] - s.bytes_in) / (s.bytes_in - s.bytes_kept) * seconds
            parts.append(f"{clock(left)} left")
        return parts

    def _share(self) -> float | None:
        """The part that is done, by bytes, or by files if they have none."""
        s = self._statistics
        if not s.total:
            return None
        files, size = s.total
        part = s.bytes_in / size if size else (s.done + s.kept + s.failed) / max(files, 1)
        return min(part, 1.0)

    def _columns(self) -> int:
        """Those of the terminal that the stream is, which need not be that of the standard output."""
        try:
            return os.get_terminal_size(self._stream.fileno()).columns or _COLUMNS
        except OSError:
            return _COLUMNS

    def _write(self, text: str) -> None:
        try:
            self._stream.write(text)
            self._stream.flush()
        except OSError:
            pass  # the run goes on without anyone looking
