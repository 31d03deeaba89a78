"""The choice between the bodies of the library's functions."""

from __future__ import annotations

from . import _core

__all__ = ["use_bodies"]


def use_bodies(name: str) -> str:
    """Chooses which bodies of the library's functions run from now on, in all threads of the process.

    All of them return the same bits; only their speed differs. Without a call ``"auto"`` holds.

    :param name: ``"auto"`` for the fastest that the processor has the instructions for, whoever made it; ``"plain"`` for
        those that the library selects by itself, which uses such instructions on one make of processors only; or a
        letter, ``"A"`` (any processor), ``"L"``, ``"M"``, ``"N"``, ``"P"``, ``"R"``, ``"S"`` or ``"V"`` (AVX2)
    :return: the letter whose bodies run, or ``"plain"``
    :raises ValueError: if there is no such choice, or the processor lacks instructions for it

    >>> use_bodies("plain")
    'plain'
    >>> use_bodies("auto") in "ALMNPRSV"
    True
    """
    if not isinstance(name, str):
        raise TypeError(f"name must be a text, not {name!r}")
    if not name.isascii():
        raise ValueError(f"name must be auto, plain or a letter, not {name!r}")
    return _core.use_bodies(name) or "plain"
