"""Loudness and peak, by ITU-R BS.1770 and EBU R 128, and the ReplayGain that follows from it."""

from __future__ import annotations

import math
from typing import NamedTuple, NoReturn

import numpy.typing as npt

from . import _core
from ._samples import Samples, format_of, whole

__all__ = ["Loudness", "Meter", "measure"]

_REFERENCE = -18.0  # LUFS, the loudness to which ReplayGain leads


class Loudness(NamedTuple):
    """A measurement. Loudness is None where nothing was loud enough for it: 400 ms above -70 LUFS."""

    lufs: float | None
    """integrated, gated loudness in LUFS"""
    gain: float | None
    """ReplayGain in dB: what brings the audio to -18 LUFS"""
    peak: float | None
    """largest sample, or true peak, as a factor of full scale; None where it could not be measured"""
    frames: int
    """frames measured"""

    @property
    def peak_db(self) -> float | None:
        """The peak in dB of full scale (dBTP for a true peak), minus infinity for silence."""
        if self.peak is None:
            return None
        return 20.0 * math.log10(self.peak) if self.peak > 0 else -math.inf


def _check(channels: object, rate: object) -> tuple[int, int]:
    count, hertz = whole(channels, "channels"), whole(rate, "rate")
    if not 1 <= count <= 64:
        raise ValueError(f"channels must be from 1 to 64, not {channels}")
    if not 100 <= hertz <= 2822400:
        raise ValueError(f"rate must be from 100 to 2822400 Hz, not {rate}")
    return count, hertz


class Meter:
    """Measures a stream of blocks, or all tracks of an album one after the other.

    One channel is measured as dual mono, as loud as the same on two; 4, 5 and 6 channels are weighted by their places (see
    :func:`tonekit.convert`), without the LFE of 6.

    :param channels: 1 to 64
    :param rate: 100 to 2822400 Hz
    :param true_peak: find the peak between samples too; slower

    >>> import numpy as np
    >>> meter = Meter(1, 48000)
    >>> for _ in range(100):
    ...     meter.write(np.sin(np.arange(480) * (2 * np.pi * 1000 / 48000)) * 0.1)
    >>> meter.result.gain is not None, meter.frames
    (True, 48000)

    One thread at a time; a second one gets a RuntimeError.
    """

    def __init__(self, channels: int, rate: int, *, true_peak: bool = False) -> None:
        self._meter = _core.Meter(*_check(channels, rate), bool(true_peak))

    def write(self, x: npt.ArrayLike, *, in_dtype: npt.DTypeLike | str | None = None) -> None:
        """Measures a block: samples of any type and memory order, as for :func:`tonekit.convert`."""
        samples = Samples(x, in_dtype)
        self._meter.write(samples.array, format_of(samples.type))

    def change(self, channels: int, rate: int) -> None:
        """Goes on with blocks of other channels or another rate; what was heard so far keeps its weight."""
        self._meter.change(*_check(channels, rate))

    def __reduce__(self) -> NoReturn:
        raise TypeError("a Meter can't be copied or pickled: make another one")

    @property
    def frames(self) -> int:
        """Frames measured so far."""
        return self._meter.frames

    @property
    def result(self) -> Loudness:
        """The measurement so far; it may go on."""
        gain, peak = self._meter.gain, self._meter.peak
        known = not math.isnan(gain)
        return Loudness(
            _REFERENCE - gain if known else None,
            gain if known else None,
            None if math.isnan(peak) else peak,
            self._meter.frames,
        )


def measure(x: npt.ArrayLike, rate: int, *, true_peak: bool = False, in_dtype: npt.DTypeLike | str | None = None) -> Loudness:
    """Measures an array.

    :param x: samples as for :func:`tonekit.convert`, of up to 64 channels
    :param rate: their rate in Hz, 100 to 2822400
    :param true_peak: find the peak between samples too; slower
    :param in_dtype: ``"int24"`` or ``"packed24"`` if ``x`` has 24-bit samples in one of these forms

    >>> import numpy as np
    >>> tone = np.sin(np.arange(96000) * (2 * np.pi * 997 / 48000))
    >>> result = measure(np.stack([tone, tone], axis=1), 48000)
    >>> round(abs(result.lufs), 1), round(result.peak, 3)
    (0.0, 1.0)
    """
    samples = Samples(x, in_dtype)
    meter = Meter(samples.channels, rate, true_peak=true_peak)
    meter._meter.write(samples.array, format_of(samples.type))
    return meter.result
