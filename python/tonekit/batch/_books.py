"""The manifest: a folder of Parquet files with a row for each input, written while a run goes on."""

from __future__ import annotations

import errno
import io
import os
import time
from collections.abc import Iterator

import pyarrow
import pyarrow.parquet as parquet

from ._columns import column_of
from ._index import Index, Latest
from ._scratch import Scratch
from ._shards import Row, files_of
from ._storage import Store

SCHEMA = pyarrow.schema(
    [
        ("source", pyarrow.string()),
        ("size", pyarrow.int64()),
        ("stamp", pyarrow.string()),
        ("target", pyarrow.string()),
        ("state", pyarrow.string()),
        ("error", pyarrow.string()),
        ("kind", pyarrow.string()),
        ("in_type", pyarrow.string()),
        ("in_encoding", pyarrow.string()),
        ("in_rate", pyarrow.int32()),
        ("in_channels", pyarrow.int32()),
        ("in_format", pyarrow.string()),
        ("in_frames", pyarrow.int64()),
        ("out_type", pyarrow.string()),
        ("out_encoding", pyarrow.string()),
        ("out_rate", pyarrow.int32()),
        ("out_channels", pyarrow.int32()),
        ("out_format", pyarrow.string()),
        ("out_frames", pyarrow.int64()),
        ("audio_seconds", pyarrow.float64()),
        ("work_seconds", pyarrow.float64()),
        ("speed", pyarrow.float64()),
        ("total_seconds", pyarrow.float64()),
        ("gain", pyarrow.float64()),
        ("peak", pyarrow.float64()),
        ("digest", pyarrow.string()),
        ("dithered", pyarrow.bool_()),
        ("warnings", pyarrow.list_(pyarrow.string())),
        ("target_size", pyarrow.int64()),
        ("target_digest", pyarrow.string()),
        ("attempts", pyarrow.int32()),
        ("worker", pyarrow.string()),
        ("finished", pyarrow.timestamp("us", "UTC")),
        ("options", pyarrow.string()),
        ("run", pyarrow.string()),
    ]
)

_BATCH = 4096


class _Changed(Exception):
    """Another run has merged files that this one was reading."""


