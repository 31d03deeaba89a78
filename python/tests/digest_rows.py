"""Whole conversions and the digests of their bytes, from the file to which the C++ tests are held too."""

from pathlib import Path
from typing import NamedTuple

import numpy as np

_FILE = Path(__file__).resolve().parents[2] / "tests" / "convert" / "digests.txt"
_TYPES = {
    (0, 8): "uint8",
    (0, 16): "int16",
    (0, 24): "packed24",
    (0, 32): "int32",
    (1, 32): "float32",
    (1, 64): "float64",
}
_QUALITIES = {0: "normal", 24: "high", 31: "very-high", 33: "best"}
_FILTERS = ("normal", "steep", "steeper")


class Row(NamedTuple):
    """One conversion: arguments of tonekit.convert, the input's size, and the digest."""

    in_type: str
    in_channels: int
    in_rate: int
    out_type: str
    channels: int
    out_rate: int
    quality: str
    filter: str
    limiter: bool
    frames: int
    digest: str


def rows() -> list[Row]:
    result = []
    for line in _FILE.read_text().splitlines():
        if line and not line.startswith("#"):
            *numbers, digest = line.split()
            f, b, c, r, of, ob, oc, o_rate, quality, kind, limiter, frames = map(int, numbers)
            result.append(
                Row(_TYPES[f, b], c, r, _TYPES[of, ob], oc, o_rate, _QUALITIES[quality], _FILTERS[kind],
                    bool(limiter), frames, digest)
            )  # fmt: skip
    return result


def noise(row: Row) -> np.ndarray:
    """Noise of a 32-bit congruential generator, at half of full scale."""
    state, values = 1, []
    for _ in range(row.frames * row.in_channels):
        state = (state * 1664525 + 1013904223) % 2**32
        signed = state - 2**32 if state >= 2**31 else state
        values.append(abs(signed) // 2 * (1 if signed >= 0 else -1))  # rounds to zero, as C does
    samples = np.array(values, np.int64).reshape(row.frames, row.in_channels)
    if row.in_type == "float32":
        return ((samples >> 8) / 8388608.0).astype(np.float32)
    if row.in_type == "float64":
        return samples / 2147483648.0
    if row.in_type == "uint8":
        return ((samples >> 24) + 128).astype(np.uint8)
    if row.in_type == "packed24":
        wide = (samples >> 8).astype("<i4")
        return wide.view(np.uint8).reshape(row.frames, row.in_channels, 4)[:, :, :3]
    return (samples >> (32 - np.dtype(row.in_type).itemsize * 8)).astype(row.in_type)
