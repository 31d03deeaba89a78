"""The same bytes as the C library."""

import hashlib

import digest_rows
import numpy as np
import pytest

import tonekit

_ROWS = digest_rows.rows()


def _convert(row: digest_rows.Row, x: np.ndarray) -> np.ndarray:
    return tonekit.convert(
        x,
        row.in_rate,
        row.out_rate,
        channels=row.channels,
        dtype=row.out_type,
        in_dtype=row.in_type,
        quality=row.quality,
        filter=row.filter,
        limiter=row.limiter,
        dither=False,
    )


def _sha256(samples: np.ndarray) -> str:
    return hashlib.sha256(samples.tobytes()).hexdigest()


def test_there_are_rows() -> None:
    assert len(_ROWS) >= 12


@pytest.mark.parametrize("row", _ROWS, ids=[" ".join(map(str, row[:6])) for row in _ROWS])
def test_whole_conversion_has_the_bytes_of_the_library(row: digest_rows.Row) -> None:
    assert _sha256(_convert(row, digest_rows.noise(row))) == row.digest


@pytest.mark.parametrize("row", _ROWS[:6], ids=[" ".join(map(str, row[:6])) for row in _ROWS[:6]])
def test_stream_has_the_bytes_of_the_library(row: digest_rows.Row) -> None:
    x = digest_rows.noise(row)
    converter = tonekit.Converter(
        row.in_rate,
        row.out_rate,
        in_channels=row.in_channels,
        in_dtype=row.in_type,
        channels=row.channels,
        dtype=row.out_type,
        quality=row.quality,
        filter=row.filter,
        limiter=row.limiter,
        dither=False,
    )
    blocks = (x[i : i + 997] for i in range(0, len(x), 997))
    assert _sha256(np.concatenate(list(converter.process(blocks)))) == row.digest


def test_24_bits_in_an_int32_are_the_packed_bytes() -> None:
    row = next(row for row in _ROWS if row.in_type == "packed24" and row.out_type == "packed24")
    packed = digest_rows.noise(row)
    wide = np.zeros(packed.shape[:2] + (4,), np.uint8)
    wide[:, :, 0] = 0x5A  # the lowest byte doesn't count
    wide[:, :, 1:] = packed
    x = wide.view("<i4")[:, :, 0]
    y = tonekit.convert(
        x, row.in_rate, row.out_rate, in_dtype="int24", dtype="int24", quality=row.quality, dither=False
    )
    assert y.dtype == np.int32
    assert np.all(y & 0xFF == 0)
    assert _sha256(np.ascontiguousarray(y.view(np.uint8).reshape(*y.shape, 4)[:, :, 1:])) == row.digest
