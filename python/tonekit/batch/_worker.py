"""A worker process of the local engine: ``python -m tonekit.batch._worker SOCKET MARK``, started by the engine alone."""

from __future__ import annotations

import os
import signal
import struct
import sys
from collections.abc import Iterator

from ._channel import Channel, ready
from ._work import Item, Worker

MARK = struct.Struct("=qq")  # number of the group, and of the file of it, that are in work
READY, BEGUN = "ready", "begun"  # what a worker says of itself, and of the next group that it has


def _leave(*_: object) -> None:
    raise SystemExit(0)


def _items(channel: Channel, mark: int) -> Iterator[Item | None]:
    """The files of the groups that come, each of which is noted as the one in work; None before a wait for more."""
    while True:
        if not ready([channel], 0):
            yield None
        number, items = channel.receive()
        channel.send(BEGUN)
        for index, item in enumerate(items):
            os.pwrite(mark, MARK.pack(number, index), 0)
            yield item


def serve(channel: Channel, mark: int) -> None:
    """Does the groups that come until there are no more."""
    try:
        worker = Worker(channel.receive(), f"{os.uname().nodename}:{os.getpid()}")
    except (EOFError, ConnectionError):
        return  # the run was over before it began
    try:
        channel.send(READY)
        for outcomes in worker.work(_items(channel, mark)):
            channel.send(outcomes)
    except (EOFError, ConnectionError):
        pass  # the run is over
    finally:
        worker.close()


if __name__ == "__main__":
    # An interrupt from the terminal reaches all processes; the driver decides.
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    signal.signal(signal.SIGTERM, _leave)
    serve(Channel(int(sys.argv[1])), int(sys.argv[2]))
