"""Audio files: what they are, their samples, and their conversion, by the code of the program tonekit-convert."""

from __future__ import annotations

import errno
import json
import os
import sys
from collections.abc import Callable
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy.typing as npt

from . import _core
from ._core import FileError
from ._options import TABLE, option_list
from ._samples import Array, Samples, format_of, name_of, sample_type, whole

if TYPE_CHECKING:
    from typing_extensions import Unpack

    from ._file_options import FileOptions, InfoOptions, ReadOptions, WriteOptions

__all__ = ["Audio", "FileError", "convert_file", "info", "read", "write"]

Path = str | os.PathLike[str]
Progress = Callable[[float, float], object]

_MEASURES = {name: TABLE[name] for name in ("replaygain", "true_peak", "hash")}
_OF_LOOKING = _MEASURES | {"raw": TABLE["raw"]}
_OF_READING = {
    name: TABLE[name]
    for name in (
        "raw",
        "start",
        "end",
        "rate",
        "channels",
        "quality",
        "filter",
        "aliasing",
        "dither",
        "dither_mode",
        "limiter",
    )
}


class Audio(NamedTuple):
    """The samples of a file, of shape ``(frames, channels)``, and their rate in Hz."""

    samples: Array
    rate: int


def _name(path: Path, argument: str) -> bytes:
    """The name of a file as the system has it."""
    name = os.fspath(path) if isinstance(path, (str, os.PathLike)) else None
    if not isinstance(name, str):
        raise TypeError(f"{argument} must be a text or a path, not {path!r}")
    if not name:
        raise ValueError(f"{argument} must name a file, not ''")
    if "\0" in name:
        raise ValueError(f"{argument} must not hold a null character: {name!r}")
    # To the program "-" alone is a standard stream.
    return os.fsencode(os.path.join(os.curdir, name) if name == "-" else name)


def _input(path: Path, argument: str) -> bytes:
    name = _name(path, argument)
    os.stat(path)  # raises what everyone expects of a file that isn't there
    return name


def _only_file(text: str) -> dict[str, Any]:
    """The report of one file in the program's JSON."""
    report: dict[str, Any] = json.loads(text)["files"][0]
    return report


def _check_progress(progress: object) -> None:
    if progress is not None and not callable(progress):
        raise TypeError(f"progress must be a function of two numbers, not {progress!r}")


def convert_file(src: Path, dst: Path, *, progress: Progress | None = None, **options: Unpack[FileOptions]) -> dict[str, Any]:
    """Converts an audio file, as the program ``tonekit-convert`` does.

    :param src: a file of any type that libsndfile reads: WAV, FLAC, MP3, Ogg, Opus, AIFF, W64, RF64, CAF, AU and more
    :param dst: the file to make, of the type of its extension, or a folder. A file of that name is replaced in one step, and
        only when the new one is complete; after any failure it is as it was, and nothing else is left.
    :param progress: called now and then with the part that is done, 0 to 1 (0 if the file doesn't say its length), and the
        seconds of audio done. What it raises ends the conversion and is raised here.
    :param options: those of the program, by its names with ``_`` for ``-``:

{OPTIONS}
    :return: the report of the file that ``tonekit-convert --json`` prints under ``files``, as a dict
    :raises FileNotFoundError: without ``src``; FileError (an OSError): where a file can't be read, understood or written, in
        one line; ValueError, TypeError: where an option doesn't make sense; MemoryError; KeyboardInterrupt

    Runs without the GIL; any number of calls may run in threads of their own.
    """
    _check_progress(progress)
    pairs = option_list(options, "convert_file")
    source, target = _input(src, "src"), _name(dst, "dst")
    if os.path.isdir(source):
        raise IsADirectoryError(errno.EISDIR, "src is a folder, and one file is converted", os.fspath(src))
    return _only_file(_core.convert_file(source, target, pairs, progress))


def info(path: Path, *, progress: Progress | None = None, **options: Unpack[InfoOptions]) -> dict[str, Any]:
    """Returns what an audio file is: type, format, length, tags, pictures, chapters and HDCD.

    :param path: the file
    :param progress: as for :func:`convert_file`, while all samples are read
    :param options: ``replaygain``, ``true_peak`` (True or False) and ``hash`` (``"sha256"`` or ``"sha512"``), for which all
        samples are read; ``raw``, if the file has no header, as for :func:`convert_file`
    :return: what ``tonekit-convert --info --json`` prints under ``files``, as a dict
    :raises FileNotFoundError: without the file; FileError (an OSError): if it isn't audio, or is damaged
    """
    _check_progress(progress)
    pairs = option_list(options, "info", _OF_LOOKING)
    return _only_file(_core.info(_input(path, "path"), pairs, progress))


