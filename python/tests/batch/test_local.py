"""The local engine alone: when its workers get groups, and how it hears of their files."""

from __future__ import annotations

from collections.abc import Iterator
from pathlib import Path

import numpy as np
import pytest
from batches import KILLER, environment

import tonekit
from tonekit.batch._engine import Done
from tonekit.batch._local import LocalEngine
from tonekit.batch._work import Item, Job


@pytest.fixture
def source(tmp_path: Path) -> str:
    tonekit.write(tmp_path / "a.wav", np.zeros((441, 1), np.int16), 44100)
    return str(tmp_path / "a.wav")


@pytest.fixture
def engine(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Iterator[LocalEngine]:
    """One worker, which takes half a second longer for each file."""
    for name, value in {**environment(tmp_path / "custom", KILLER), "SLOW": "0.5"}.items():
        monkeypatch.setenv(name, value)
    engine = LocalEngine(Job(str(tmp_path / "out"), [("type", "flac")], {}), workers=1)
    yield engine
    engine.close()


def items(source: str, first: int, count: int) -> list[Item]:
    return [Item(source, f"{number}.flac", 0, "", 0) for number in range(first, first + count)]


def test_a_worker_has_its_next_group_before_it_reports_the_last(engine: LocalEngine, source: str) -> None:
    assert engine.room()
    engine.submit(items(source, 0, 1))
    for group in (1, 2):
        while not engine.room():
            events = engine.wait(60.0)
            assert [event for event in events if isinstance(event, Done) and event.items[0].name == f"{group - 1}.flac"] == []
        engine.submit(items(source, group, 1))
        assert not engine.room()  # one that waits is enough
    while engine.busy:
        engine.wait(60.0)
    assert engine.room()


def test_outcomes_of_several_groups_in_one_message_are_told_apart(tmp_path: Path, source: str) -> None:
    engine = LocalEngine(Job(str(tmp_path / "out"), [("type", "flac")], {}), workers=1)
    groups = [items(source, 0, 20), items(source, 20, 1), items(source, 21, 30)]
    for group in groups:
        engine.submit(group)
    heard: list[Item] = []
    while engine.busy:
        for event in engine.wait(60.0):
            assert isinstance(event, Done)
            assert len(event.items) == len(event.outcomes) > 0
            assert [outcome["state"] for outcome in event.outcomes] == ["done"] * len(event.items)
            assert any(all(item in group for item in event.items) for group in groups)
            heard += event.items
    engine.close()
    assert heard == sum(groups, [])
