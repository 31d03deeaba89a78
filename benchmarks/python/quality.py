"""Measures what a resampler does to sound: distortion and noise, aliases, pass band, and the edges of a signal.

All figures come from tones and their exact continuous-time values, in double precision.
"""

from __future__ import annotations

from collections.abc import Callable

import numpy as np

Resampler = Callable[[np.ndarray, int, int], np.ndarray]

IN, OUT = 44100, 48000
DOWN = 16000
QUALITY_HEADINGS = (
    "THD+N, 997 Hz (float32)",
    "alias of 9 to 20 kHz at 16 kHz",
    "pass band to -0.1 dB, of half rate",
    "error at the first and last 5 ms",
)


def tone(frequency: float, rate: int, seconds: float = 1.0) -> np.ndarray:
    return 0.5 * np.sin(2 * np.pi * frequency * np.arange(int(rate * seconds)) / rate)


def _fit(y: np.ndarray, frequency: float, rate: int) -> tuple[float, np.ndarray]:
    """Amplitude of the tone in y, and what is left without it."""
    phase = 2 * np.pi * frequency * np.arange(len(y)) / rate
    basis = np.stack([np.sin(phase), np.cos(phase)], axis=1)
    factors = np.linalg.lstsq(basis, y, rcond=None)[0]
    return float(np.hypot(*factors)), y - basis @ factors


def _decibels(ratio: float) -> float:
    return 20 * float(np.log10(max(ratio, 1e-20)))


def _inner(y: np.ndarray, rate: int) -> np.ndarray:
    return np.asarray(y[rate // 5 : -rate // 5], np.float64)


def distortion(resample: Resampler) -> float:
    """What isn't the tone, relative to it, in dB."""
    y = _inner(resample(tone(997, IN).astype(np.float32), IN, OUT), OUT)
    amplitude, rest = _fit(y, 997, OUT)
    return _decibels(float(np.sqrt(2 * np.mean(rest**2))) / amplitude)


def alias(resample: Resampler) -> float:
    """The loudest of what tones above half the new rate leave behind, relative to them, in dB."""
    worst = 0.0
    for frequency in (9000.0, 10007.0, 12011.0, 15013.0, 20011.0):
        y = _inner(resample(tone(frequency, IN), IN, DOWN), DOWN)
        worst = max(worst, float(np.max(np.abs(y))) / 0.5)
    return _decibels(worst)


def pass_band(resample: Resampler) -> float:
    """The highest frequency up to which the level falls by no more than 0.1 dB, as a part of half the lower rate."""
    reached = 0.0
    for part in np.arange(0.80, 1.0, 0.005):
        frequency = part * IN / 2
        amplitude, _ = _fit(_inner(resample(tone(frequency, IN), IN, OUT), OUT), frequency, OUT)
        if abs(_decibels(amplitude / 0.5)) > 0.1:
            break
        reached = float(part)
    return reached


def edges(resample: Resampler) -> float:
    """The largest error in the first and the last 5 ms of a 997 Hz tone that begins and ends inside a wave, in dB."""
    phase = 2 * np.pi * 997 / IN
    y = np.asarray(resample(0.5 * np.cos(phase * np.arange(IN)), IN, OUT), np.float64)
    exact = 0.5 * np.cos(2 * np.pi * 997 * np.arange(len(y)) / OUT)
    error = np.abs(y - exact)
    return _decibels(float(max(np.max(error[:240]), np.max(error[-240:]))) / 0.5)


def quality_of(resample: Resampler) -> tuple[str, str, str, str]:
    """The figures as they stand in the table."""
    return (
        f"{distortion(resample):.1f} dB",
        f"{alias(resample):.1f} dB",
        f"{pass_band(resample):.3f}",
        f"{edges(resample):.1f} dB",
    )