def read(
    path: Path,
    *,
    dtype: npt.DTypeLike | str | None = None,
    progress: Progress | None = None,
    **options: Unpack[ReadOptions],
) -> Audio:
    """Reads the samples of an audio file, or of a part of it.

    :param path: a file of any type that :func:`convert_file` takes
    :param dtype: sample type of the result, see :func:`tonekit.convert`; that of the file if None. 24 bits come as ``"int24"``
        then, the upper three bytes of an int32; MP3, Ogg and Opus come as float32.
    :param progress: as for :func:`convert_file`
    :param options: ``start`` and ``end`` of the part, and ``raw``, as for :func:`convert_file`; ``rate`` and ``channels`` of
        the result, and ``quality``, ``filter``, ``aliasing``, ``dither``, ``dither_mode`` and ``limiter`` as for
        :func:`tonekit.convert`
    :return: the samples, always of shape ``(frames, channels)``, and their rate
    :raises FileNotFoundError: without the file; FileError (an OSError): if it isn't audio, or breaks off

    The file is converted on the way: besides the result only a few blocks are in memory.
    """
    _check_progress(progress)
    wanted = None if dtype is None else sample_type(dtype, "dtype")
    pairs = option_list(options, "read", _OF_READING)
    reader = _core.Reader(_input(path, "path"), pairs)
    samples, rate = reader.read(format_of(wanted or name_of(reader.bits, reader.is_float)), progress)
    return Audio(samples, rate)


def write(
    path: Path,
    x: npt.ArrayLike,
    rate: int,
    *,
    in_dtype: npt.DTypeLike | str | None = None,
    progress: Progress | None = None,
    **options: Unpack[WriteOptions],
) -> dict[str, Any]:
    """Writes samples into an audio file, whole or not at all, as :func:`convert_file` does.

    :param path: the file to make, of the type of its extension. A file of that name is replaced when the new one is complete.
    :param x: samples as for :func:`tonekit.convert`
    :param rate: their rate in Hz, which is the file's too
    :param in_dtype: ``"int24"`` or ``"packed24"`` if ``x`` has 24-bit samples in one of these forms
    :param progress: as for :func:`convert_file`
    :param options: those of :func:`convert_file` without ``raw``, ``rate``, ``start``, ``end``, ``spectrogram``, ``name``,
        ``update``, ``no_clobber`` and ``dry_run``
    :return: the report, as of :func:`convert_file`
    :raises FileError: (an OSError) where the file can't be written; ValueError, TypeError: where an argument doesn't make
        sense
    """
    _check_progress(progress)
    samples = Samples(x, in_dtype)
    if not 1 <= samples.channels <= 8:
        raise ValueError(f"x must have 1 to 8 channels, not {samples.channels}")
    hertz = whole(rate, "rate")
    if not 1 <= hertz <= 0x7FFFFFFF:
        raise ValueError(f"rate must be from 1 to 2147483647 Hz, not {rate}")
    pairs = option_list(options, "write", _OF_WRITING)
    return _only_file(
        _core.write(_name(path, "path"), samples.array, format_of(samples.type), hertz, pairs, progress)
    )


# Samples of an array have a rate, a name that the caller chooses, and no age, and are cut by its own means.
_OF_WRITING = {
    name: row
    for name, row in TABLE.items()
    if name not in ("raw", "rate", "start", "end", "spectrogram", "name", "update", "no_clobber", "dry_run")
}


def _options_text() -> str:
    """The table of options as it goes into the documentation of convert_file."""
    lines = []
    for argument, (_, value, text) in TABLE.items():
        kind = "True or False" if value is None else value
        if argument == "set":
            kind, text = "a mapping of names to texts", "sets tags; a list of texts has several values, None removes the tag"
        lines.append(f"        * ``{argument}`` ({kind}): {text}")
    return "\n".join(lines) + "\n"


if convert_file.__doc__ and sys.flags.optimize < 2:
    convert_file.__doc__ = convert_file.__doc__.replace("{OPTIONS}", _options_text())
