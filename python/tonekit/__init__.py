"""Exact and fast conversion of audio: rates, sample types, channels, files, HDCD, loudness and tags.

>>> import numpy as np, tonekit
>>> tone = np.sin(np.arange(44100) * 0.05).astype(np.float32)
>>> tonekit.resample(tone, 44100, 16000).shape
(16000,)

Arrays of samples have the shape ``(frames,)`` or ``(frames, channels)``. Full scale is -1.0 to +1.0 for floats and the
range of the type for integers; 8-bit samples are unsigned with silence at 128. Results of equal input are equal to the
last bit, whatever the memory order of the input, the size of its blocks and the thread.
"""

from __future__ import annotations

from importlib import import_module
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    __version__: str
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

_MODULES = {
    "_bodies": ("use_bodies",),
    "_convert": ("Converter", "convert", "resample"),
    "_files": ("Audio", "FileError", "convert_file", "info", "read", "write"),
}
_PLACES = {name: module for module, names in _MODULES.items() for name in names}


def __getattr__(name: str) -> object:
    """Imports what is asked for: NumPy takes ten times as long as the rest, and a worker that converts files needs none."""
    if name == "__version__":
        from importlib.metadata import version

        globals()[name] = version("tonekit")
        return globals()[name]
    if name not in __all__:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    if name in _PLACES:
        globals()[name] = getattr(import_module(f".{_PLACES[name]}", __name__), name)
    else:
        globals()[name] = import_module(f".{name}", __name__)
    return globals()[name]


def __dir__() -> list[str]:
    return sorted({*globals(), *__all__})
