"""Archives for the tests of batches."""

from __future__ import annotations

import sys
from collections.abc import Iterator
from pathlib import Path

import numpy as np
import pytest

import tonekit

# The empty archive of the benchmarks.
sys.path.insert(0, str(Path(__file__).resolve().parents[3] / "benchmarks" / "python"))
pytest.importorskip("pyarrow", reason="tonekit[batch] isn't installed")


def pytest_collection_modifyitems(config: pytest.Config, items: list[pytest.Item]) -> None:
    if config.getoption("markexpr"):
        return
    for item in items:
        if item.get_closest_marker("long"):
            item.add_marker(pytest.mark.skip(reason="a long test: run by make test-batch"))


@pytest.fixture
def archive(tmp_path: Path) -> Iterator[Path]:
    """Twelve files of half a second in three folders, with three that are no inputs next to them."""
    folder = tmp_path / "archive"
    t = np.arange(22050)
    for i in range(12):
        path = folder / ("", "one", "two/three")[i % 3] / f"{i:02}.{('wav', 'flac')[i % 2]}"
        path.parent.mkdir(parents=True, exist_ok=True)
        wave = np.stack([np.sin(t * (0.01 + i / 1000)), np.cos(t * (0.02 + i / 1000))], axis=1)
        tonekit.write(path, np.round(9000 * wave).astype(np.int16), 44100, set={"TITLE": f"Tone {i}"})
    (folder / "notes.md").write_text("no audio")
    (folder / ".hidden.wav").write_text("no input")
    (folder / ".cache").mkdir()
    (folder / ".cache" / "a.wav").write_text("no input")
    yield folder
