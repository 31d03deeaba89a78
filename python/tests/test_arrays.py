"""Conversion of arrays: shapes, types, memory orders, lengths, and what is refused."""

import copy
import pickle
from fractions import Fraction

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import tonekit

TYPES = ["uint8", "int16", "int32", "float32", "float64"]
RATES = [8000, 11025, 16000, 22050, 44100, 48000, 96000]


def noise(frames: int, channels: int, dtype: str, seed: int = 0) -> np.ndarray:
    values = np.random.default_rng(seed).uniform(-0.5, 0.5, (frames, channels))
    if dtype.startswith("float"):
        return values.astype(dtype)
    if dtype == "uint8":
        return (values * 128 + 128).astype(np.uint8)
    return (values * 2.0 ** (np.dtype(dtype).itemsize * 8 - 1)).astype(dtype)


@given(frames=st.integers(0, 5000), rates=st.tuples(st.sampled_from(RATES), st.sampled_from(RATES)))
@settings(max_examples=40, deadline=None)
def test_length_is_the_nearest_to_the_ratio(frames: int, rates: tuple[int, int]) -> None:
    result = tonekit.resample(np.zeros(frames, np.int16), *rates)
    assert abs(len(result) - Fraction(frames * rates[1], rates[0])) <= Fraction(1, 2)


@pytest.mark.parametrize("dtype", TYPES)
@pytest.mark.parametrize("shape", [(300,), (300, 1), (300, 2), (300, 8)])
def test_result_has_type_and_dimensions_of_the_input(dtype: str, shape: tuple[int, ...]) -> None:
    x = noise(300, shape[-1] if len(shape) == 2 else 1, dtype).reshape(shape)
    y = tonekit.resample(x, 44100, 22050)
    assert y.dtype == x.dtype
    assert y.shape == (150, *shape[1:])
    assert y.flags.c_contiguous and y.flags.writeable


@given(
    frames=st.integers(0, 3000),
    channels=st.sampled_from([1, 2, 4, 6]),
    dtype=st.sampled_from(TYPES),
    order=st.sampled_from(["F", "reversed", "turned", "every second", "offset", "swapped", "read-only", "unaligned"]),
    rates=st.tuples(st.sampled_from(RATES), st.sampled_from(RATES)),
)
@settings(max_examples=60, deadline=None)
def test_memory_order_changes_nothing(
    frames: int, channels: int, dtype: str, order: str, rates: tuple[int, int]
) -> None:
    x = noise(frames, channels, dtype)
    if order == "F":
        other = np.asfortranarray(x)
    elif order == "reversed":
        other = np.ascontiguousarray(x[::-1, ::-1])[::-1, ::-1]
    elif order == "turned":
        other = np.ascontiguousarray(x[:, ::-1])[:, ::-1]
    elif order == "every second":
        other = np.repeat(x, 2, axis=0)[::2]
    elif order == "offset":
        other = np.concatenate([x, x], axis=1)[:, channels:]
    elif order == "swapped":
        other = x.astype(x.dtype.newbyteorder(">"))
    elif order == "read-only":
        other = x.copy()
        other.flags.writeable = False
    else:
        raw = np.zeros(x.nbytes + 1, np.uint8)
        other = raw[1:].view(x.dtype).reshape(x.shape)
        other[...] = x
    kept = other.copy()
    assert np.array_equal(tonekit.resample(other, *rates), tonekit.resample(x, *rates))
    assert np.array_equal(other, kept), "the input is only read"


@given(
    cuts=st.lists(st.integers(0, 9000), max_size=12),
    channels=st.sampled_from([1, 2, 5]),
    dtype=st.sampled_from(TYPES),
    out_type=st.sampled_from([*TYPES, "int24", "packed24"]),
    rates=st.tuples(st.sampled_from(RATES), st.sampled_from(RATES)),
    out_channels=st.sampled_from([1, 2, 6]),
)
@settings(max_examples=60, deadline=None)
def test_blocks_of_a_stream_are_the_whole(
    cuts: list[int], channels: int, dtype: str, out_type: str, rates: tuple[int, int], out_channels: int
) -> None:
    x = noise(9000, channels, dtype, seed=3)
    whole = tonekit.convert(x, *rates, channels=out_channels, dtype=out_type, dither=False)
    with tonekit.Converter(
        *rates, in_channels=channels, in_dtype=dtype, channels=out_channels, dtype=out_type, dither=False
    ) as converter:
        edges = [0, *sorted(cuts), len(x)]
        parts = [converter.write(x[a:b]) for a, b in zip(edges, edges[1:])]
        parts.append(converter.flush())
        assert converter.in_frames == len(x)
        assert converter.out_frames == len(whole)
    result = np.concatenate(parts)
    assert result.dtype == whole.dtype
    assert np.array_equal(result.view(np.uint8), whole.view(np.uint8))


def test_channels_in_reverse_order_in_memory() -> None:
    x = noise(500, 2, "int16")
    turned = np.ascontiguousarray(x[:, ::-1])[:, ::-1]
    assert np.array_equal(tonekit.convert(turned, 44100, dtype="int32"), x.astype(np.int32) * 65536)


