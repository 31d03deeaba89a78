"""Files by address: on this machine directly, elsewhere through fsspec; written whole or not at all."""

from __future__ import annotations

import contextlib
import errno
import fcntl
import os
import re
import time
from collections.abc import Callable, Iterable, Iterator, Mapping
from io import FileIO
from typing import Any, BinaryIO, TypeVar

Storage = Mapping[str, Mapping[str, Any]]
Result = TypeVar("Result")

_PAUSES = (0.1, 0.5, 2.0, 5.0)  # seconds between attempts
# What another attempt doesn't change.
_FINAL = (
    FileNotFoundError,
    PermissionError,
    IsADirectoryError,
    NotADirectoryError,
    ValueError,
    TypeError,
    AttributeError,
    NotImplementedError,
)
_ABSENT = (404, 410)  # answers of HTTP
_FINAL_ANSWERS = (400, 401, 403, 404, 405, 410)
_NO_ROOM = (errno.ENOSPC, errno.EDQUOT)
# An upload of these shows nothing before it is complete.
_WHOLE_UPLOADS = frozenset({"s3", "s3a", "gs", "gcs", "abfs", "az", "memory"})
_READ_ONLY = frozenset({"http", "https"})
_BLOCK = 1 << 20
_TEMPORARY = ".tonekit-"  # begins the names of files that aren't complete
# What conversions write results to, which they hold locked; not what this module writes.
_RESULT = r"\.tonekit-[a-z0-9]{8}(?!\.tmp$)(\..*)?"
_OLD_SECONDS = 3600.0  # after which one that nobody wrote to was left by a killed process
_LOCKED_SECONDS = 1.0  # after which one that is in work is locked, where the file system has locks


def patiently(work: Callable[[], Result]) -> Result:
    """Returns what `work` returns, in up to five attempts: stores answer with errors now and then."""
    for pause in _PAUSES:
        try:
            return work()
        except Exception as error:
            cause = _cause(error)
            final = isinstance(cause, _FINAL) or getattr(cause, "status", 500) in _FINAL_ANSWERS
            if final or (isinstance(cause, OSError) and cause.errno in _NO_ROOM):
                raise cause from None
        time.sleep(pause)
    try:
        return work()
    except Exception as error:
        raise _cause(error) from None


def _cause(error: Exception) -> Exception:
    """What has happened: fsspec says of whatever goes wrong with a server of HTTP that there is no such file."""
    cause = error.__cause__
    if not isinstance(error, FileNotFoundError) or not isinstance(cause, Exception):
        return error
    unanswered = isinstance(cause, OSError) and not isinstance(cause, FileNotFoundError)
    return cause if unanswered or getattr(cause, "status", 404) not in _ABSENT else error


def protocol_of(address: str) -> str:
    """The part of an address before ``://``; ``file`` without one."""
    head, separator, _ = address.partition("://")
    return head if separator and head.isidentifier() else "file"


def plain_address(address: str | os.PathLike[str]) -> str:
    """One form for an address: an absolute path on this machine, ``protocol://...`` elsewhere, without a slash at the end."""
    text = os.fspath(address)
    if not isinstance(text, str):
        raise TypeError(f"an address must be a text or a path, not {address!r}")
    if not text or "\0" in text:
        raise ValueError(f"an address must not be empty or hold a null character: {text!r}")
    if any("\ud800" <= character <= "\udfff" for character in text):
        raise ValueError(f"an address must be in UTF-8, not {text!r}")
    if protocol_of(text) == "file":
        return os.path.abspath(text.removeprefix("file://"))
    if not text.partition("://")[2].strip("/"):
        raise ValueError(f"an address must name something after ://, not {text!r}")
    return text.rstrip("/")