class Books:
    """The rows of a manifest.

    :param store: its folder, which need not be there
    """

    def __init__(self, store: Store) -> None:
        self.store = store

    def files(self) -> list[str]:
        """The names of its Parquet files."""
        return files_of(self.store)

    def current(self, columns: list[str] | None = None, files: list[str] | None = None) -> Iterator[pyarrow.RecordBatch]:
        """Reads the latest row of each source, in batches, in memory that doesn't grow with their number.

        May raise _Changed when rows were returned already; the other methods then begin again.
        """
        names = self.files() if files is None else files
        if len(names) < 2:
            # A merged file holds each source once.
            for name in names:
                for _, batch in self._batches(name, columns):
                    yield batch
            return
        scratch = Scratch()
        latest = Latest(scratch.file("latest"))
        try:
            for number, name in enumerate(names):
                for first, batch in self._batches(name, ["source", "finished"]):
                    times = batch.column("finished").cast(pyarrow.int64()).to_pylist()
                    rows = range(first, first + batch.num_rows)
                    latest.add(zip(batch.column("source").to_pylist(), times, [number] * batch.num_rows, rows, strict=True))
            latest.finish()
            for number, name in enumerate(names):
                for first, batch in self._batches(name, columns):
                    kept = latest.rows(number, first, batch.num_rows)
                    if len(kept) == batch.num_rows:
                        yield batch
                    elif kept:
                        yield batch.take(column_of([row - first for row in kept], pyarrow.int64()))
        finally:
            latest.close()
            scratch.close()

    def stable(self, columns: list[str]) -> Iterator[pyarrow.RecordBatch]:
        """Reads as :meth:`current` does, rows of one moment even while another run merges them."""
        scratch = Scratch()
        try:
            for _ in _attempts():
                path = scratch.file("rows")
                try:
                    with pyarrow.OSFile(path, "wb") as sink, pyarrow.ipc.new_file(sink, _part(columns)) as writer:
                        for batch in self.current(columns):
                            writer.write_batch(batch.select(columns))
                except _Changed:
                    continue
                break
            with pyarrow.OSFile(path, "rb") as source, pyarrow.ipc.open_file(source) as reader:
                for number in range(reader.num_record_batches):
                    yield reader.get_batch(number)
        finally:
            scratch.close()

    def load(self, index: Index) -> None:
        """Fills an index with what the books say."""
        columns = ["source", "size", "stamp", "options", "state", "attempts", "target", "target_size", "target_digest"]
        for _ in _attempts():
            try:
                for batch in self.current(columns):
                    lists = [batch.column(name).to_pylist() for name in columns]
                    lists[4] = [state == "done" for state in lists[4]]
                    index.book(zip(*lists, strict=True))
                return
            except _Changed:
                continue

    def merge(self, run: str, unique: bool) -> None:
        """Puts all files into one.

        :param run: name of the run, for the file's name
        :param unique: no source is in two rows, so that nothing has to be looked up
        """
        for _ in _attempts():
            names = self.files()
            if len(names) < 2:
                return
            try:
                merged = f"manifest-{run}-{os.urandom(3).hex()}.parquet"
                self._write_merged(merged, names, unique)
            except _Changed:
                continue
            for name in names:
                self.store.remove(name)
            return

    def _write_merged(self, merged: str, names: list[str], unique: bool) -> None:
        scratch = Scratch()
        try:
            path = scratch.file("merged")
            with parquet.ParquetWriter(path, SCHEMA, compression="zstd") as writer:
                _write_groups(writer, self._all(names) if unique else self.current(files=names))
            self.store.place(path, merged)
        finally:
            scratch.close()

    def _all(self, names: list[str]) -> Iterator[pyarrow.RecordBatch]:
        for name in names:
            for _, batch in self._batches(name, None):
                yield batch

    def _batches(self, name: str, columns: list[str] | None) -> Iterator[tuple[int, pyarrow.RecordBatch]]:
        """Batches of a file, each with the number of its first row."""
        first = 0
        try:
            with self.store.open(name) as stream:
                file = parquet.ParquetFile(stream)
                if missing := set(columns or SCHEMA.names) - set(file.schema_arrow.names):
                    raise pyarrow.ArrowInvalid(f"it has no column {min(missing)}")
                for batch in file.iter_batches(batch_size=_BATCH, columns=columns):
                    yield first, batch
                    first += batch.num_rows
        except FileNotFoundError:
            raise _Changed from None
        except (pyarrow.ArrowException, OSError) as error:
            address = f"{self.store.address}/{name}"
            words = f"is damaged, or no part of the manifest ({error}): without it, its files are done again"
            raise OSError(errno.EIO, words, address) from None


def encoded(rows: list[Row]) -> bytes:
    """The bytes of a Parquet file of these rows."""
    columns = (([row.get(name) for row in rows], kind) for name, kind in zip(SCHEMA.names, SCHEMA.types, strict=True))
    return _bytes_of(pyarrow.Table.from_arrays([column_of(*column) for column in columns], schema=SCHEMA))


def joined(store: Store, names: list[str]) -> bytes:
    """The bytes of a Parquet file of the rows of all these; raises FileNotFoundError if one is gone."""
    tables = []
    for name in names:
        with store.open(name) as stream:
            tables.append(parquet.read_table(stream, schema=SCHEMA))
    return _bytes_of(pyarrow.concat_tables(tables))


def _bytes_of(table: pyarrow.Table) -> bytes:
    data = io.BytesIO()
    parquet.write_table(table, data, compression="zstd")
    return data.getvalue()


def _write_groups(writer: parquet.ParquetWriter, batches: Iterator[pyarrow.RecordBatch]) -> None:
    waiting: list[pyarrow.RecordBatch] = []
    count = 0
    for batch in batches:
        waiting.append(batch)
        count += batch.num_rows
        if count >= 16 * _BATCH:
            writer.write_table(pyarrow.Table.from_batches(waiting, SCHEMA))
            waiting, count = [], 0
    if waiting:
        writer.write_table(pyarrow.Table.from_batches(waiting, SCHEMA))


def _part(columns: list[str]) -> pyarrow.Schema:
    return pyarrow.schema([SCHEMA.field(name) for name in columns])


def _attempts() -> Iterator[int]:
    """Numbers of attempts, after growing pauses; raises OSError when another run keeps changing the books."""
    for number in range(10):
        if number:
            time.sleep(0.2 * number)
        yield number
    raise OSError("the manifest keeps changing: is another run merging it?")
