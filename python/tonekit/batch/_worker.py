"""A worker process of the local engine: ``python -m tonekit.batch._worker SOCKET MARK``, started by the engine alone."""

from __future__ import annotations

import os
import signal
import struct
import sys
import time
from collections.abc import Callable

from ._channel import Channel
from ._work import Worker

MARK = struct.Struct("=qq")  # number of the group, and of the file of it, that are in work
_REPORT_SECONDS = 0.1


def _leave(*_: object) -> None:
    raise SystemExit(0)


def _marker(mark: int, number: int) -> Callable[[int], object]:
    """Notes a file of a group as the one that is in work."""
    return lambda index: os.pwrite(mark, MARK.pack(number, index), 0)


def serve(channel: Channel, mark: int) -> None:
    """Does the groups that come until there are no more."""
    try:
        worker = Worker(channel.receive(), f"{os.uname().nodename}:{os.getpid()}")
    except (EOFError, ConnectionError):
        return  # the run was over before it began
    try:
        channel.send("ready")
        while True:
            number, items = channel.receive()
            outcomes, due = [], time.monotonic() + _REPORT_SECONDS
            for outcome in worker.outcomes(items, _marker(mark, number)):
                outcomes.append(outcome)
                if time.monotonic() >= due:
                    channel.send(outcomes)
                    outcomes, due = [], time.monotonic() + _REPORT_SECONDS
            if outcomes:
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
