"""The local engine: worker processes on this machine, replaced when one dies."""

from __future__ import annotations

import os
import signal
import socket
import subprocess
import sys
import time
from collections import deque
from collections.abc import Sequence
from typing import NamedTuple

from ._channel import Channel, ready
from ._engine import Done, Lost
from ._work import Item, Job
from ._worker import BEGUN, MARK, READY

_STARTS = 3  # attempts at starting a worker
_END_SECONDS = 10.0


class _Group(NamedTuple):
    number: int
    items: Sequence[Item]


class _Process:
    """A worker process and the groups that it has."""

    def __init__(self, job: Job) -> None:
        ours, theirs = socket.socketpair()
        self._mark = os.memfd_create("tonekit-batch")
        command = [sys.executable, "-m", "tonekit.batch._worker", str(theirs.fileno()), str(self._mark)]
        if getattr(sys.flags, "safe_path", False):  # Python 3.10 has no such flag
            command.insert(1, "-P")
        self.process = subprocess.Popen(command, pass_fds=(theirs.fileno(), self._mark), stdin=subprocess.DEVNULL)
        theirs.close()
        self.channel = Channel(ours.detach())
        self.groups: deque[_Group] = deque()
        self.waiting = 0  # groups that the process has not begun
        self.done = 0  # files of the first group
        self.ready = False
        try:
            self.channel.send(job)
        except OSError:
            pass  # seen when it is waited for

    def submit(self, group: _Group) -> None:
        self.groups.append(group)
        self.waiting += 1
        try:
            self.channel.send(group)
        except OSError:
            pass

    def receive(self, events: list[Done | Lost]) -> None:
        """Adds what the process has sent; raises EOFError or OSError at its end."""
        while ready([self.channel], 0):
            outcomes = self.channel.receive()
            if outcomes == READY:
                self.ready = True
                continue
            if outcomes == BEGUN:
                self.waiting -= 1
                continue
            while outcomes:
                items = self.groups[0].items[self.done :]
                part = outcomes[: len(items)]
                events.append(Done(items[: len(part)], part))
                outcomes = outcomes[len(part) :]
                self.done += len(part)
                if len(part) == len(items):
                    self.groups.popleft()
                    self.done = 0

    def lost(self) -> list[Lost]:
        """What the process had when it ended."""
        status = self.process.wait()
        reason = f"signal {-status} ({signal.Signals(-status).name})" if status < 0 else f"exit status {status}"
        events = []
        data = os.pread(self._mark, MARK.size, 0)
        marked, index = MARK.unpack(data) if data else (-1, 0)
        for group in self.groups:
            left = group.items[self.done :]
            culprit = index - self.done if group.number == marked and index >= self.done else None
            events.append(Lost(left, culprit, reason))
            self.done = 0
        self.groups.clear()
        return events

    def end(self) -> None:
        self.channel.close()
        os.close(self._mark)


class LocalEngine:
    """Worker processes on this machine.

    :param job: what they have to know
    :param workers: how many; as many as this process may use processors if None
    """

    group_seconds = 0.1

    def __init__(self, job: Job, workers: int | None = None) -> None:
        self._job = job
        self.workers = workers or len(os.sched_getaffinity(0))
        self._processes = [_Process(job) for _ in range(self.workers)]
        self._number = 0
        self._failed_starts = 0

    @property
    def busy(self) -> bool:
        return any(process.groups for process in self._processes)

    def room(self) -> bool:
        # A worker has its next group before it has reported the last: results take some time to be in their places.
        return any(process.waiting == 0 for process in self._processes)

    def submit(self, items: Sequence[Item]) -> None:
        process = min(self._processes, key=lambda process: (process.waiting, len(process.groups)))
        process.submit(_Group(self._number, items))
        self._number += 1

    def wait(self, seconds: float) -> Sequence[Done | Lost]:
        events: list[Done | Lost] = []
        heard = ready([process.channel for process in self._processes], seconds)
        for number, process in enumerate(self._processes):
            if process.channel not in heard:
                continue
            try:
                process.receive(events)
            except (EOFError, OSError):
                events.extend(process.lost())
                self._count_start(process)
                process.end()
                self._processes[number] = _Process(self._job)
        return events

    def _count_start(self, ended: _Process) -> None:
        self._failed_starts = 0 if ended.ready else self._failed_starts + 1
        if self._failed_starts >= _STARTS:
            raise RuntimeError(f"worker processes end at their start, with exit status {ended.process.returncode}")

    def dismiss(self) -> None:
        for process in self._processes:
            process.channel.close()

    def close(self) -> None:
        for process in self._processes:
            if process.groups:
                process.process.terminate()
            process.end()
        until = time.monotonic() + _END_SECONDS
        for process in self._processes:
            try:
                process.process.wait(max(0.0, until - time.monotonic()))
            except subprocess.TimeoutExpired:
                process.process.kill()
                process.process.wait()
