"""HDCD: codes hidden in the lowest bits of 16-bit stereo that expand its peaks and lower its quiet parts."""

from __future__ import annotations

import numpy as np
import numpy.typing as npt

from . import _core
from ._convert import Converter, _stream
from ._samples import Samples, sample_type, whole

__all__ = ["Decoder", "detect"]

_FINDINGS = ("none", "no-effect", "effective")


def _check(samples: Samples) -> None:
    if samples.type != "int16":
        raise TypeError(f"x must be an array of int16, not of {samples.array.dtype}: other samples can't carry HDCD")
    if samples.channels != 2:
        raise ValueError(f"x must have 2 channels, not {samples.channels}: other samples can't carry HDCD")


def detect(x: npt.ArrayLike) -> str:
    """Looks for HDCD.

    :param x: int16 samples of shape ``(frames, 2)``; a minute from the start of a track is enough
    :return: ``"none"``, ``"no-effect"`` (both channels carry codes, which so far change nothing) or ``"effective"``
    :raises TypeError, ValueError: if ``x`` isn't 16-bit stereo

    >>> import numpy as np
    >>> detect(np.zeros((44100, 2), np.int16))
    'none'
    """
    samples = Samples(x)
    _check(samples)
    return _FINDINGS[_core.detect_hdcd(samples.array)]


class Decoder(Converter):
    """Decodes a stream of HDCD; a :class:`tonekit.Converter` of int16 stereo.

    The results of all blocks are, to the byte, those of one block of the whole, and of ``tonekit-convert --hdcd on``.

    :param in_rate: rate of the blocks in Hz, 44100 as a rule
    :param out_rate: rate of the result; that of the blocks if None
    :param gain: dB, 0 to 6, that are added; 6 brings full scale back to full scale
    :param dtype: sample type of the result, see :func:`tonekit.convert`; ``"int24"``, which holds all of HDCD's bits, by
        default
    :param channels: and all others as for :func:`tonekit.convert`

    >>> import numpy as np
    >>> decoder = Decoder(dtype="float32")
    >>> quiet = np.full((1000, 2), 16384, np.int16)
    >>> first, rest = decoder.write(quiet), decoder.flush()
    >>> len(first) + len(rest)
    1000
    """

    def __init__(
        self,
        in_rate: int = 44100,
        out_rate: int | None = None,
        *,
        gain: int = 6,
        channels: int | None = None,
        dtype: npt.DTypeLike | str = "int24",
        quality: str = "high",
        filter: str = "normal",
        aliasing: bool = False,
        dither: str | bool = "auto",
        dither_mode: str = "triangular",
        limiter: bool = True,
    ) -> None:
        self._in_channels = 2
        self._in_type = "int16"
        self._out_type = sample_type(dtype, "dtype")
        decibels = whole(gain, "gain")
        if not 0 <= decibels <= 6:
            raise ValueError(f"gain must be a whole number from 0 to 6, not {gain}")
        options: dict[str, object] = {
            "hdcd_gain": decibels,
            "channels": channels,
            "quality": quality,
            "filter": filter,
            "aliasing": aliasing,
            "dither": dither,
            "dither_mode": dither_mode,
            "limiter": limiter,
        }
        self._stream = _stream("int16", 2, in_rate, out_rate, self._out_type, options, hdcd=True)
        self._remember_input()

    def write(self, x: npt.ArrayLike) -> npt.NDArray[np.generic]:
        """Takes int16 samples of shape ``(frames, 2)`` and returns what is ready, as :meth:`tonekit.Converter.write`."""
        if type(x) is not np.ndarray or x.dtype is not self._in_numpy or x.shape[1:] != (2,):
            _check(Samples(x))
        return super().write(x)