def test_long_stream_spans_many_blocks() -> None:
    x = noise(400_000, 2, "float32")
    whole = tonekit.resample(x, 48000, 44100)
    parts = list(tonekit.Converter(48000, 44100, in_channels=2).process(np.array_split(x, 1234)))
    assert len(parts) > 50
    assert np.array_equal(np.concatenate(parts), whole)


def test_a_tone_comes_out_as_the_tone() -> None:
    def tone(rate: int) -> np.ndarray:
        return 0.5 * np.sin(2 * np.pi * 1000 * np.arange(rate) / rate)

    y = tonekit.resample(tone(44100), 44100, 48000)
    assert np.max(np.abs(y - tone(48000))[2000:-2000]) < 1e-7


def test_resampling_delays_nothing() -> None:
    x = np.zeros(4410)
    x[2205] = 1.0
    assert np.argmax(tonekit.resample(x, 44100, 88200)) == 4410


def test_integers_become_floats_exactly() -> None:
    x = np.array([[-32768, 32767], [1, -1], [0, 16384]], np.int16)
    y = tonekit.convert(x, 44100, dtype="float64")
    assert np.array_equal(y, x / 32768)
    assert np.array_equal(tonekit.convert(np.array([0, 128, 255], np.uint8), 8000, dtype=np.float32), [-1, 0, 127 / 128])


def test_mono_of_stereo_keeps_two_dimensions() -> None:
    assert tonekit.convert(np.zeros((100, 2)), 8000, channels=1).shape == (100, 1)
    assert tonekit.convert(np.zeros(100), 8000, channels=2).shape == (100, 2)
    assert tonekit.convert(np.zeros(100), 8000, dtype="packed24").shape == (100, 3)


def test_dither_is_on_where_bits_get_fewer() -> None:
    x = np.full((5000, 1), 1000 * 256 + 77, np.int32) * 256
    assert len(np.unique(tonekit.convert(x, 44100, dtype="int16"))) > 1
    assert len(np.unique(tonekit.convert(x, 44100, dtype="int16", dither=False))) == 1
    shaped = tonekit.Converter(44100, in_dtype="int32", dtype="int16", dither=True, dither_mode="shaped")
    assert shaped.dithers
    assert not tonekit.Converter(44100, in_dtype="int32", dtype="int16", dither="off").dithers


def test_nan_and_infinity_are_conversions_like_others() -> None:
    x = np.array([np.nan, np.inf, -np.inf, 0.25])
    assert list(tonekit.convert(x, 44100, dtype="int16", dither=False)) == [0, 32767, -32768, 8192]
    assert len(tonekit.resample(np.full(1000, np.nan), 44100, 48000)) == 1088


def test_lists_and_empty_arrays_are_arrays() -> None:
    assert tonekit.resample([0.0, 0.5, -0.5], 8000, 16000).shape == (6,)
    for dtype in TYPES:
        assert tonekit.resample(np.empty((0, 2), dtype), 44100, 48000).shape == (0, 2)
        assert tonekit.convert(np.empty(0, dtype), 8000, dtype="float32").dtype == np.float32


SILENCE = np.zeros((10, 2), np.float32)


