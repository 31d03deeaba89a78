"""Archives of any number of files that take no work, to see what the driver alone does."""

from __future__ import annotations

import time
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any

from tonekit.batch._conversion import Conversion
from tonekit.batch._engine import Done, Lost
from tonekit.batch._listing import Entry
from tonekit.batch._run import Run
from tonekit.batch._work import Item


def made(source: str, size: int = 1000) -> dict[str, Any]:
    """A row as a conversion of three seconds makes it."""
    return {
        "source": source,
        "size": size,
        "stamp": "1795000000000000000",
        "target": f"{source}.flac",
        "state": "done",
        "in_type": "WAV",
        "in_encoding": "Signed 16 bit PCM",
        "in_rate": 44100,
        "in_channels": 2,
        "in_format": "16 bit",
        "in_frames": 132300,
        "out_type": "FLAC",
        "out_encoding": "Signed 16 bit PCM",
        "out_rate": 16000,
        "out_channels": 1,
        "out_format": "16 bit",
        "out_frames": 48000,
        "audio_seconds": 3.0,
        "work_seconds": 0.003,
        "speed": 1000.0,
        "total_seconds": 0.004,
        "digest": f"{hash(source) & (1 << 64) - 1:016x}" * 4,
        "dithered": False,
        "warnings": [],
        "target_size": 60000,
        "target_digest": f"{hash(source + '.') & (1 << 64) - 1:016x}" * 4,
        "worker": "node:1",
        "finished": int(time.time() * 1e6),
    }


class EmptyEngine:
    """Workers whose work takes no time, whatever they say of it.

    :param seconds: of work that a file is said to have taken
    """

    def __init__(self, seconds: float = 0.001, group_seconds: float = 0.1, workers: int = 4) -> None:
        self.group_seconds = group_seconds
        self.workers = workers
        self._seconds = seconds
        self._groups: list[Sequence[Item]] = []

    @property
    def busy(self) -> bool:
        return bool(self._groups)

    def room(self) -> bool:
        return len(self._groups) < 2 * self.workers

    def submit(self, items: Sequence[Item]) -> None:
        self._groups.append(items)

    def wait(self, seconds: float) -> Sequence[Done | Lost]:
        groups, self._groups = self._groups, []
        return [self.event(group) for group in groups]

    def event(self, group: Sequence[Item]) -> Done | Lost:
        """What becomes of a group."""
        return Done(group, [{**made(item.source), "total_seconds": self._seconds} for item in group])

    def dismiss(self) -> None:
        pass

    def close(self) -> None:
        pass


def entries(count: int) -> Iterator[Entry]:
    """Names as an archive of speech has them, a thousand in a folder."""
    for i in range(count):
        name = f"{i // 1_000_000:03}/{i // 1000 % 1000:03}/utterance-{i:09}.wav"
        yield Entry(f"/archive/{name}", name, 96_044, "1795000000000000000")


class SimulatedRun(Run):
    """A run over names that are nowhere."""

    count = 0

    def entries(self) -> Iterator[Entry]:
        return entries(self.count)


def simulated(folder: Path, count: int) -> dict[str, Any]:
    """Runs over `count` names with an empty conversion; books and results belong in `folder`."""
    # Nothing of a folder of this machine is looked at where results are elsewhere.
    run = SimulatedRun(
        "/archive",
        f"memory://{folder.name}",
        Conversion({"rate": 16000, "type": "flac"}),
        manifest=folder,
        column="path",
        base=None,
        retry_failed=False,
        verify=False,
        storage=None,
    )
    run.count = count
    return run.run(EmptyEngine(), "empty", show=False)
