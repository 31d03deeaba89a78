"""Conversion of arrays: rate, channels and sample type."""

from __future__ import annotations

from collections.abc import Iterable, Iterator
from functools import partial
from types import TracebackType
from typing import NoReturn

import numpy as np
import numpy.typing as npt

from . import _core
from ._options import TABLE, option_list
from ._samples import Array, Samples, dtype_of, format_of, sample_type, whole

# The options of the table that concern arrays.
_OF_ARRAYS = {
    name: TABLE[name]
    for name in ("rate", "channels", "quality", "filter", "aliasing", "dither", "dither_mode", "limiter", "hdcd_gain")
}


def _check_channels(channels: int) -> None:
    if not 1 <= channels <= 8:
        raise ValueError(f"x must have 1 to 8 channels, not {channels}")


def _rate(value: object, argument: str) -> int:
    """Checks a rate by the option table, under the name that the caller knows."""
    rate = whole(value, argument)
    try:
        _core.check_option("rate", str(rate))
    except ValueError as error:
        raise ValueError(str(error).replace("rate", argument, 1)) from None
    return rate


def _stream(
    in_type: str,
    channels: int,
    in_rate: object,
    out_rate: object,
    out_type: str,
    options: dict[str, object],
    hdcd: bool = False,
) -> _core.Stream:
    rate = _rate(in_rate, "in_rate")
    options["rate"] = rate if out_rate is None else _rate(out_rate, "out_rate")
    return _core.Stream(
        format_of(in_type), channels, rate, format_of(out_type), option_list(options, "convert", _OF_ARRAYS), hdcd
    )


def _whole(stream: _core.Stream, x: Array | None, flat: bool) -> Array:
    """Converts what is left of a stream; there is a result, if an empty one."""
    result = stream.run(x, True, flat)
    assert result is not None
    return result


def resample(
    x: npt.ArrayLike,
    in_rate: int,
    out_rate: int,
    *,
    quality: str = "high",
    filter: str = "normal",
    aliasing: bool = False,
) -> Array:
    """Changes the sample rate of an array.

    :param x: samples of shape ``(frames,)`` or ``(frames, channels)`` with 1, 2, 4, 5, 6, 7 or 8 channels, of type uint8,
        int16, int32, float32 or float64, in any memory order. An array in C order isn't copied. Floats beyond -1.0 to
        +1.0 are clipped in the result.
    :param in_rate: rate of ``x``, a whole number of Hz from 1000 to 1536000
    :param out_rate: rate of the result, likewise
    :param quality: ``"normal"`` (20 bits), ``"high"`` (28), ``"very-high"`` (32, in double precision) or ``"best"``
    :param filter: the pass band: ``"normal"`` (to 0.91 of the lower half rate), ``"steep"`` (0.98) or ``"steeper"`` (0.995)
    :param aliasing: allow a little aliasing for a shorter filter, at rates of 44100 Hz and up
    :return: a new array in C order with the type and the number of dimensions of ``x`` and
        ``frames * out_rate / in_rate`` frames, to the nearest whole number; an exact half may go either way. The stretch
        of time that it covers is that of ``x``: nothing is delayed or cut.
    :raises ValueError: where an argument is out of its range; TypeError: where it is of another type; MemoryError
    :rtype: numpy.ndarray

    >>> import numpy as np
    >>> resample(np.zeros((44100, 2), np.int16), 44100, 48000).shape
    (48000, 2)

    The GIL is released during the work; calls in several threads run at once.
    """
    samples = Samples(x)
    _check_channels(samples.channels)
    whole(out_rate, "out_rate")
    options: dict[str, object] = {"quality": quality, "filter": filter, "aliasing": aliasing}
    stream = _stream(samples.type, samples.channels, in_rate, out_rate, samples.type, options)
    return _whole(stream, samples.array, samples.flat)


