"""Messages between the driver and its workers on this machine.

What ``multiprocessing`` offers for this takes longer to import than everything else that a worker needs.
"""

from __future__ import annotations

import os
import pickle
import select
import struct
from collections.abc import Iterable
from typing import Any

_SIZE = struct.Struct("=Q")  # of the message that follows


class Channel:
    """An end of a connected pair of stream sockets.

    :param handle: its descriptor, which is closed with the channel
    """

    def __init__(self, handle: int) -> None:
        self._handle = handle

    def send(self, message: object) -> None:
        """Sends an object; raises OSError if nobody is at the other end."""
        data = pickle.dumps(message, pickle.HIGHEST_PROTOCOL)
        left = memoryview(_SIZE.pack(len(data)) + data)
        while left:
            left = left[os.write(self._handle, left) :]

    def receive(self) -> Any:
        """Waits for an object and returns it; raises EOFError or OSError if the other end is gone, even within a message."""
        (size,) = _SIZE.unpack(self._read(_SIZE.size))
        return pickle.loads(self._read(size))

    def close(self) -> None:
        """Closes this end."""
        if self._handle >= 0:
            os.close(self._handle)
            self._handle = -1

    __del__ = close

    def fileno(self) -> int:
        """The descriptor."""
        return self._handle

    def _read(self, size: int) -> bytearray:
        data = bytearray()
        while len(data) < size:
            part = os.read(self._handle, size - len(data))
            if not part:
                raise EOFError
            data += part
        return data


def ready(channels: Iterable[Channel], seconds: float) -> list[Channel]:
    """Waits until there is something to receive, or for this time; returns the channels where there is, or whose end is gone."""
    by_handle = {channel.fileno(): channel for channel in channels}
    poll = select.poll()
    for handle in by_handle:
        poll.register(handle, select.POLLIN)
    return [by_handle[handle] for handle, _ in poll.poll(seconds * 1000)]
