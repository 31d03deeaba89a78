"""The inputs of a run, one after another: files of a folder, lines of a list, values of a Parquet column."""

from __future__ import annotations

import errno
import os
import posixpath
import stat
from collections import deque
from collections.abc import Iterator
from itertools import islice
from typing import TYPE_CHECKING, Any, NamedTuple

from .. import _core
from ._storage import Storage, Store, patiently, plain_address, protocol_of

if TYPE_CHECKING:
    from concurrent.futures import Future

    import pyarrow

_LISTS = (".txt", ".lst")
_SORTED = 100_000  # files of one folder that are put in order; the names of more aren't held in memory
_ASKING = 32  # questions to a store at a time


class Entry(NamedTuple):
    """An input: where it is, its name in the folder of results before the type changes, and what it is like now."""

    source: str
    name: str
    size: int
    stamp: str  # changes when the file does: the time of its last change, or the store's etag
    error: str | None = None


def is_list(source: str) -> bool:
    """Whether a source holds addresses of inputs, and isn't their folder."""
    if os.path.isdir(source):
        return source.lower().endswith(".parquet") and bool(_parts(Store(source)))
    return source.lower().endswith((*_LISTS, ".parquet"))


def _parts(store: Store) -> list[str]:
    """The files of a folder that is one table."""
    return [name for name in store.names() if name.endswith(".parquet")] if store.local else []


def entries(
    source: str, target: str, column: str = "path", base: str | None = None, storage: Storage | None = None
) -> Iterator[Entry]:
    """Lists the inputs; what can't be read is among them, with its error.

    :param source: plain address of a folder, or of a list: a .txt or .lst file of an address a line, or a .parquet file
    :param target: plain address of the results, which are no inputs
    :param column: of addresses, in a Parquet file
    :param base: plain address of the folder from which results are named, for a list
    :raises FileNotFoundError: without the source; ValueError: where it isn't what its name says

    Memory doesn't grow with the number of inputs.
    """
    store = Store(source, storage)
    if is_list(source):
        lines = _column(store, column) if source.lower().endswith(".parquet") else _lines(store)
        yield from _listed(lines, source.rpartition("/")[0], base, storage)
    elif store.local:
        if not os.path.isdir(source):
            os.stat(source)
            raise ValueError(f"{source} must be a folder or a list: .txt, .lst or .parquet")
        yield from _walk(source, "", target, ())
    elif store.protocol in ("s3", "s3a"):
        yield from _walk_s3(store, target)
    else:
        yield from _walk_elsewhere(store, target)


def is_audio_name(name: str) -> bool:
    """Whether a file of a folder is an input by its name."""
    extension = os.path.splitext(name)[1]
    known = _KNOWN.get(extension)
    if known is None:
        known = _core.has_audio_extension(name) if extension.isascii() else False
        if len(_KNOWN) < 1000:
            _KNOWN[extension] = known
    return known


_KNOWN: dict[str, bool] = {}


def _hidden(path: str) -> bool:
    return path.startswith(".") or "/." in path


# Folders of this machine


def _walk(folder: str, inside: str, target: str, outer: tuple[tuple[int, int], ...]) -> Iterator[Entry]:
    """The audio files of a folder, as the program finds them."""
    try:
        status = os.stat(folder)
        place = (status.st_dev, status.st_ino)
        if place in outer:
            raise OSError(None, "the link leads back to a folder around it")
        with os.scandir(folder) as scan:
            head = sorted(islice(scan, _SORTED), key=lambda entry: entry.name)
            for entry in head:
                yield from _look(entry, inside + entry.name, target, (*outer, place))
            del head
            for entry in scan:
                yield from _look(entry, inside + entry.name, target, (*outer, place))
    except OSError as error:
        yield Entry(_text(folder), _text(inside.rstrip("/")), 0, "", f"{_text(folder)}: {error.strerror}")


def _look(entry: os.DirEntry[str], name: str, target: str, outer: tuple[tuple[int, int], ...]) -> Iterator[Entry]:
    if entry.name.startswith("."):
        return
    path = entry.path
    if entry.is_dir():
        if path != target:
            yield from _walk(path, name + "/", target, outer)
        return
    if not is_audio_name(entry.name):
        if "." in entry.name or not _utf8(path) or not entry.is_file() or not _core.starts_as_audio(path):
            return
    if not _utf8(path):
        yield Entry(_text(path), _text(name), 0, "", f"{_text(path)}: the name is not UTF-8")
        return
    try:
        status = entry.stat()
    except FileNotFoundError:
        yield Entry(path, name, 0, "", f"{path}: the link leads nowhere")
        return
    if entry.is_file():
        yield Entry(path, name, status.st_size, str(status.st_mtime_ns))


def _utf8(text: str) -> bool:
    try:
        text.encode()
    except UnicodeEncodeError:
        return False
    return True


def _text(name: str) -> str:
    """A name as books can hold it."""
    return name.encode("utf-8", "backslashreplace").decode()


# Folders elsewhere


def _stamp(info: dict[str, Any]) -> str:
    for key in ("ETag", "etag", "md5Hash", "mtime", "LastModified", "last_modified", "updated", "created"):
        if info.get(key) is not None:
            return str(info[key]).strip('"')
    return ""


