"""Columns of Arrow from lists of Python's values.

They are put together from buffers, since ``pyarrow.array`` asks of every list whether it is one of pandas, and for that imports
pandas where it is installed, which takes as long as all other imports of a run.
"""

from __future__ import annotations

from array import array
from collections.abc import Iterable, Sequence
from itertools import accumulate
from typing import Any

import pyarrow

_NUMBERS = {pyarrow.int32(): "i", pyarrow.int64(): "q", pyarrow.float64(): "d", pyarrow.timestamp("us", "UTC"): "q"}


def column_of(values: Sequence[Any], kind: pyarrow.DataType) -> pyarrow.Array:
    """A column of these values, of which any may be None.

    :param values: texts, lists of texts, truth values, numbers, or microseconds since 1970
    :param kind: the type, one of those in the schema of the manifest
    :raises OverflowError, TypeError: where a number doesn't fit into the type; UnicodeEncodeError: where a text isn't Unicode
    """
    count = len(values)
    missing = values.count(None)
    if missing == count:
        return pyarrow.nulls(count, kind)
    present = _bits(value is not None for value in values) if missing else None
    if kind == pyarrow.string():
        buffers = _texts(_filled(values, "") if missing else values)
        return pyarrow.Array.from_buffers(kind, count, [present, *buffers], missing)
    if pyarrow.types.is_list(kind):
        lists = _filled(values, ()) if missing else values
        parts = column_of([part for one in lists for part in one], kind.value_type)
        return pyarrow.Array.from_buffers(kind, count, [present, _ends(map(len, lists))], missing, children=[parts])
    if pyarrow.types.is_boolean(kind):
        return pyarrow.Array.from_buffers(kind, count, [present, _bits(values)], missing)
    numbers = array(_NUMBERS[kind], _filled(values, 0) if missing else values)
    return pyarrow.Array.from_buffers(kind, count, [present, pyarrow.py_buffer(numbers)], missing)


def _filled(values: Sequence[Any], absent: object) -> list[Any]:
    return [absent if value is None else value for value in values]


def _texts(values: Sequence[str]) -> tuple[pyarrow.Buffer, pyarrow.Buffer]:
    """Where the texts end, and their bytes."""
    whole = "".join(values)
    lengths = map(len, values) if whole.isascii() else (len(value.encode()) for value in values)
    return _ends(lengths), pyarrow.py_buffer(whole.encode())


def _ends(lengths: Iterable[int]) -> pyarrow.Buffer:
    return pyarrow.py_buffer(array("i", accumulate(lengths, initial=0)))


def _bits(flags: Iterable[object]) -> pyarrow.Buffer:
    """A bit a flag, the first of each eight lowest."""
    ones = bytes(map(bool, flags))
    bits = 0
    for place in range(8):
        bits |= int.from_bytes(ones[place::8], "little") << place
    return pyarrow.py_buffer(bits.to_bytes(-(-len(ones) // 8), "little"))
