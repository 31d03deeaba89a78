"""Conversion as a step of a Ray Data program. Needs ``pip install 'tonekit[ray]'``."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any

import pyarrow

from .batch._books import SCHEMA
from .batch._columns import column_of
from .batch._conversion import Conversion
from .batch._listing import facts
from .batch._ray import worker_for
from .batch._storage import Storage, Store, plain_address
from .batch._work import Item, Job, failed

if TYPE_CHECKING:
    import ray.data
    from typing_extensions import Unpack

    from ._file_options import ArchiveOptions

__all__ = ["convert"]

_OF_RUNS = ("attempts", "options", "run")  # columns that only books fill


def convert(
    dataset: ray.data.Dataset,
    target: str | os.PathLike[str],
    *,
    column: str = "path",
    base: str | os.PathLike[str] | None = None,
    batch_size: int = 16,
    storage: Storage | None = None,
    **options: Unpack[ArchiveOptions],
) -> ray.data.Dataset:
    """Converts the files that a dataset names, when the dataset is executed.

    :param dataset: with a column of addresses: absolute paths, or what fsspec reads
    :param target: folder of the results, a path that all nodes share or an address to which fsspec writes
    :param column: with the addresses
    :param base: folder from which the results are named; without it, by the whole of their addresses
    :param batch_size: files of a task
    :param storage: see :func:`tonekit.batch.run`
    :param options: those of :func:`tonekit.batch.run`
    :return: the dataset with the columns of a manifest added (``source``, ``target``, ``state``, ``error``, ``digest`` and
        more; :func:`tonekit.batch.run` has them all). A file that can't be converted is a row with its error.
    :raises ValueError, TypeError: where an argument doesn't make sense

    Results appear whole or not at all, and are the same to the byte as those of :func:`tonekit.batch.run`. Books and what is
    done again are the program's own: Ray may do a task twice, which is harmless. No two addresses may have one result.

    >>> import ray, tonekit.ray  # doctest: +SKIP
    >>> files = ray.data.read_parquet("s3://bucket/files.parquet")  # doctest: +SKIP
    >>> rows = tonekit.ray.convert(files, "s3://bucket/16k", rate=16000, channels=1, type="flac")  # doctest: +SKIP
    >>> rows.write_parquet("s3://bucket/16k-rows")  # doctest: +SKIP
    """
    conversion = Conversion(options, "convert")
    store = Store(target, storage)
    store.require_writable()
    job = Job(store.address, conversion.pairs, storage or {})
    folder = None if base is None else plain_address(base)

    def work(table: pyarrow.Table) -> pyarrow.Table:
        rows = [_row(address, job, conversion, folder) for address in table.column(column).to_pylist()]
        for field in SCHEMA:
            if field.name in table.column_names:
                raise ValueError(f"the dataset has a column {field.name} already")
            if field.name not in _OF_RUNS:
                table = table.append_column(field, column_of([row.get(field.name) for row in rows], field.type))
        return table

    return dataset.map_batches(work, batch_format="pyarrow", batch_size=batch_size)


def _row(address: str, job: Job, conversion: Conversion, base: str | None) -> dict[str, Any]:
    entry = facts(address, "/", base, job.storage)
    name = conversion.output_name(entry.name)
    if entry.error is not None:
        outcome = failed(entry.error)
    else:
        outcome = worker_for(job).do(Item(entry.source, name, entry.size, entry.stamp, 0))
    place = {"source": entry.source, "size": entry.size, "stamp": entry.stamp, "target": f"{job.target}/{name}"}
    return {**place, **outcome}
