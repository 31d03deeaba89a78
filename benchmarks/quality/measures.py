"""measures.py: what a conversion made of a test signal, in numbers."""

import math

import numpy as np

FLOOR = -330.0  # dB: what stands for nothing at all; a double's own rounding is near


def decibels(ratio):
    """20 log10 of a ratio of amplitudes, never below FLOOR."""
    return max(20 * math.log10(ratio), FLOOR) if ratio > 0 else FLOOR


def tone(output, frequency, rate, amplitude, start):
    """Measures a tone of a whole number of Hz over one second of output from frame `start`.

    One second holds whole cycles of the tone and of every alias, image and harmonic of it, so that a plain transform
    separates them without a window. Returns gain (dB), residual (everything but the tone, dB of the input's
    amplitude), spur (the strongest other line, the same) and phase (degrees against the ideal output). Above half the
    rate there is no tone: all that comes out is residual, gain and phase are None.
    """
    if len(output) < start + rate:
        raise ValueError(f"{len(output)} frames don't hold a second from frame {start}")
    second = output[start : start + rate]
    lines = np.fft.rfft(second) * (2 / rate)
    lines[0] /= 2
    if rate % 2 == 0:
        lines[-1] /= 2
    power = np.abs(lines) ** 2
    result = {"gain": None, "phase": None}
    if 2 * frequency < rate:
        line = lines[frequency]
        turns = frequency * start % rate / rate
        phase = math.degrees(np.angle(line * np.exp(-2j * np.pi * turns))) + 90  # a sine's line has -90 degrees
        result = {"gain": decibels(abs(line) / amplitude), "phase": (phase + 180) % 360 - 180}
        power[frequency] = 0
    result["residual"] = decibels(math.sqrt(power.sum()) / amplitude)
    result["spur"] = decibels(math.sqrt(power.max()) / amplitude)
    return result


def power_spectrum(samples, size=8192):
    """The mean spectrum in dB of a full-scale sine's line, at size // 2 + 1 frequencies (Kaiser window, beta 14)."""
    window = np.kaiser(size, 14)
    scale = 2 / window.sum()
    parts = [samples[at : at + size] for at in range(0, len(samples) - size + 1, size // 2)]
    power = np.mean([np.abs(np.fft.rfft(part * window) * scale) ** 2 for part in parts], axis=0)
    return 10 * np.log10(np.maximum(power, 10 ** (FLOOR / 10)))


def null_test(original, returned):
    """The greatest and the root mean square difference of two signals, in dB of the original's root mean square."""
    frames = min(len(original), len(returned))
    difference = returned[:frames] - original[:frames]
    level = math.sqrt(np.mean(original[:frames] ** 2))
    return {
        "rms": decibels(math.sqrt(np.mean(difference**2)) / level),
        "peak": decibels(np.max(np.abs(difference)) / level),
    }