def convert(
    x: npt.ArrayLike,
    in_rate: int,
    out_rate: int | None = None,
    *,
    channels: int | None = None,
    dtype: npt.DTypeLike | str | None = None,
    in_dtype: npt.DTypeLike | str | None = None,
    quality: str = "high",
    filter: str = "normal",
    aliasing: bool = False,
    dither: str | bool = "auto",
    dither_mode: str = "triangular",
    limiter: bool = True,
) -> Array:
    """Changes rate, channels and sample type of an array in one pass.

    Channels are in the order left, right, centre, LFE, back or surround left, back or surround right, side left, side
    right, as far as they exist: 4 are left, right and the surrounds, 5 have a centre after right, 6 are 5.1, 7 are 6.1 with
    the back centre after the LFE, 8 are 7.1.

    :param x: as for :func:`resample`
    :param in_rate: rate of ``x`` in Hz
    :param out_rate: rate of the result; that of ``x`` if None
    :param channels: 1, 2, 4, 5, 6, 7 or 8 channels of the result; those of ``x`` if None. (Of 3 channels the third is
        ignored, and ``channels`` has to be set.)
    :param dtype: sample type of the result: uint8, int16, int32, float32, float64, ``"int24"`` (24 bits in the upper three
        bytes of an int32, the lowest byte 0) or ``"packed24"`` (three little-endian bytes, a last dimension of 3 uint8)
    :param in_dtype: ``"int24"`` or ``"packed24"`` if ``x`` has 24-bit samples in one of these forms
    :param quality: as for :func:`resample`, like ``filter`` and ``aliasing``
    :param dither: ``"auto"`` (where the result has fewer bits than ``x``; a float counts as its own bits), True or False.
        The noise goes on from one call to the next, so that dithered results of equal input differ.
    :param dither_mode: ``"rectangular"``, ``"triangular"`` (high-pass) or ``"shaped"`` (noise shaping)
    :param limiter: lower the gain for good where a mix to fewer channels exceeds full scale, instead of clipping
    :return: a new array of the shape ``(frames, channels)``, or ``(frames,)`` for one channel of an ``x`` of one dimension
    :raises ValueError: where an argument is out of its range; TypeError: where it is of another type; MemoryError

    >>> import numpy as np
    >>> stereo = np.zeros((96000, 2), np.float32)
    >>> convert(stereo, 96000, 44100, channels=1, dtype="int16").shape
    (44100, 1)
    """
    samples = Samples(x, in_dtype)
    _check_channels(samples.channels)
    out_type = samples.type if dtype is None else sample_type(dtype, "dtype")
    options: dict[str, object] = {
        "channels": channels,
        "quality": quality,
        "filter": filter,
        "aliasing": aliasing,
        "dither": dither,
        "dither_mode": dither_mode,
        "limiter": limiter,
    }
    stream = _stream(samples.type, samples.channels, in_rate, out_rate, out_type, options)
    return _whole(stream, samples.array, samples.flat and stream.output_channels == 1)


