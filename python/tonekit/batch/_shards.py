"""Rows of a run that are not yet in the manifest.

What writes Parquet takes as long to import as workers take to convert hundreds of short files, so it is imported aside, once
they have work.
"""

from __future__ import annotations

import contextlib
import threading
import time
from collections.abc import Mapping
from typing import Any

from ._storage import Store

Row = Mapping[str, Any]

_PREFIXES = ("part-", "manifest-")
_SHARD_ROWS = 20_000
_SHARD_SECONDS = 5.0  # of finished work that a killed driver leaves out of the books at most
_SHARDS = 64  # shards of a run that are put together
_TOGETHER = 100_000  # rows that are in memory for it at most


def files_of(store: Store) -> list[str]:
    """The names of a manifest's Parquet files; others in its folder are their owner's."""
    return [name for name in store.names() if name.startswith(_PREFIXES) and name.endswith(".parquet")]


class Shards:
    """Rows of a run that are not yet in the books.

    :param store: where they go, the folder of a manifest
    :param run: name of the run, which no other has
    """

    def __init__(self, store: Store, run: str) -> None:
        self._store = store
        self._run = run
        self._rows: list[Row] = []
        self._names: list[str] = []  # shards since some were put together
        self._small = 0  # their rows
        self._count = 0
        self._due = time.monotonic() + _SHARD_SECONDS
        self._importing: threading.Thread | None = None
        self.found = bool(files_of(store))

    def add(self, row: Row) -> None:
        """Adds a row, which is in the books a few seconds later."""
        if not self._importing:
            self._importing = threading.Thread(target=_import_books)
            self._importing.start()
        self._rows.append(row)
        if len(self._rows) >= _SHARD_ROWS:
            self.flush()

    def tick(self) -> None:
        """Writes what has waited long enough."""
        if time.monotonic() >= self._due:
            self.flush()

    def flush(self) -> None:
        """Writes all rows."""
        self._due = time.monotonic() + _SHARD_SECONDS
        if not self._rows:
            return
        from ._books import encoded

        data = encoded(self._rows)
        self._small += len(self._rows)
        self._rows = []
        self._names.append(self._write(data))
        if self._small > _TOGETHER:
            self._names, self._small = [], 0
        elif len(self._names) >= _SHARDS:
            self._put_together()

    def close(self, merge: bool) -> None:
        """Writes all rows; with `merge` the manifest becomes one file."""
        self.flush()
        if self._importing:
            self._importing.join()
        if merge and len(files_of(self._store)) > 1:
            from ._books import Books

            others = [name for name in files_of(self._store) if self._run not in name]
            Books(self._store).merge(self._run, unique=not self.found and not others)

    def _write(self, data: bytes) -> str:
        name = f"part-{self._run}-{self._count:06}.parquet"
        self._count += 1
        self._store.write(data, name)
        return name

    def _put_together(self) -> None:
        """One shard out of many, so that a long run doesn't leave tens of thousands."""
        from ._books import joined

        names, self._names, self._small = self._names, [], 0
        try:
            data = joined(self._store, names)
        except FileNotFoundError:
            return  # another run has merged them
        self._write(data)
        for name in names:
            self._store.remove(name)


def _import_books() -> None:
    with contextlib.suppress(Exception):  # what is wrong is seen where it is needed
        from ._books import encoded

        encoded([])  # imports what pyarrow looks for at its first table
