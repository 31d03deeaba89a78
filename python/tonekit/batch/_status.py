"""What a manifest says at this moment."""

from __future__ import annotations

import os
import time
from typing import Any

import pyarrow
import pyarrow.compute as compute

from ._books import Books
from ._shards import files_of
from ._states import PREFIX, states
from ._storage import Storage, Store
from ._words import clock, dither_note, errors_text, files, length, size

_COLUMNS = ["state", "kind", "error", "audio_seconds", "total_seconds", "size", "target_size", "dithered"]
_SILENT_SECONDS = 60.0


def status(manifest: str | os.PathLike[str], *, storage: Storage | None = None) -> dict[str, Any]:
    """Reads what a manifest says, be a run going on or not.

    :param manifest: its address: ``TARGET/tonekit-manifest`` unless the run was set to another; TARGET works, too
    :param storage: see :func:`tonekit.batch.run`
    :return: ``files``, ``done``, ``failed``, ``dithered``, ``audio_seconds``, ``work_seconds`` (of all workers), ``bytes_in``,
        ``bytes_out``, ``errors`` (kinds and their numbers), ``examples`` (an error of each kind), and ``runs``: the counts of
        runs that go on or were killed
    :raises FileNotFoundError: without a manifest there
    """
    books = Books(_store(manifest, storage))
    totals: dict[str, Any] = {
        "files": 0,
        "done": 0,
        "failed": 0,
        "dithered": 0,
        "audio_seconds": 0.0,
        "work_seconds": 0.0,
        "bytes_in": 0,
        "bytes_out": 0,
    }
    errors: dict[str, int] = {}
    examples: dict[str, str] = {}
    for batch in books.stable(_COLUMNS):
        _add(totals, errors, examples, batch)
    totals["errors"] = dict(sorted(errors.items(), key=lambda pair: -pair[1]))
    totals["examples"] = examples
    totals["runs"] = _runs(books.store)
    totals["manifest"] = books.store.address
    return totals


def _store(manifest: str | os.PathLike[str], storage: Storage | None) -> Store:
    from ._run import MANIFEST

    given = Store(manifest, storage)
    for store in (given, given.child(MANIFEST)):
        if files_of(store) or any(name.startswith(PREFIX) for name in store.names()):
            return store
    raise FileNotFoundError(2, "there is no manifest", given.address)


def _add(totals: dict[str, Any], errors: dict[str, int], examples: dict[str, str], batch: pyarrow.RecordBatch) -> None:
    done = batch.column("state").to_pylist().count("done")
    totals["files"] += batch.num_rows
    totals["done"] += done
    totals["failed"] += batch.num_rows - done
    for name, column in (
        ("dithered", "dithered"),
        ("audio_seconds", "audio_seconds"),
        ("work_seconds", "total_seconds"),
        ("bytes_in", "size"),
        ("bytes_out", "target_size"),
    ):
        totals[name] += compute.sum(batch.column(column)).as_py() or 0
    if done == batch.num_rows:
        return
    for kind, error in zip(batch.column("kind").to_pylist(), batch.column("error").to_pylist(), strict=True):
        if kind is not None:
            errors[kind] = errors.get(kind, 0) + 1
            examples.setdefault(kind, error)


def _runs(store: Store) -> list[dict[str, Any]]:
    runs = []
    for _, state in states(store):
        if not state["ended"]:
            state["silent"] = max(0.0, time.time() - state["updated"])
            runs.append(state)
    return runs


def text(state: dict[str, Any]) -> str:
    """The status in lines for people."""
    lines = [f"{files(state['files'])}: {state['done']:,} done, {state['failed']:,} failed"]
    work = state["work_seconds"]
    lines.append(f"{length(state['audio_seconds'])} of audio, {size(state['bytes_in'])} in, {size(state['bytes_out'])} out")
    if work > 0:
        rate = state["files"] / work
        lines.append(f"a worker did {rate:,.1f} files a second, {state['audio_seconds'] / work:,.0f} times real time")
    if state["dithered"]:
        lines.append(dither_note(state["dithered"]))
    lines.extend(errors_text(state["errors"], state["examples"]))
    for run in state["runs"]:
        lines.append(_run_text(run))
    return "\n".join(lines)


def _run_text(run: dict[str, Any]) -> str:
    finished = run["done"] + run["kept"] + run["failed"] + run["repeated"]
    total = f" of {run['total'][0]:,}" if run["total"] else ""
    rate = (run["done"] + run["failed"] - run["failed_before"]) / max(run["seconds"], 1e-9)
    line = f"run {run['run']} ({run['engine']}): {finished:,}{total} files in {clock(run['seconds'])}"
    line += f", {rate:,.1f} files a second, {run['speed']:,.0f} times real time"
    if run["silent"] > _SILENT_SECONDS:
        line += f"; nothing was heard of it for {clock(run['silent'])}"
    return line