class Converter:
    """Converts a stream of blocks; together the results are, to the byte, those of one :func:`convert` of the whole.

    Samples are returned in blocks of up to 65536 frames of the faster of both rates, so many calls of :meth:`write` return
    empty arrays, and :meth:`flush` returns the rest. (At equal rates a block has 262144 frames; where neither rate, channels
    nor type change, frames are returned at once.)

    :param in_rate: rate of the blocks in Hz
    :param out_rate: rate of the result; that of the blocks if None
    :param in_channels: channels of the blocks, 1 to 8
    :param in_dtype: sample type of the blocks, see :func:`convert`
    :param channels: and all others as for :func:`convert`

    >>> import numpy as np
    >>> with Converter(48000, 16000, in_channels=2, channels=1) as converter:
    ...     parts = [converter.write(np.zeros((480, 2), np.float32)) for _ in range(100)]
    ...     parts.append(converter.flush())
    >>> sum(len(part) for part in parts)
    16000

    One thread at a time may use a converter; a second one gets a RuntimeError. Converters are independent of each other.
    """

    def __init__(
        self,
        in_rate: int,
        out_rate: int | None = None,
        *,
        in_channels: int = 1,
        in_dtype: npt.DTypeLike | str = "float32",
        channels: int | None = None,
        dtype: npt.DTypeLike | str | None = None,
        quality: str = "high",
        filter: str = "normal",
        aliasing: bool = False,
        dither: str | bool = "auto",
        dither_mode: str = "triangular",
        limiter: bool = True,
    ) -> None:
        self._in_channels = whole(in_channels, "in_channels")
        if not 1 <= self._in_channels <= 8:
            raise ValueError(f"in_channels must be from 1 to 8, not {in_channels}")
        self._in_type = sample_type(in_dtype, "in_dtype")
        self._out_type = self._in_type if dtype is None else sample_type(dtype, "dtype")
        options: dict[str, object] = {
            "channels": channels,
            "quality": quality,
            "filter": filter,
            "aliasing": aliasing,
            "dither": dither,
            "dither_mode": dither_mode,
            "limiter": limiter,
        }
        self._stream = _stream(self._in_type, self._in_channels, in_rate, out_rate, self._out_type, options)
        self._remember_input()

    def _remember_input(self) -> None:
        """Notes what blocks usually are, so that little has to be asked of them."""
        self._in_numpy = None if self._in_type == "packed24" else dtype_of(self._in_type)
        self._set_flat(self._in_channels == 1 and self._stream.output_channels == 1)
        self._in_dimensions = 1 if self._flat else 2

    def _set_flat(self, flat: bool) -> None:
        """Sets whether results have one dimension."""
        self._flat = flat
        shape: tuple[int, ...] = (0,) if flat else (0, self._stream.output_channels)
        if self._out_type == "packed24":
            shape += (3,)
        self._nothing = partial(np.empty, shape, dtype_of(self._out_type))

    def write(self, x: npt.ArrayLike) -> Array:
        """Takes a block and returns what is ready, which may be an array of 0 frames.

        :param x: samples of the converter's type, of shape ``(frames, in_channels)``, or ``(frames,)`` for one channel.
            With one channel in and out, the first block decides whether results have one dimension or two.
        :raises RuntimeError: after :meth:`flush`, or while another thread is using this converter. MemoryError and what
            signals raise, as KeyboardInterrupt, end the stream, since results are lost; ValueError and TypeError don't.
        """
        if type(x) is np.ndarray and x.dtype is self._in_numpy and x.ndim == self._in_dimensions and x.flags.aligned:
            array = x  # the usual block, of which the extension checks the rest
        else:
            samples = Samples(x, self._in_type)
            array = samples.array
            if self._stream.input_frames == 0:
                self._set_flat(samples.flat and self._stream.output_channels == 1)
                self._in_dimensions = 1 if samples.flat else 2
        result = self._stream.run(array, False, self._flat)
        return self._nothing() if result is None else result

    def flush(self) -> Array:
        """Ends the stream and returns its last frames.

        :raises RuntimeError: after an earlier flush, or while another thread is using this converter
        """
        return _whole(self._stream, None, self._flat)

    def process(self, blocks: Iterable[npt.ArrayLike]) -> Iterator[Array]:
        """Converts all blocks of an iterable, and yields what is ready, without empty arrays, to the end of the stream.

        >>> import numpy as np
        >>> blocks = (np.zeros(441, np.float32) for _ in range(100))
        >>> sum(len(block) for block in Converter(44100, 48000).process(blocks))
        48000
        """
        for block in blocks:
            result = self.write(block)
            if len(result):
                yield result
        result = self.flush()
        if len(result):
            yield result

    def __reduce__(self) -> NoReturn:
        raise TypeError(f"a {type(self).__name__} can't be copied or pickled: make another one")

    @property
    def in_frames(self) -> int:
        """Frames taken so far."""
        return self._stream.input_frames

    @property
    def out_frames(self) -> int:
        """Frames returned so far."""
        return self._stream.output_frames

    @property
    def channels(self) -> int:
        """Channels of the results."""
        return self._stream.output_channels

    @property
    def dtype(self) -> str:
        """Sample type of the results, by its name."""
        return self._out_type

    @property
    def dithers(self) -> bool:
        """Whether the results are dithered."""
        return self._stream.dithers

    def __enter__(self) -> Converter:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        """Frees nothing but the right to go on: frames that were not flushed are dropped."""
        self._stream.close()
