"""Which files go together to which worker, and what becomes of those whose worker died."""

from __future__ import annotations

import os.path
from collections import deque
from collections.abc import Callable, Iterator

from ._engine import Done, Engine
from ._work import Item, Outcome, failed

STRIKES = 3  # workers that a file may end
_FILES = 256  # of a group at most
_AHEAD = 20_000  # files that are known beforehand at most
_PAUSE = 0.2  # seconds until the progress is looked at again


class Schedule:
    """Passes files to an engine until all have an outcome.

    :param engine: the workers
    :param items: the files; None says that there is none at the moment
    :param finish: takes each file's outcome, once
    """

    def __init__(self, engine: Engine, items: Iterator[Item | None], finish: Callable[[Item, Outcome], None]) -> None:
        self._engine = engine
        self._items = items
        self._finish = finish
        self._known: deque[Item] = deque()
        self._alone: deque[Item] = deque()  # those that may have ended a worker
        self._strikes: dict[str, int] = {}
        self.left: set[str] = set()  # folders in which lost workers may have left something
        self._listed = False
        self._seconds = 0.0  # of work on the files done so far
        self._bytes = 0
        self._files = 0

    def run(self, tick: Callable[[], None]) -> None:
        """Does all files; calls `tick` several times a second."""
        while True:
            while self._engine.room():
                group = self._next_group()
                if not group:
                    break
                self._engine.submit(group)
            if self._engine.busy:
                # With more to list and room for it there is no time to wait.
                self._handle(0.0 if self._engine.room() and not self._listed else _PAUSE)
            elif self._listed and not self._known and not self._alone:
                return
            tick()

    def _handle(self, seconds: float) -> None:
        for event in self._engine.wait(seconds):
            if isinstance(event, Done):
                for item, outcome in zip(event.items, event.outcomes, strict=True):
                    self._strikes.pop(item.source, None)
                    self._seconds += outcome.get("total_seconds", 0.0)
                    self._bytes += item.size
                    self._files += 1
                    self._finish(item, outcome)
                continue
            self.left.update(os.path.dirname(item.name) for item in event.items)
            if event.culprit is None:
                self._alone.extend(event.items)
            else:
                for index, item in enumerate(event.items):
                    if index == event.culprit:
                        self._strike(item, event.reason)
                    else:
                        self._known.append(item)

    def _strike(self, item: Item, reason: str) -> None:
        strikes = self._strikes[item.source] = self._strikes.get(item.source, 0) + 1
        if strikes < STRIKES:
            self._alone.append(item._replace(attempts=item.attempts + 1))
            return
        del self._strikes[item.source]
        self._finish(item, failed(f"{item.source}: set aside after it ended {STRIKES} workers, the last with {reason}"))

    def _next_group(self) -> list[Item]:
        if self._alone:
            return [self._alone.popleft()]
        limit = self._files_of_a_group()
        self._list(min(_AHEAD, 2 * limit * self._engine.workers))
        if self._listed:
            # The last files are shared evenly.
            limit = min(limit, -(-len(self._known) // (2 * self._engine.workers)))
        group: list[Item] = []
        seconds = 0.0
        while self._known and len(group) < max(limit, 1):
            seconds += self._estimate(self._known[0])
            if group and seconds > self._engine.group_seconds:
                break
            group.append(self._known.popleft())
        return group

    def _list(self, count: int) -> None:
        while len(self._known) < count and not self._listed:
            try:
                item = next(self._items)
            except StopIteration:
                self._listed = True
                return
            if item is None:
                return
            self._known.append(item)

    def _files_of_a_group(self) -> int:
        if not self._files:
            return 1
        return max(1, min(_FILES, int(self._engine.group_seconds * self._files / max(self._seconds, 1e-9))))

    def _estimate(self, item: Item) -> float:
        """Seconds of work, from the size; a file that was not the first of its kind takes as long as others did."""
        if not self._files:
            return self._engine.group_seconds
        if not self._bytes:
            return self._seconds / self._files
        return self._seconds * item.size / self._bytes
