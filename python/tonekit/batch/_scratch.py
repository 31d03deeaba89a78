"""Folders for temporary files that don't outlive their process for long, even if it is killed."""

from __future__ import annotations

import fcntl
import os
import shutil
import tempfile

_PREFIX = "tonekit-batch-"
_LOCK = "in-work"


class Scratch:
    """A folder that its process holds locked; removed by :meth:`close`, or else by the next process that makes one."""

    def __init__(self) -> None:
        _remove_left_behind(tempfile.gettempdir())
        self.path = tempfile.mkdtemp(prefix=_PREFIX)
        self._lock = os.open(os.path.join(self.path, _LOCK), os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o600)
        fcntl.flock(self._lock, fcntl.LOCK_EX)

    def file(self, name: str) -> str:
        """The path of a file in the folder."""
        return os.path.join(self.path, name)

    def close(self) -> None:
        """Removes the folder."""
        shutil.rmtree(self.path, ignore_errors=True)
        os.close(self._lock)


def _remove_left_behind(parent: str) -> None:
    for entry in os.scandir(parent):
        if not entry.name.startswith(_PREFIX) or not entry.is_dir(follow_symlinks=False):
            continue
        try:
            lock = os.open(os.path.join(entry.path, _LOCK), os.O_RDWR | os.O_CLOEXEC)
        except OSError:
            continue  # another's, or just being made
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
            shutil.rmtree(entry.path, ignore_errors=True)
        except OSError:
            pass  # in use
        finally:
            os.close(lock)