class Store:
    """A folder, or what is like one elsewhere, and the files in it.

    :param address: see :func:`plain_address`
    :param storage: arguments of fsspec's file systems by protocol
    :raises ValueError: if no package reads such addresses
    """

    def __init__(self, address: str | os.PathLike[str], storage: Storage | None = None) -> None:
        self.address = plain_address(address)
        self.protocol = protocol_of(self.address)
        self.local = self.protocol == "file"
        self.fs: Any = None
        self.root = self.address
        if not self.local:
            try:
                import fsspec
            except ImportError:
                raise ValueError(f"{self.address} needs fsspec: pip install 'tonekit[batch]'") from None
            options = dict((storage or {}).get(self.protocol, {}))
            try:
                # Its lists would keep all names in memory.
                self.fs, self.root = fsspec.core.url_to_fs(self.address, use_listings_cache=False, **options)
            except ImportError as error:
                raise ValueError(f"{self.address} can't be reached: {error}") from None
            except ValueError as error:
                if self.protocol in fsspec.available_protocols():
                    raise ValueError(f"{self.address}: {error}") from None
                raise ValueError(f"{self.address}: there is no file system for {self.protocol}") from None

    def require_writable(self) -> None:
        """Raises ValueError if nothing can be written there."""
        if self.protocol in _READ_ONLY:
            raise ValueError(f"{self.address}: {self.protocol} is for reading")
        if not self.local:
            return
        folder = self.root
        while not os.path.lexists(folder):
            folder = os.path.dirname(folder)
        if os.path.exists(folder) and not os.path.isdir(folder):
            raise ValueError(f"{self.address}: {folder} is no folder")

    def child(self, name: str) -> Store:
        """The folder `name` in this one."""
        other = object.__new__(Store)
        other.__dict__.update(self.__dict__, address=f"{self.address}/{name}", root=self.path(name))
        return other

    def path(self, name: str) -> str:
        """The path of a file within its file system; that of the folder if the name is empty."""
        return f"{self.root}/{name}" if name else self.root

    def fetch(self, name: str, path: str) -> None:
        """Copies a file of the store to a path of this machine, block by block."""
        patiently(lambda: self.fs.get_file(self.path(name), path))

    def place(self, path: str, name: str) -> None:
        """Copies a file of this machine to a name in the store, where it appears whole or not at all."""
        if self.local:
            self._write_here(blocks_of(path), name)
        else:
            patiently(lambda: self._upload(path, name))

    def write(self, data: bytes, name: str) -> None:
        """Writes a small file, whole or not at all."""
        if self.local:
            self._write_here((data,), name)
        elif self.protocol in _WHOLE_UPLOADS:
            patiently(lambda: self.fs.pipe_file(self.path(name), data))
        else:
            patiently(lambda: self._by_way_of(name, lambda path: self.fs.pipe_file(path, data)))

    def open(self, name: str) -> BinaryIO:
        """Opens a file for reading at any place."""
        if self.local:
            return open(self.path(name), "rb")
        return patiently(lambda: self.fs.open(self.path(name), "rb"))  # type: ignore[no-any-return]

    def read(self, name: str) -> bytes:
        """The bytes of a small file."""
        with self.open(name) as file:
            return file.read()

    def size(self, name: str) -> int | None:
        """The size of a file, None if there is none."""
        try:
            if self.local:
                return os.stat(self.path(name)).st_size
            return int(patiently(lambda: self.fs.info(self.path(name)))["size"])
        except (FileNotFoundError, NotADirectoryError):
            return None

    def blocks(self, name: str) -> Iterator[bytes]:
        """The bytes of a file, in blocks of up to 1 MiB."""
        with self.open(name) as file:
            yield from _blocks(file)

    def names(self) -> list[str]:
        """The names of the files in the folder itself; none if there is no folder."""
        try:
            if self.local:
                return sorted(entry.name for entry in os.scandir(self.root) if entry.is_file())
            entries = patiently(lambda: self.fs.ls(self.root, detail=True))
        except (FileNotFoundError, NotADirectoryError):
            return []
        return sorted(entry["name"].rpartition("/")[2] for entry in entries if entry["type"] == "file")

    def remove(self, name: str) -> None:
        """Removes a file if it is there."""
        try:
            if self.local:
                os.unlink(self.path(name))
            else:
                patiently(lambda: self.fs.rm_file(self.path(name)))
        except FileNotFoundError:
            pass

    def remove_left_behind(self) -> None:
        """Removes what killed processes left in a folder of this machine."""
        if not self.local or not os.path.isdir(self.root):
            return
        for entry in os.scandir(self.root):
            if not entry.name.startswith(_TEMPORARY):
                continue
            with contextlib.suppress(OSError):  # in work, or gone
                age = time.time() - entry.stat(follow_symlinks=False).st_mtime
                if age > _OLD_SECONDS:
                    os.unlink(entry.path)
                elif age > _LOCKED_SECONDS:
                    _remove_unlocked(entry.path)

    def remove_abandoned(self, folder: str) -> None:
        """Removes results in a folder of this machine on which no process works any more, as those of a killed worker."""
        if not self.local or not os.path.isdir(self.path(folder)):
            return
        for entry in os.scandir(self.path(folder)):
            if re.fullmatch(_RESULT, entry.name) and entry.is_file(follow_symlinks=False):
                with contextlib.suppress(OSError):  # in work, or gone
                    _remove_unlocked(entry.path)

    def _write_here(self, blocks: Iterable[bytes], name: str) -> None:
        target = self.path(name)
        folder = os.path.dirname(target)
        os.makedirs(folder, exist_ok=True)
        temporary = os.path.join(folder, f"{_TEMPORARY}{os.urandom(4).hex()}.tmp")
        try:
            with open(temporary, "wb") as file:
                with contextlib.suppress(OSError):
                    fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
                for block in blocks:
                    file.write(block)
                file.flush()
                os.fsync(file.fileno())
            os.replace(temporary, target)
        except BaseException:
            with contextlib.suppress(OSError):
                os.unlink(temporary)
            raise

    def _upload(self, path: str, name: str) -> None:
        if self.protocol in _WHOLE_UPLOADS:
            self.fs.put_file(path, self.path(name))
        else:
            self._by_way_of(name, lambda temporary: self.fs.put_file(path, temporary))

    def _by_way_of(self, name: str, write: Callable[[str], object]) -> None:
        """Writes under a temporary name, which then becomes the name."""
        folder, _, last = self.path(name).rpartition("/")
        self.fs.makedirs(folder, exist_ok=True)
        temporary = f"{folder}/{_TEMPORARY}{os.urandom(4).hex()}-{last}"
        try:
            write(temporary)
            self.fs.mv(temporary, self.path(name))
        except BaseException:
            with contextlib.suppress(Exception):  # what went wrong first is what counts
                self.fs.rm_file(temporary)
            raise


def _remove_unlocked(path: str) -> None:
    handle = os.open(path, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK | os.O_CLOEXEC)
    try:
        fcntl.flock(handle, fcntl.LOCK_EX | fcntl.LOCK_NB)
        os.unlink(path)
    finally:
        os.close(handle)


def blocks_of(path: str) -> Iterator[bytes]:
    """The bytes of a file of this machine, in blocks of up to 1 MiB."""
    with open(path, "rb", buffering=0) as file:
        yield from _blocks(file)


def _blocks(file: BinaryIO | FileIO) -> Iterator[bytes]:
    while block := file.read(_BLOCK):
        yield block