@pytest.mark.parametrize(
    ("call", "kind", "message"),
    [
        (lambda: tonekit.resample(SILENCE, 44100, 999), ValueError, "out_rate must be a rate from 1000 to 1536000"),
        (lambda: tonekit.resample(SILENCE, 0, 44100), ValueError, "in_rate must be a rate from 1000 to 1536000"),
        (lambda: tonekit.resample(SILENCE, -44100, 44100), ValueError, "not '-44100'"),
        (lambda: tonekit.resample(SILENCE, 44100.5, 44100), TypeError, "in_rate must be a whole number, not 44100.5"),
        (lambda: tonekit.resample(SILENCE, 44100, None), TypeError, "out_rate"),
        (lambda: tonekit.resample(SILENCE, 44100, 2**70), ValueError, "out_rate"),
        (lambda: tonekit.resample(SILENCE, np.float32(8000.5), 16000), TypeError, "in_rate must be a whole number"),
        (lambda: tonekit.resample(SILENCE, 8000, 16000, quality="\udcff"), ValueError, "quality must be text that UTF-8"),
        (lambda: tonekit.resample(SILENCE, 8000, 16000, quality="a\0b"), ValueError, "quality .* without null"),
        (lambda: tonekit.resample(SILENCE, 8000, 16000, quality=b"best"), TypeError, "quality must be a text or a number"),
        (lambda: tonekit.resample([[0.0, 1.0], [0.5]], 8000, 16000), ValueError, "^x must be an array: "),
        (lambda: tonekit.resample(np.ma.masked_equal([0.0, 1.0], 1), 8000, 16000), ValueError, "x must have no masked"),
        (lambda: tonekit.Converter(8000, in_dtype=None), ValueError, "in_dtype must be one of .* not None"),
        (lambda: tonekit.hdcd.Decoder(dtype=None), ValueError, "dtype must be one of .* not None"),
        (
            lambda: tonekit.Converter(8000, in_channels=2).write(np.broadcast_to(np.float32(0), (3, 2**32 + 2))),
            ValueError,
            "x must have 2 channels",
        ),
        (lambda: copy.copy(tonekit.Converter(8000)), TypeError, "Converter can't be copied or pickled"),
        (lambda: pickle.dumps(tonekit.hdcd.Decoder()), TypeError, "Decoder can't be copied or pickled"),
        (lambda: copy.copy(tonekit.loudness.Meter(1, 8000)), TypeError, "Meter can't be copied or pickled"),
        (lambda: tonekit.image.resize(np.zeros((4, 4), np.uint8), 2, 2, np.array([1, 2])), ValueError, "filter must be"),
        (lambda: tonekit.use_bodies(None), TypeError, "name must be a text, not None"),
        (lambda: tonekit.resample(SILENCE, 8000, 16000, quality="fast"), ValueError, "quality must be one of: normal"),
        (lambda: tonekit.resample(SILENCE, 8000, 16000, filter=3), ValueError, "filter must be one of: normal, steep"),
        (lambda: tonekit.resample(SILENCE, 8000, 16000, aliasing=1), TypeError, "aliasing must be True or False"),
        (lambda: tonekit.resample(np.zeros((5, 9)), 8000, 16000), ValueError, "1 to 8 channels, not 9"),
        (lambda: tonekit.resample(np.zeros((5, 0)), 8000, 16000), ValueError, "1 to 8 channels, not 0"),
        (lambda: tonekit.resample(np.zeros((5, 3)), 8000, 16000), ValueError, "3 channels"),
        (lambda: tonekit.resample(np.zeros((5, 2, 2)), 8000, 16000), ValueError, r"not \(5, 2, 2\)"),
        (lambda: tonekit.resample(np.float32(1), 8000, 16000), ValueError, r"shape \(frames,\)"),
        (lambda: tonekit.resample(np.zeros(5, np.int64), 8000, 16000), TypeError, "not of int64"),
        (lambda: tonekit.resample(np.zeros(5, complex), 8000, 16000), TypeError, "not of complex128"),
        (lambda: tonekit.resample("audio", 8000, 16000), TypeError, "x must be an array"),
        (lambda: tonekit.resample(None, 8000, 16000), TypeError, "not of object"),
        (lambda: tonekit.convert(SILENCE, 8000, channels=3), ValueError, "channels must be one of: 1, 2, 4"),
        (lambda: tonekit.convert(SILENCE, 8000, dtype="int8"), ValueError, "dtype must be one of uint8, int16, int24"),
        (lambda: tonekit.convert(SILENCE, 8000, dtype=object), ValueError, "dtype must be one of"),
        (lambda: tonekit.convert(SILENCE, 8000, in_dtype="int24"), TypeError, "array of int32"),
        (lambda: tonekit.convert(np.zeros((4, 2), np.uint8), 8000, in_dtype="packed24"), ValueError, "3 bytes"),
        (lambda: tonekit.convert(SILENCE, 8000, dither="maybe"), ValueError, "dither must be one of: auto, on, off"),
        (lambda: tonekit.convert(SILENCE, 8000, dither_mode="blue"), ValueError, "dither_mode must be one of"),
        (lambda: tonekit.convert(SILENCE, 8000, limiter="no"), ValueError, "limiter must be one of: on, off"),
        (lambda: tonekit.Converter(8000, in_channels=9), ValueError, "in_channels must be from 1 to 8, not 9"),
        (lambda: tonekit.Converter(8000, in_dtype="float16"), ValueError, "in_dtype must be one of"),
        (lambda: tonekit.Converter(8000, in_channels=2).write(np.zeros(4, np.float32)), ValueError, "2 channels, not 1"),
        (lambda: tonekit.Converter(8000).write(np.zeros(4)), TypeError, "array of float32"),
    ],
)
def test_wrong_arguments_are_named(call, kind, message) -> None:
    with pytest.raises(kind, match=message):
        call()


def test_scalars_of_numpy_are_numbers() -> None:
    x = noise(100, 2, "float32")
    expected = tonekit.convert(x, 8000, 16000, channels=1, limiter=False)
    rates = (np.float32(8000), np.int64(16000))
    assert np.array_equal(tonekit.convert(x, *rates, channels=np.int8(1), limiter=np.False_), expected)
    assert np.array_equal(tonekit.resample(np.ma.masked_array(x), 8000, 16000), tonekit.resample(x, 8000, 16000))


def test_more_than_memory_is_a_memory_error() -> None:
    with pytest.raises(MemoryError):
        tonekit.resample(np.broadcast_to(np.float32(0), (2**45, 2)), 44100, 48000)
    with pytest.raises(MemoryError):
        tonekit.convert(np.broadcast_to(np.float32(0), (2**58, 1)), 44100, dtype="float64")
