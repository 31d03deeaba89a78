"""What a run has to know of all files at once, on disk, so that memory doesn't grow with their number."""

from __future__ import annotations

import sqlite3
from collections.abc import Iterable
from typing import NamedTuple


class Booked(NamedTuple):
    """What the books say of a source."""

    size: int
    stamp: str
    options: str
    done: int
    attempts: int
    name: str
    target_size: int | None
    target_digest: str | None


class Index:
    """The sources that books hold, and the names of results that are taken.

    :param path: of a file to make; it lives as long as the run
    """

    def __init__(self, path: str) -> None:
        self._db = sqlite3.connect(path, isolation_level=None, check_same_thread=False)
        # What is lost with the process is made anew from the books.
        for setting in ("journal_mode=OFF", "synchronous=OFF", "locking_mode=EXCLUSIVE", "cache_size=-32768"):
            self._db.execute(f"PRAGMA {setting}")
        self._db.execute(
            "CREATE TABLE booked (source TEXT PRIMARY KEY, size INT, stamp TEXT, options TEXT, done INT, attempts INT,"
            " name TEXT, target_size INT, target_digest TEXT) WITHOUT ROWID"
        )
        self._db.execute("CREATE TABLE taken (name TEXT PRIMARY KEY, source TEXT) WITHOUT ROWID")
        self._db.execute("BEGIN")
        self.empty = True

    def book(self, rows: Iterable[tuple[object, ...]]) -> None:
        """Adds rows of a source and the fields of :class:`Booked`."""
        self._db.executemany("INSERT OR REPLACE INTO booked VALUES (?,?,?,?,?,?,?,?,?)", rows)
        self.empty = False

    def look(self, source: str) -> Booked | None:
        """What the books say of a source."""
        if self.empty:
            return None
        row = self._db.execute(
            "SELECT size, stamp, options, done, attempts, name, target_size, target_digest FROM booked WHERE source=?",
            (source,),
        ).fetchone()
        return Booked._make(row) if row else None

    def take(self, name: str, source: str) -> str | None:
        """Reserves the name of a result for a source. Returns the source that has it already."""
        if self._db.execute("INSERT OR IGNORE INTO taken VALUES (?,?)", (name, source)).rowcount:
            return None
        holder: str = self._db.execute("SELECT source FROM taken WHERE name=?", (name,)).fetchone()[0]
        return holder

    def close(self) -> None:
        """Closes the file."""
        self._db.close()


class Latest:
    """The latest row of each source among the rows of many files.

    :param path: of a file to make
    """

    def __init__(self, path: str) -> None:
        self._db = sqlite3.connect(path, isolation_level=None)
        for setting in ("journal_mode=OFF", "synchronous=OFF", "locking_mode=EXCLUSIVE", "cache_size=-32768"):
            self._db.execute(f"PRAGMA {setting}")
        self._db.execute("CREATE TABLE latest (source TEXT PRIMARY KEY, time INT, file INT, row INT) WITHOUT ROWID")
        self._db.execute("BEGIN")

    def add(self, rows: Iterable[tuple[str, int, int, int]]) -> None:
        """Adds rows: source, time, number of the file, number of the row in it."""
        self._db.executemany(
            "INSERT INTO latest VALUES (?,?,?,?) ON CONFLICT(source) DO UPDATE SET time=excluded.time, file=excluded.file,"
            " row=excluded.row WHERE excluded.time >= time",
            rows,
        )

    def finish(self) -> None:
        """Ends adding."""
        self._db.execute("CREATE INDEX place ON latest (file, row)")

    def rows(self, file: int, first: int, count: int) -> list[int]:
        """Those of `count` rows from `first` on that are the latest of their sources."""
        found = self._db.execute(
            "SELECT row FROM latest WHERE file=? AND row>=? AND row<? ORDER BY row", (file, first, first + count)
        )
        return [row for (row,) in found]

    def close(self) -> None:
        """Closes the file."""
        self._db.close()
