"""signals.py: the test signals, exact to the last bits of a double."""

import wave

import numpy as np

AMPLITUDE = 0.5


def sine(frequency, rate, frames, amplitude=AMPLITUDE):
    """A sine of a whole number of Hz. The phase is reduced in integers, so that it stays exact however long it runs."""
    turns = (np.arange(frames, dtype=np.int64) * frequency) % rate
    return amplitude * np.sin(turns * (2 * np.pi / rate))


def sweep(rate, seconds, amplitude=AMPLITUDE):
    """A sine whose frequency rises in a straight line from 0 to half the rate."""
    n = np.arange(rate * seconds, dtype=np.int64)
    whole = 4 * rate * seconds  # the phase is n * n / whole turns
    return amplitude * np.sin((n * n % whole) * (2 * np.pi / whole))


def impulse(frames, position, amplitude=AMPLITUDE):
    samples = np.zeros(frames)
    samples[position] = amplitude
    return samples


def step(frames, position, amplitude=AMPLITUDE):
    samples = np.zeros(frames)
    samples[position:] = amplitude
    return samples


def kick(rate, frames):
    """A kick drum: a tone that falls from 150 to 45 Hz and dies away, cut off in the middle of its first wave."""
    t = np.arange(frames) / rate
    phase = 45 * t + (150 - 45) * 0.03 * (1 - np.exp(-t / 0.03))
    return 0.8 * np.cos(2 * np.pi * phase) * np.exp(-t / 0.25)


def noise(frames, seed, level=0.1):
    return np.random.default_rng(seed).standard_normal(frames) * level


def recording(path):
    """The samples of the first channel of a 16-bit WAV file, and its rate."""
    with wave.open(path) as file:
        if file.getsampwidth() != 2:
            raise ValueError(f"{path}: {8 * file.getsampwidth()} bits, not 16")
        samples = np.frombuffer(file.readframes(file.getnframes()), dtype="<i2")
        return samples[:: file.getnchannels()] / 32768.0, file.getframerate()