def _walk_s3(store: Store, target: str) -> Iterator[Entry]:
    """Page by page, since a folder may hold all files."""
    bucket, _, prefix = store.root.partition("/")
    prefix = prefix and prefix + "/"
    following: dict[str, str] = {}
    found = False
    while True:
        request = {"Bucket": bucket, "Prefix": prefix, **following}
        page = patiently(lambda: store.fs.call_s3("list_objects_v2", **request))  # noqa: B023: called at once
        for item in page.get("Contents", ()):
            found = True
            name = item["Key"][len(prefix) :]
            address = f"{store.address}/{name}"
            if is_audio_name(name) and not _hidden(name) and not address.startswith(target + "/"):
                yield Entry(address, name, item["Size"], item["ETag"].strip('"'))
        if not page.get("IsTruncated"):
            break
        following = {"ContinuationToken": page["NextContinuationToken"]}
    if not found:
        raise FileNotFoundError(2, "No such file or directory", store.address)


def _walk_elsewhere(store: Store, target: str) -> Iterator[Entry]:
    """Folder by folder; the largest of them is in memory."""
    if not patiently(lambda: store.fs.exists(store.root)):
        raise FileNotFoundError(2, "No such file or directory", store.address)
    for _, _, files in store.fs.walk(store.root, detail=True):
        for item in files.values():
            name = item["name"].removeprefix(store.root).lstrip("/")
            address = f"{store.address}/{name}"
            if is_audio_name(name) and not _hidden(name) and not address.startswith(target + "/"):
                yield Entry(address, name, int(item.get("size") or 0), _stamp(item))


# Lists


def _lines(store: Store) -> Iterator[str]:
    with store.open("") as file:
        for number, line in enumerate(file):
            # Editors of some systems begin texts with a mark.
            text = line.removeprefix(b"\xef\xbb\xbf" if number == 0 else b"").decode("utf-8", "surrogateescape").strip("\r\n")
            if text:
                yield text


def _column(store: Store, column: str) -> Iterator[str]:
    import pyarrow
    import pyarrow.parquet as parquet

    for name in _parts(store) or [""]:
        address = f"{store.address}/{name}" if name else store.address
        with store.open(name) as stream:
            try:
                file = parquet.ParquetFile(stream)
                _check_column(file.schema_arrow, column, address)
                for batch in file.iter_batches(batch_size=4096, columns=[column]):
                    yield from filter(None, batch.column(0).to_pylist())
            except pyarrow.ArrowInvalid as error:
                raise ValueError(f"{address} isn't a Parquet file: {error}") from None
            except OSError as error:
                raise OSError(errno.EIO, f"is damaged: {error}", address) from None


def _check_column(schema: pyarrow.Schema, column: str, address: str) -> None:
    from pyarrow import types

    if column not in schema.names:
        raise ValueError(f"{address} has no column {column}; it has {', '.join(schema.names)}")
    kind = schema.field(column).type
    text = kind.value_type if types.is_dictionary(kind) else kind
    if not (types.is_string(text) or types.is_large_string(text)):
        raise ValueError(f"{address} must have addresses in its column {column}, which is of {kind}")


def _listed(lines: Iterator[str], folder: str, base: str | None, storage: Storage | None) -> Iterator[Entry]:
    """Asks for size and stamp of each, of several at a time, and keeps their order."""
    from concurrent.futures import ThreadPoolExecutor  # which takes long to import, and folders don't need

    def entry(line: str) -> Entry:
        return facts(line, folder, base, storage)

    with ThreadPoolExecutor(_ASKING) as pool:
        asked: deque[Future[Entry]] = deque()
        for line in lines:
            if protocol_of(line) == "file" and protocol_of(folder) == "file":
                while asked:
                    yield asked.popleft().result()
                yield entry(line)
                continue
            asked.append(pool.submit(entry, line))
            if len(asked) >= 8 * _ASKING:
                yield asked.popleft().result()
        while asked:
            yield asked.popleft().result()


def facts(line: str, folder: str, base: str | None, storage: Storage | None) -> Entry:
    """An input by its address.

    :param folder: from which relative addresses start, and by which they are named
    :param base: see :func:`entries`
    """
    if not _utf8(line) or "\0" in line:
        return Entry(_text(line), _text(line), 0, "", f"{_text(line)}: the name is not UTF-8")
    whole = protocol_of(line) != "file" or line.startswith(("/", "file://"))
    address = plain_address(line if whole else f"{folder}/{line}")
    name = _name_below(address, base) if base is not None else line if not whole else address.partition("://")[2] or address
    name = posixpath.normpath(name).lstrip("/")
    if name.startswith("../") or name in ("..", "."):
        return Entry(address, name, 0, "", f"{address}: is outside of {base or folder}")
    try:
        if protocol_of(address) == "file":
            status = os.stat(address)
            if not stat.S_ISREG(status.st_mode):
                raise OSError(None, "isn't a file")
            return Entry(address, name, status.st_size, str(status.st_mtime_ns))
        store = Store(address, storage)
        info = patiently(lambda: store.fs.info(store.root))
        return Entry(address, name, int(info.get("size") or 0), _stamp(info))
    except FileNotFoundError:
        return Entry(address, name, 0, "", f"{address}: there is no such file")
    except Exception as error:
        text = str(getattr(error, "strerror", None) or error)
        return Entry(address, name, 0, "", text if text.startswith(address) else f"{address}: {text}")


def _name_below(address: str, base: str) -> str:
    return address[len(base) + 1 :] if address.startswith(base.rstrip("/") + "/") else ".."
