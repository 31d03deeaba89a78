"""The work of one file: fetch it, convert it, place the result, and say what became of it."""

from __future__ import annotations

import errno
import hashlib
import json
import os
import re
import time
from collections.abc import Iterable
from typing import Any, NamedTuple

from .. import _core
from .._options import OptionList
from ._scratch import Scratch
from ._storage import Storage, Store, blocks_of, protocol_of

_SUFFIX = re.compile(r"\.\w{1,15}\Z", re.ASCII)


class Item(NamedTuple):
    """A file to do."""

    source: str
    name: str  # of the result, in the folder of results
    size: int
    stamp: str
    attempts: int  # before this one
    expected: tuple[int, str] | None = None  # size and digest of a result that may be there, and then is kept


class Job(NamedTuple):
    """What workers have to know once."""

    target: str
    pairs: OptionList
    storage: Storage


Outcome = dict[str, Any]  # columns of a row of the books


class Worker:
    """Does files, one after another.

    :param job: what is to be done
    :param name: of this worker, for the books
    """

    def __init__(self, job: Job, name: str) -> None:
        self._job = job
        self._name = name
        self._target = Store(job.target, job.storage)
        self._folders: set[str] = set()
        self._scratch: Scratch | None = None

    def do(self, item: Item) -> Outcome:
        """Does a file. A file that can't be done is an outcome with an error; only signals and exits are raised."""
        started = time.perf_counter()
        try:
            if item.expected and self._is_there(item.name, *item.expected):
                return {"state": "verified"}
            outcome = self._made(item)
        except MemoryError:
            outcome = failed(f"{item.source}: not enough memory")
        except Exception as error:
            outcome = failed(self._message(error, item))
        outcome["worker"] = self._name
        outcome["total_seconds"] = time.perf_counter() - started
        outcome["finished"] = int(time.time() * 1e6)
        return outcome

    def close(self) -> None:
        """Removes temporary files."""
        if self._scratch:
            self._scratch.close()
            self._scratch = None

    def _is_there(self, name: str, size: int, digest: str) -> bool:
        return self._target.size(name) == size and _digest(self._target.blocks(name)) == (size, digest)

    def _made(self, item: Item) -> Outcome:
        temporary: list[str] = []
        try:
            if protocol_of(item.source) == "file":
                source = item.source
            else:
                source = self._temporary("in", item.source, temporary)
                Store(item.source, self._job.storage).fetch("", source)
            if self._target.local:
                result = self._target.path(item.name)
                self._make_folder(os.path.dirname(result))
            else:
                result = self._temporary("out", item.name, temporary)
            report = json.loads(_core.convert_file(source, result, self._job.pairs, None))["files"][0]
            outcome = done(report)
            outcome["target_size"], outcome["target_digest"] = _digest(blocks_of(result))
            if not self._target.local:
                self._target.place(result, item.name)
            return outcome
        finally:
            for path in temporary:
                if os.path.exists(path):
                    os.unlink(path)

    def _make_folder(self, folder: str) -> None:
        if folder not in self._folders:
            os.makedirs(folder, exist_ok=True)
            self._folders.add(folder)

    def _temporary(self, name: str, like: str, names: list[str]) -> str:
        self._scratch = self._scratch or Scratch()
        suffix = _SUFFIX.search(like)
        names.append(self._scratch.file(name + (suffix.group() if suffix else "")))
        return names[-1]

    def _message(self, error: Exception, item: Item) -> str:
        """One line that names the source or the target, and no temporary file."""
        target = f"{self._target.address}/{item.name}"
        text = getattr(error, "strerror", None) or str(error) or type(error).__name__
        if isinstance(error, _core.FileError):
            text = str(error)
        if self._scratch:
            for name, address in (("in", item.source), ("out", target)):
                temporary = re.escape(self._scratch.file(name)) + r"(\.\w+)?"
                text = address.join(re.split(temporary.replace("(", "(?:"), text))
        text = " ".join(text.split())
        return text if item.source in text or target in text else f"{item.source}: {text}"


def _digest(blocks: Iterable[bytes]) -> tuple[int, str]:
    """Size and digest of a file's bytes."""
    digest = hashlib.sha256()
    size = 0
    for block in blocks:
        digest.update(block)
        size += len(block)
    return size, digest.hexdigest()


def done(report: dict[str, Any]) -> Outcome:
    """The columns of a file that was converted, from the program's report."""
    outcome: Outcome = {"state": "done", "dithered": report["dither"], "warnings": report["warnings"]}
    for side, stream in (("in", report["input"]), ("out", report["output"])):
        for key in ("type", "encoding", "rate", "channels", "format", "frames"):
            outcome[f"{side}_{key}"] = stream[key]
    outcome["audio_seconds"] = report["input"]["seconds"]
    outcome["work_seconds"] = report["seconds"]
    outcome["speed"] = report["speed"]
    if report["replaygain"]:
        outcome["gain"] = report["replaygain"]["gain"]
        outcome["peak"] = report["replaygain"]["peak"]
    outcome["digest"] = report["hash"] and report["hash"]["digest"]
    return outcome


def failed(error: str) -> Outcome:
    """The columns of a file that could not be converted."""
    return {"state": "failed", "error": error, "kind": kind_of(error), "finished": int(time.time() * 1e6)}


_NAMES = re.compile(r"(\w+://|/)\S*")
_NUMBERS = re.compile(r"\d+")


def kind_of(error: str) -> str:
    """What an error is about, without names and numbers, so that equal errors count together."""
    text = error.rpartition(": ")[2] if ": " in error else error
    text = _NUMBERS.sub("N", _NAMES.sub("...", text))
    return text[:100] or os.strerror(errno.EIO)
