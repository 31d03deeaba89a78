"""The work of one file: fetch it, convert it, place the result, and say what became of it."""

from __future__ import annotations

import errno
import hashlib
import os
import re
import time
from collections.abc import Iterable, Iterator
from itertools import chain
from typing import TYPE_CHECKING, Any, NamedTuple

from .. import _core
from .._options import OptionList
from ._storage import Storage, Store, blocks_of, protocol_of

if TYPE_CHECKING:
    from ._scratch import Scratch

_TOGETHER = 16  # results at most that are put in their places together
_TOGETHER_SECONDS = 0.05  # of work, after which no more are waited for
_SUFFIX = r"\.[A-Za-z0-9_]{1,15}\Z"


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


class _Converted(NamedTuple):
    """A file after its conversion."""

    item: Item
    outcome: Outcome
    complete: bool  # the result has to be put in its place


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
        self._converter: _core.FileConverter | None = None

    def do(self, item: Item) -> Outcome:
        """Does a file; see :meth:`work`."""
        [outcome] = self.outcomes([item])
        return outcome

    def outcomes(self, items: Iterable[Item]) -> list[Outcome]:
        """Does files and returns the outcome of each, in their order; see :meth:`work`."""
        return [outcome for outcomes in self.work(items) for outcome in outcomes]

    def work(self, items: Iterable[Item | None]) -> Iterator[list[Outcome]]:
        """Does files and yields their outcomes in their order, several at a time.

        Results on this machine are put in their places, for which the disk has to be waited for, while the next files are
        converted; those of short files together. A file that can't be done is an outcome with an error; only signals and
        exits are raised.

        :param items: the files. None says that the next may be long in coming: all outcomes until then are yielded first
        """
        waiting: list[_Converted] = []
        placing: list[_Converted] = []
        begun = 0.0
        try:
            for item in chain(items, [None]):
                if item is not None:
                    if not waiting:
                        begun = time.perf_counter()
                    waiting.append(self._converted(item))
                    if len(waiting) < _TOGETHER and time.perf_counter() - begun < _TOGETHER_SECONDS:
                        continue
                before = self._placed(placing)
                placing, waiting = self._begin_to_place(waiting), []
                if before:
                    yield before
                if item is None and placing:
                    before, placing = self._placed(placing), []
                    yield before
        finally:
            if waiting or placing:
                self._converter = None  # and what it was about to place

    def close(self) -> None:
        """Removes temporary files."""
        self._converter = None
        if self._scratch:
            self._scratch.close()
            self._scratch = None

    def _is_there(self, name: str, size: int, digest: str) -> bool:
        return self._target.size(name) == size and _digest(self._target.blocks(name)) == (size, digest)

    def _files(self) -> _core.FileConverter:
        # Reads files that options name, so what it raises is of the first file.
        self._converter = self._converter or _core.FileConverter(self._job.pairs)
        return self._converter

    def _converted(self, item: Item) -> _Converted:
        started = time.perf_counter()
        complete = False
        try:
            if item.expected and self._is_there(item.name, *item.expected):
                outcome: Outcome = {"state": "verified"}
            else:
                outcome = self._made(item)
                if self._target.local:
                    self._files().keep()
                    complete = True
        except MemoryError:
            outcome = failed(f"{item.source}: not enough memory")
        except Exception as error:
            outcome = failed(self._message(error, item))
        return _Converted(item, self._timed(outcome, time.perf_counter() - started), complete)

    def _begin_to_place(self, files: list[_Converted]) -> list[_Converted]:
        """Begins to put results in their places."""
        if any(file.complete for file in files):
            self._files().place()
        return files

    def _placed(self, files: list[_Converted]) -> list[Outcome]:
        """The outcomes of files whose results are being put in their places, when they are there."""
        placed = iter(self._files().placed() if any(file.complete for file in files) else ())
        outcomes = []
        for item, outcome, complete in files:
            if complete:
                more, error = next(placed)
                seconds = outcome["total_seconds"] + more
                outcome = self._timed(failed(self._message(_core.FileError(error), item)) if error else outcome, seconds)
            outcomes.append(outcome)
        return outcomes

    def _timed(self, outcome: Outcome, seconds: float) -> Outcome:
        outcome.update(worker=self._name, total_seconds=seconds, finished=int(time.time() * 1e6))
        return outcome

    def _made(self, item: Item) -> Outcome:
        """Converts a file. A result on this machine is complete then, one for elsewhere is there."""
        temporary: list[str] = []
        try:
            if protocol_of(item.source) == "file":
                source = item.source
            else:
                source = self._temporary("in", item.source, temporary)
                Store(item.source, self._job.storage).fetch("", source)
            if self._target.local:
                result = self._target.path(item.name)
                if os.path.isdir(result):
                    raise _core.FileError(f"{result}: there is a folder of that name")
                self._make_folder(os.path.dirname(result))
                return self._booked(source, result)
            result = self._temporary("out", item.name, temporary)
            outcome = self._booked(source, result)
            self._files().keep()
            self._files().place()
            [(_, error)] = self._files().placed()
            if error:
                raise _core.FileError(error)
            self._target.place(result, item.name)
            return outcome
        finally:
            for path in temporary:
                if os.path.exists(path):
                    os.unlink(path)

    def _booked(self, source: str, result: str) -> Outcome:
        """Converts a file as far as a complete result; returns the columns of its row."""
        outcome: Outcome = self._files().convert(source, result)
        try:
            size, digest = _digest(blocks_of(self._files().completed))
        except OSError as error:
            raise OSError(None, f"{result}: can't be read back: {error.strerror}") from None
        outcome.update(target_size=size, target_digest=digest)
        return outcome

    def _make_folder(self, folder: str) -> None:
        if folder not in self._folders:
            os.makedirs(folder, exist_ok=True)
            self._folders.add(folder)

    def _temporary(self, name: str, like: str, names: list[str]) -> str:
        if not self._scratch:
            from ._scratch import Scratch  # with what only files from elsewhere need

            self._scratch = Scratch()
        suffix = re.search(_SUFFIX, like)
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


def failed(error: str) -> Outcome:
    """The columns of a file that could not be converted."""
    return {"state": "failed", "error": error, "kind": kind_of(error), "finished": int(time.time() * 1e6)}


_NAMES = r"(\w+://|/)\S*"
_NUMBERS = r"\d+"


def kind_of(error: str) -> str:
    """What an error is about, without names and numbers, so that equal errors count together."""
    text = error.rpartition(": ")[2] if ": " in error else error
    text = re.sub(_NUMBERS, "N", re.sub(_NAMES, "...", text))
    return text[:100] or os.strerror(errno.EIO)
