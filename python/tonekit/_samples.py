"""Sample types and arrays: what may come in, and what it is called."""

from __future__ import annotations

import operator
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _core

Array = npt.NDArray[Any]

# Bits, whether they are floats, whether 24 bits are the upper three bytes of an int32.
_FORMATS: dict[str, tuple[int, bool, bool]] = {
    "uint8": (8, False, False),
    "int16": (16, False, False),
    "int24": (24, False, True),
    "packed24": (24, False, False),
    "int32": (32, False, False),
    "float32": (32, True, False),
    "float64": (64, True, False),
}
_ARRAY_FORMATS = {name: _core.ArrayFormat(*facts) for name, facts in _FORMATS.items()}
# What an array of such samples has for a dtype.
_DTYPES = {name: np.dtype(name) for name in ("uint8", "int16", "int32", "float32", "float64")}
_DTYPES["int24"] = np.dtype(np.int32)
_DTYPES["packed24"] = np.dtype(np.uint8)
_NAME_OF_DTYPE = {dtype: name for name, dtype in _DTYPES.items() if name not in ("int24", "packed24")}


def names() -> str:
    """All sample types, for messages."""
    return ", ".join(_FORMATS)


def format_of(name: str) -> _core.ArrayFormat:
    """The extension's description of a sample type."""
    return _ARRAY_FORMATS[name]


def dtype_of(name: str) -> np.dtype[Any]:
    """The dtype of arrays of a sample type."""
    return _DTYPES[name]


def name_of(bits: int, is_float: bool) -> str:
    """The sample type of a file: 24 bits come as int24."""
    return next(n for n, f in _FORMATS.items() if f[:2] == (bits, is_float))


def sample_type(value: object, argument: str) -> str:
    """The name of the sample type that a caller passes as a name, a NumPy type or a dtype."""
    if isinstance(value, str) and value in _FORMATS:
        return value
    try:
        # None is float64 to NumPy, which nobody who passes it expects.
        dtype = None if value is None else np.dtype(value)  # type: ignore[call-overload]
    except Exception:  # whatever NumPy makes of it
        dtype = None
    if dtype is not None and dtype.newbyteorder("=") in _NAME_OF_DTYPE:
        return _NAME_OF_DTYPE[dtype.newbyteorder("=")]
    raise ValueError(f"{argument} must be one of {names()}, not {value!r}")


def whole(value: object, argument: str) -> int:
    """A whole number that a caller passes, also as a float without a fraction."""
    if isinstance(value, (float, np.floating)) and value.is_integer():
        return int(value)
    try:
        return operator.index(value)  # type: ignore[arg-type]
    except TypeError:
        raise TypeError(f"{argument} must be a whole number, not {value!r}") from None


class Samples:
    """An array as the extension takes it: an input's samples, their type and their channels."""

    __slots__ = ("array", "channels", "flat", "frames", "type")

    def __init__(self, x: npt.ArrayLike, in_dtype: object = None) -> None:
        try:
            array = np.asarray(x)
        except (ValueError, TypeError) as error:
            raise type(error)(f"x must be an array: {error}") from None
        if isinstance(x, np.ma.MaskedArray) and np.ma.is_masked(x):
            raise ValueError("x must have no masked samples: fill them, as x.filled(0) does")
        kind = _NAME_OF_DTYPE.get(array.dtype) if in_dtype is None else sample_type(in_dtype, "in_dtype")
        if kind is None:
            kind = _NAME_OF_DTYPE.get(array.dtype.newbyteorder("="))
        if kind is None:
            raise TypeError(
                f"x must be an array of uint8, int16, int32, float32 or float64, not of {array.dtype}"
                + (": give samples of 24 bits as packed24 or int24 by in_dtype" if array.dtype.itemsize == 3 else "")
            )
        wanted = _DTYPES[kind]
        if array.dtype.newbyteorder("=") != wanted:
            raise TypeError(f"x must be an array of {wanted} for in_dtype {kind!r}, not of {array.dtype}")
        packed = kind == "packed24"
        shape = array.shape[:-1] if packed else array.shape
        if packed and (array.ndim == 0 or array.shape[-1] != 3):
            raise ValueError(f"x must have a last dimension of 3 bytes for in_dtype 'packed24', not shape {array.shape}")
        if len(shape) not in (1, 2):
            raise ValueError(f"x must have the shape (frames,) or (frames, channels), not {array.shape}")
        self.flat = len(shape) == 1
        self.frames: int = shape[0]
        self.channels: int = 1 if self.flat else shape[1]
        if packed:
            array = np.ascontiguousarray(array).reshape(self.frames, self.channels * 3)
        elif not array.dtype.isnative or not array.flags.aligned:
            array = np.require(array, wanted, "A")
        self.array: Array = array
        self.type = kind
