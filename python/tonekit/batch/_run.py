"""A run: from the list of inputs to the finished books."""

from __future__ import annotations

import json
import os
import sys
import time
from collections.abc import Iterator
from typing import Any

from . import _listing, _report
from ._conversion import Conversion
from ._engine import Engine
from ._index import Booked, Index
from ._listing import Entry
from ._progress import Count, Progress
from ._schedule import Schedule
from ._scratch import Scratch
from ._shards import Shards, files_of
from ._states import PREFIX, states
from ._statistics import Statistics
from ._storage import Storage, Store, plain_address
from ._work import Item, Outcome, failed

MANIFEST = "tonekit-manifest"  # in the target
_STATE_SECONDS = 5.0
_OLD_SECONDS = 24 * 3600.0  # after which the state of a run that says nothing is removed
_SILENCE = 0.2  # seconds of listing without a file to do, after which the rest gets its turn


class Run:
    """One run over all inputs; see :func:`tonekit.batch.run` for the arguments."""

    def __init__(
        self,
        source: str | os.PathLike[str],
        target: str | os.PathLike[str],
        conversion: Conversion,
        *,
        manifest: str | os.PathLike[str] | None,
        column: str,
        base: str | os.PathLike[str] | None,
        retry_failed: bool,
        verify: bool,
        storage: Storage | None,
    ) -> None:
        self.source = plain_address(source)
        if base is not None and not _listing.is_list(self.source):
            raise ValueError(f"base is for lists, and {self.source} is a folder")
        self.target = Store(target, storage)
        self.target.require_writable()
        self._check_places()
        self.conversion = conversion
        self.manifest = Store(manifest, storage) if manifest is not None else self.target.child(MANIFEST)
        self.manifest.require_writable()
        self.statistics = Statistics()
        self.name = f"{int(time.time())}-{os.urandom(4).hex()}"
        self._column = column
        self._base = plain_address(base) if base is not None else None
        self._retry_failed = retry_failed
        self._verify = verify
        self._storage = storage
        self._state_due = 0.0
        self._engine_name = ""

    def run(self, engine: Engine, name: str, show: bool) -> dict[str, Any]:
        """Does everything with the workers of an engine, which is the caller's to close, and returns the summary."""
        self._engine_name = name
        listing = self._look_at_source()
        scratch = Scratch()
        progress = Progress(self.statistics) if show else None
        count = Count(self.entries, self.statistics) if show else None
        try:
            self._index = Index(scratch.file("index"))
            self._load()
            self._shards = Shards(self.manifest, self.name)
            ended = False
            try:
                schedule = Schedule(engine, self._items(listing), self._finish)
                schedule.run(lambda: self._tick(progress))
                engine.dismiss()
                for folder in schedule.left:
                    self.target.remove_abandoned(folder)
                ended = True
            finally:
                self._shards.close(merge=ended)
                self._write_state(ended=ended)
        finally:
            if count:
                count.close()
            if progress:
                progress.close()
            self._index.close()
            scratch.close()
        return self._end()

    def entries(self) -> Iterator[Entry]:
        """Lists the inputs."""
        return _listing.entries(self.source, self.target.address, self._column, self._base, self._storage)

    def _load(self) -> None:
        """Fills the index with what the books say."""
        if files_of(self.manifest):
            from ._books import Books

            Books(self.manifest).load(self._index)

    def _check_places(self) -> None:
        if _listing.is_list(self.source):
            return
        if (self.source + "/").startswith(self.target.address + "/"):
            raise ValueError(f"the target {self.target.address} must not be the source or hold it")

    def _look_at_source(self) -> Iterator[Entry]:
        """The listing, after its first entry was read: a source that isn't there is wrong usage."""
        listing = self.entries()
        first = next(listing, None)

        def all_entries() -> Iterator[Entry]:
            if first is not None:
                yield first
                yield from listing

        return all_entries()

    def _items(self, listing: Iterator[Entry]) -> Iterator[Item | None]:
        """The files that have to be done; None now and then while there are only others."""
        due = time.monotonic() + _SILENCE
        for entry in listing:
            item = self._item(entry)
            now = time.monotonic()
            if item is not None or now >= due:
                due = now + _SILENCE
                yield item
        self.statistics.complete = True

    def _item(self, entry: Entry) -> Item | None:
        self.statistics.files += 1
        name = self.conversion.output_name(entry.name)
        item = Item(entry.source, name, entry.size, entry.stamp, 0)
        if entry.error is not None:
            self._finish(item, failed(entry.error))
            return None
        holder = self._index.take(name, entry.source)
        if holder == entry.source:
            self.statistics.repeated += 1
            return None
        if holder is not None:
            self._finish(item, failed(f"{entry.source}: the name of its result is taken by {holder}"))
            return None
        booked = self._index.look(entry.source)
        if booked is None or not self._same(booked, item):
            return item
        item = item._replace(attempts=booked.attempts)
        if not booked.done:
            if self._retry_failed:
                return item
            self.statistics.keep(entry.size, failed=True)
            return None
        if self._verify and booked.target_size is not None and booked.target_digest is not None:
            return item._replace(expected=(booked.target_size, booked.target_digest))
        if self.target.local and not os.path.isfile(self.target.path(name)):
            return item
        self.statistics.keep(entry.size)
        return None

    def _same(self, booked: Booked, item: Item) -> bool:
        return (booked.size, booked.stamp, booked.options, booked.name) == (
            item.size,
            item.stamp,
            self.conversion.id,
            self._address(item.name),
        )

    def _address(self, name: str) -> str:
        return f"{self.target.address}/{name}"

    def _finish(self, item: Item, outcome: Outcome) -> None:
        self.statistics.add(item.source, item.size, outcome)
        if outcome["state"] == "verified":
            return
        outcome.update(
            source=item.source,
            size=item.size,
            stamp=item.stamp,
            target=self._address(item.name),
            attempts=item.attempts + 1,
            options=self.conversion.id,
            run=self.name,
        )
        self._shards.add(outcome)

    def _tick(self, progress: Progress | None) -> None:
        self._shards.tick()
        if time.monotonic() >= self._state_due:
            self._write_state()
        if progress:
            progress.tick()

    # What status shows of runs that go on

    def _write_state(self, ended: bool = False) -> None:
        self._state_due = time.monotonic() + _STATE_SECONDS
        state = {
            "run": self.name,
            "source": self.source,
            "target": self.target.address,
            "engine": self._engine_name,
            "started": self.statistics.started,
            "updated": time.time(),
            "ended": ended,
            "total": self.statistics.total,
            **self.statistics.summary(),
        }
        self._write_json(f"{PREFIX}{self.name}.json", state)

    def _write_json(self, name: str, value: object) -> None:
        self.manifest.write(json.dumps(value, indent=1, ensure_ascii=False).encode(), name)

    def _end(self) -> dict[str, Any]:
        summary = self.statistics.summary()
        summary["manifest"] = self.manifest.address
        summary["report"] = f"{self.manifest.address}/_report.html"
        self._write_json("_summary.json", summary)
        page = _report.page(self.statistics, self.source, self.target.address, self._engine_name)
        self.manifest.write(page.encode(), "_report.html")
        self._remove_states()
        return summary

    def _remove_states(self) -> None:
        """Removes the states of this run and of those that ended or died."""
        self.manifest.remove_left_behind()
        for name, state in states(self.manifest):
            if state["ended"] or time.time() - state["updated"] > _OLD_SECONDS:
                self.manifest.remove(name)


def wants_progress(show: bool | None) -> bool:
    """Whether progress is shown where the caller doesn't say: on a terminal."""
    if sys.stderr is None:
        return False
    return sys.stderr.isatty() if show is None else show
