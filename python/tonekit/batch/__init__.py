"""Conversion of whole archives: every file once, exactly, with books that say what became of each.

>>> import tonekit.batch
>>> summary = tonekit.batch.run("speech", "speech16k", rate=16000, channels=1, type="flac")  # doctest: +SKIP
>>> summary["done"], summary["failed"]  # doctest: +SKIP
(12804, 3)

The same call goes on where an earlier one ended. Needs ``pip install 'tonekit[batch]'``, with ``engine="ray"``
``pip install 'tonekit[ray]'``.
"""

from __future__ import annotations

from importlib import import_module
from importlib.util import find_spec
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from ._interface import run
    from ._status import status

__all__ = ["run", "status"]


def __getattr__(name: str) -> object:
    """Imports what is asked for: worker processes, which start often, need nothing of it."""
    if name not in __all__:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    if find_spec("pyarrow") is None:
        raise ImportError("pyarrow isn't installed: pip install 'tonekit[batch]'")
    module = import_module("._interface" if name == "run" else "._status", __name__)
    globals()[name] = found = getattr(module, name)
    return found
