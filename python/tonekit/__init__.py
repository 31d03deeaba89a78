"""Exact and fast conversion of audio: rates, sample types, channels, files, HDCD, loudness and tags.

>>> import numpy as np, tonekit
>>> tone = np.sin(np.arange(44100) * 0.05).astype(np.float32)
>>> tonekit.resample(tone, 44100, 16000).shape
(16000,)

Arrays of samples have the shape ``(frames,)`` or ``(frames, channels)``. Full scale is -1.0 to +1.0 for floats and the
range of the type for integers; 8-bit samples are unsigned with silence at 128. Results of equal input are equal to the
last bit, whatever the memory order of the input, the size of its blocks and the thread.
"""

from . import hdcd, image, loudness
from ._bodies import use_bodies
from ._convert import Converter, convert, resample
from ._files import Audio, FileError, convert_file, info, read, write

__all__ = [
    "Audio",
    "Converter",
    "FileError",
    "convert",
    "convert_file",
    "hdcd",
    "image",
    "info",
    "loudness",
    "read",
    "resample",
    "use_bodies",
    "write",
]
