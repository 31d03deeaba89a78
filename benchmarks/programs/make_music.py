#!/usr/bin/python3
"""make_music.py: writes WAV files for measurements: make_music.py RATE SECONDS FILE..."""

import sys
import wave

import numpy


def write_music(path, rate, seconds, seed):
    """16-bit stereo: a chord that swells, in noise."""
    noise = numpy.random.default_rng(seed)
    with wave.open(path, "wb") as file:
        file.setnchannels(2)
        file.setsampwidth(2)
        file.setframerate(rate)
        for second in range(seconds):
            at = second + numpy.arange(rate) / rate
            tones = sum(numpy.sin(2 * numpy.pi * pitch * at) / (i + 2) for i, pitch in enumerate((220, 277, 330, 1870, 5030)))
            swell = 0.25 + 0.15 * numpy.sin(2 * numpy.pi * at / 7)
            sides = numpy.stack([tones, numpy.roll(tones, 31)], axis=1) * swell[:, None]
            sides += 0.02 * noise.standard_normal(sides.shape)
            file.writeframes(numpy.round(sides * 20000).astype("<i2").tobytes())


def main():
    rate, seconds = int(sys.argv[1]), int(sys.argv[2])
    for seed, path in enumerate(sys.argv[3:]):
        write_music(path, rate, seconds, seed)


if __name__ == "__main__":
    main()
