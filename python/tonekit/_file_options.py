"""The types of the options of file functions, for type checkers; the options themselves are the program's."""

from __future__ import annotations

import os
from collections.abc import Mapping, Sequence

from typing_extensions import TypedDict


class ConvertOptions(TypedDict, total=False):
    """How samples are converted."""

    channels: int | None
    quality: str
    filter: str
    aliasing: bool
    dither: str | bool
    dither_mode: str
    limiter: bool


class ReadOptions(ConvertOptions, total=False):
    """Options of read."""

    raw: str | None
    rate: int | str | None
    start: float | str | None
    end: float | str | None


class MeasureOptions(TypedDict, total=False):
    """What is measured."""

    replaygain: bool
    true_peak: bool
    hash: str | None


class InfoOptions(MeasureOptions, total=False):
    """Options of info."""

    raw: str | None


class WriteOptions(ConvertOptions, MeasureOptions, total=False):
    """Options of write."""

    bits: int | str | None
    type: str | None
    raw_output: str | None
    bitrate: int | str | None
    vbr: int | str | None
    compression: int | None
    mix_level: str
    gain: float | str
    normalize: float | str | None
    hdcd: str | bool
    hdcd_gain: int
    set: Mapping[str, str | int | Sequence[str | int] | None] | None
    cover: str | os.PathLike[str] | None
    cover_size: int | None
    cover_quality: int
    chapters: str | os.PathLike[str] | None
    no_tags: bool


class ArchiveOptions(WriteOptions, total=False):
    """Options of tonekit.batch.run."""

    raw: str | None
    rate: int | str | None
    start: float | str | None
    end: float | str | None


class FileOptions(ArchiveOptions, total=False):
    """Options of convert_file."""

    spectrogram: str | os.PathLike[str] | None
    name: str | None
    update: bool
    no_clobber: bool
    dry_run: bool
