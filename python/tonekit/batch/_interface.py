"""The function that converts an archive."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any

from ._conversion import Conversion
from ._engine import Engine
from ._storage import Storage, Store
from ._work import Job

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from .._file_options import ArchiveOptions

ENGINES = ("local", "ray")
_MOST = {"local": 1024, "ray": 100_000}  # workers


def run(
    source: str | os.PathLike[str],
    target: str | os.PathLike[str],
    *,
    engine: str = "local",
    workers: int | None = None,
    address: str | None = None,
    manifest: str | os.PathLike[str] | None = None,
    column: str = "path",
    base: str | os.PathLike[str] | None = None,
    retry_failed: bool = False,
    verify: bool = False,
    progress: bool | None = None,
    storage: Storage | None = None,
    **options: Unpack[ArchiveOptions],
) -> dict[str, Any]:
    """Converts all audio files of a folder or a list.

    A file's result has its name below ``source``, with the extension of ``type``, below ``target``, where it appears whole or
    not at all. A source that is done isn't done again unless it changed (size and time, or etag), the options are others, or
    its result is gone from a folder of this machine. A file that can't be converted is a row of the manifest with its error,
    and so is one whose worker died three times with it.

    :param source: a folder, or a list: a ``.txt`` or ``.lst`` file with an address a line, or a ``.parquet`` file (or a folder of
        that name with such files). All may be paths of this machine or, but for such a folder, addresses that fsspec reads
        (``s3://``, ``gs://``, ``http://`` and more). Files of folders are taken as the program takes them: by extension, and
        without those that begin with a dot.
    :param target: a folder or an address to which fsspec writes
    :param engine: ``"local"``, worker processes on this machine, or ``"ray"``, a Ray cluster
    :param workers: files in work at a time; None means all processors
    :param address: of the Ray cluster, as ``ray.init`` takes it; None starts one, or uses the one of this process
    :param manifest: folder of the books: Parquet files with a row for each input; ``TARGET/tonekit-manifest`` if None
    :param column: with the addresses, of a ``.parquet`` source
    :param base: folder from which the results of a list are named. Without it, a relative address is named as it is, an
        absolute one by all of its path.
    :param retry_failed: does failed files again, too
    :param verify: reads the results of files that are done, and does those again whose bytes aren't those in the books
    :param progress: shows progress on the standard error stream; None: if that is a terminal
    :param storage: arguments of fsspec's file systems, by protocol: ``{"s3": {"endpoint_url": ...}}``
    :param options: as of :func:`tonekit.convert_file`, without those about names and what is there. ``hash`` is ``"sha256"``
        if not set. Files named in options are read on every machine.
    :return: the summary: ``ok``, ``complete``, ``files``, ``done``, ``kept`` (done before), ``verified``, ``failed``,
        ``failed_before`` (and not tried again), ``repeated`` (named twice), ``dithered``, ``warnings``, ``audio_seconds``,
        ``bytes_in``, ``bytes_out``, ``seconds``, ``speed``, ``errors`` (kinds and their numbers), ``examples`` (an error of
        each kind), ``manifest``, ``report``
    :raises ValueError, TypeError: where an argument doesn't make sense; FileNotFoundError: without the source; OSError: if the
        manifest can't be written; KeyboardInterrupt, after which the books hold all that was done

    Results are the same to the byte with any engine, number of workers and order, unless they are dithered: dither's noise is
    one sequence for a process and can't be set. The manifest says of each file whether it is (``dithered``).
    """
    if engine not in ENGINES:
        raise ValueError(f"engine must be one of: {', '.join(ENGINES)}, not {engine!r}")
    most = _MOST[engine]
    if workers is not None and (isinstance(workers, bool) or not isinstance(workers, int) or not 1 <= workers <= most):
        raise ValueError(f"workers must be a whole number from 1 to {most} with engine={engine!r}, not {workers!r}")
    if address is not None and engine != "ray":
        raise ValueError("address is of a Ray cluster: add engine='ray'")
    conversion = Conversion(options)
    job = Job(Store(target, storage).address, conversion.pairs, storage or {})
    workforce = _engine(engine, job, workers, address)
    try:
        # Its packages are imported while the workers start.
        from ._run import Run, wants_progress

        work = Run(
            source,
            target,
            conversion,
            manifest=manifest,
            column=column,
            base=base,
            retry_failed=retry_failed,
            verify=verify,
            storage=storage,
        )
        return work.run(workforce, engine, wants_progress(progress))
    finally:
        workforce.close()


def _engine(name: str, job: Job, workers: int | None, address: str | None) -> Engine:
    if name == "ray":
        from ._ray import RayEngine

        return RayEngine(job, workers, address)
    from ._local import LocalEngine

    return LocalEngine(job, workers)
