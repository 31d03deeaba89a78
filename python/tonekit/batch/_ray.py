"""The engine that runs groups of files as tasks of a Ray cluster."""

from __future__ import annotations

import atexit
import os
import time
from collections.abc import Sequence
from typing import Any

from ._engine import Done, Lost
from ._work import Item, Job, Outcome, Worker

_AHEAD = 2  # groups for each processor, so that none waits for the next
_LOOK_SECONDS = 5.0  # after which the cluster may have grown

_workers: dict[str, Worker] = {}  # of this process, by what they do


def do(job: Job, items: Sequence[Item]) -> list[Outcome]:
    """Does a group of files, on a worker of Ray."""
    return worker_for(job).outcomes(items)


def worker_for(job: Job) -> Worker:
    """The worker of this process for a job."""
    key = repr(job)
    if key not in _workers:
        _workers[key] = Worker(job, f"{os.uname().nodename}:{os.getpid()}")
        atexit.register(_workers[key].close)
    return _workers[key]


class RayEngine:
    """The processors of a Ray cluster.

    :param job: what workers have to know
    :param workers: groups in work at a time; as many as the cluster has processors if None
    :param address: of the cluster; None uses the one that the process is connected to, or starts one here
    :raises ValueError: without Ray; ConnectionError: without a cluster at the address
    """

    group_seconds = 1.0

    def __init__(self, job: Job, workers: int | None = None, address: str | None = None) -> None:
        try:
            import ray
        except ImportError:
            raise ValueError("engine='ray' needs Ray: pip install 'tonekit[ray]'") from None
        self._ray = ray
        self._connected = not ray.is_initialized()
        if self._connected:
            ray.init(address=address, log_to_driver=False, logging_level="warning")
        self._limit = workers
        self._looked = -_LOOK_SECONDS
        self._processors = 1
        self._job = ray.put(job)
        # What is tried again and how often is the schedule's matter.
        self._do = ray.remote(do).options(num_cpus=1, max_retries=0, scheduling_strategy="SPREAD")
        self._groups: dict[Any, Sequence[Item]] = {}

    @property
    def workers(self) -> int:
        now = time.monotonic()
        if now - self._looked >= _LOOK_SECONDS:
            self._looked = now
            self._processors = max(1, int(self._ray.cluster_resources().get("CPU", 1)))
        return min(self._limit or self._processors, self._processors)

    @property
    def busy(self) -> bool:
        return bool(self._groups)

    def room(self) -> bool:
        return len(self._groups) < (self._limit or self.workers * _AHEAD)

    def submit(self, items: Sequence[Item]) -> None:
        self._groups[self._do.remote(self._job, items)] = items

    def wait(self, seconds: float) -> Sequence[Done | Lost]:
        references = list(self._groups)
        ready, _ = self._ray.wait(references, num_returns=1, timeout=seconds)
        if ready:
            ready, _ = self._ray.wait(references, num_returns=len(references), timeout=0)
        return [self._event(reference) for reference in ready]

    def _event(self, reference: Any) -> Done | Lost:
        items = self._groups.pop(reference)
        try:
            return Done(items, self._ray.get(reference))
        except self._ray.exceptions.RayTaskError as error:
            # No file's fault: the package isn't there, or is another.
            raise RuntimeError(f"a worker of the cluster can't work: {error.cause or error}") from None
        except self._ray.exceptions.RayError as error:
            return Lost(items, 0 if len(items) == 1 else None, type(error).__name__)

    def dismiss(self) -> None:
        pass  # the cluster's workers are its own

    def close(self) -> None:
        for reference in self._groups:
            self._ray.cancel(reference)
        self._groups.clear()
        if self._connected:
            self._ray.shutdown()
