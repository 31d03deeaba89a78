"""spectrogram.py: pictures of sound, time to the right, frequency upwards, level as colour."""

import numpy as np
from PIL import Image

WIDTH, HEIGHT = 640, 360
DEPTH = 180.0  # dB from the brightest to the darkest
WINDOW = 4096
BETA = 22.0  # a Kaiser window whose side lobes are 200 dB down

# From 0 dB down to DEPTH: dark means quiet, and lightness alone tells levels apart, so no colour vision is needed.
_STOPS = ["fcffa4", "fac228", "f57d15", "d44842", "9f2a63", "65156e", "280b53", "000004"]


def palette():
    stops = np.array([[int(stop[at : at + 2], 16) for at in (0, 2, 4)] for stop in reversed(_STOPS)])
    places = np.linspace(0, 255, len(stops))
    return np.stack([np.interp(np.arange(256), places, stops[:, band]) for band in range(3)], axis=1).round().astype(np.uint8)


def levels(samples):
    """Levels in dB of a full-scale sine, HEIGHT rows (highest frequency first) by WIDTH columns. A row holds the
    strongest of the lines that fall into it."""
    window = np.kaiser(WINDOW, BETA)
    window *= 2 / window.sum()
    padded = np.concatenate([np.zeros(WINDOW // 2), samples, np.zeros(WINDOW)])
    starts = np.linspace(0, max(len(samples) - 1, 0), WIDTH).astype(int)
    frames = np.stack([padded[at : at + WINDOW] for at in starts]) * window
    lines = np.abs(np.fft.rfft(frames, axis=1))
    edges = np.linspace(0, lines.shape[1], HEIGHT + 1).astype(int)
    rows = np.maximum.reduceat(lines, edges[:-1], axis=1).T[::-1]
    return 20 * np.log10(np.maximum(rows, 10 ** (-(DEPTH + 20) / 20)))


def draw(samples, amplitude):
    """A picture whose brightest colour is a sine of the given amplitude."""
    shown = levels(samples) - 20 * np.log10(amplitude)
    index = np.clip(np.round((shown / DEPTH + 1) * 255), 0, 255).astype(np.uint8)
    picture = Image.fromarray(index, mode="P")
    picture.putpalette(palette().tobytes())
    return picture
