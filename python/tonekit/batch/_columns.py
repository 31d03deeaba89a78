"""Columns of Arrow from lists of Python's values.

They are put together from buffers, since ``pyarrow.array`` asks of every list whether it is one of pandas, and for that imports
pandas where it is installed, which takes as long as all other imports of a run.
"""

from __future__ import annotations

from array import array
from collections.abc import Iterable, Sequence
from typing import Any

import numpy as np
import pyarrow

_NUMBERS = {pyarrow.int32(): "i", pyarrow.int64(): "q", pyarrow.float64(): "d", pyarrow.timestamp("us", "UTC"): "q"}


def column_of(values: Sequence[Any], kind: pyarrow.DataType) -> pyarrow.Array:
    """A column of these values, of which any may be None.

    :param values: texts, lists of texts, truth values, numbers, or microseconds since 1970
    :param kind: the type, one of those in the schema of the manifest
    :raises OverflowError, TypeError: where a number doesn't fit into the type; UnicodeEncodeError: where a text isn't Unicode
    """
    try:
        return _whole(values, kind)
    except TypeError:  # at the first None, mostly; to look for them beforehand takes longer than all else
        return _with_gaps(values, kind)


def _whole(values: Sequence[Any], kind: pyarrow.DataType, gaps: pyarrow.Buffer | None = None) -> pyarrow.Array:
    """A column of values of which none is None; `gaps` are bits that call off some of them."""
    parts: list[pyarrow.Array] = []
    if kind == pyarrow.string():
        buffers = _texts(values)
    elif pyarrow.types.is_list(kind):
        buffers = [_ends(map(len, values), len(values))]
        parts.append(column_of([part for one in values for part in one], kind.value_type))
    elif pyarrow.types.is_boolean(kind):
        buffers = [_bits(values)]
    else:
        buffers = [pyarrow.py_buffer(array(_NUMBERS[kind], values))]
    return pyarrow.Array.from_buffers(kind, len(values), [gaps, *buffers], children=parts)


def _with_gaps(values: Sequence[Any], kind: pyarrow.DataType) -> pyarrow.Array:
    present = [value is not None for value in values]
    if not any(present):
        return pyarrow.nulls(len(values), kind)
    absent = "" if kind == pyarrow.string() else () if pyarrow.types.is_list(kind) else 0
    return _whole([absent if value is None else value for value in values], kind, _bits(present))


def _texts(values: Sequence[str]) -> list[pyarrow.Buffer]:
    """Where the texts begin and end, and their bytes."""
    count = len(values)
    if count and values[0] == values[-1] and len(set(values)) == 1:  # as many columns are in a run
        text = str.encode(values[0])
        ends = np.arange(count + 1, dtype=np.int32) * np.int32(len(text))
        return [pyarrow.py_buffer(ends), pyarrow.py_buffer(text * count)]
    whole = "".join(values)
    lengths = map(len, values) if whole.isascii() else (len(value.encode()) for value in values)
    return [_ends(lengths, count), pyarrow.py_buffer(whole.encode())]


def _ends(lengths: Iterable[int], count: int) -> pyarrow.Buffer:
    ends = np.zeros(count + 1, np.int32)
    np.cumsum(np.fromiter(lengths, np.int32, count), out=ends[1:])
    return pyarrow.py_buffer(ends)


def _bits(flags: Iterable[bool]) -> pyarrow.Buffer:
    """A bit a flag, the first of each eight lowest."""
    ones = bytes(flags)
    bits = 0
    for place in range(8):
        bits |= int.from_bytes(ones[place::8], "little") << place
    return pyarrow.py_buffer(bits.to_bytes(-(-len(ones) // 8), "little"))
