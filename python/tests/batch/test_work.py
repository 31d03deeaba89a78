"""What a worker does to its files, one after another, and when their results are in place."""

from __future__ import annotations

import fcntl
import hashlib
import os
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import tonekit
from tonekit import _core
from tonekit.batch import _work
from tonekit.batch._storage import Store
from tonekit.batch._work import Item, Job, Worker

PAIRS = [("type", "wav"), ("rate", "48000"), ("hash", "sha256"), ("dither", "off")]
RESULT_SIZE = 44 + 2 * 2 * 96_000  # of two seconds


@pytest.fixture
def sources(tmp_path: Path) -> list[str]:
    """Three files of two seconds of stereo noise."""
    rng = np.random.default_rng(5)
    for i in range(3):
        noise = (rng.standard_normal((88_200, 2)) * 3000).astype(np.int16)
        tonekit.write(tmp_path / f"{i}.wav", noise, 44100)
    return [str(tmp_path / f"{i}.wav") for i in range(3)]


def item(source: str, name: str) -> Item:
    return Item(source, name, 0, "", 0)


def names_in(folder: Path) -> list[str]:
    return sorted(str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file())


def test_outcomes_come_in_order_when_their_results_are_in_place(tmp_path: Path, sources: list[str]) -> None:
    out = tmp_path / "out"
    worker = Worker(Job(str(out), PAIRS, {}), "me")
    begun: list[int] = []
    items = [
        item(sources[0], "a/0.wav"),
        item("/nowhere/1.wav", "1.wav"),
        item(sources[1], "2.wav"),
        item(sources[2], "b/3.wav"),
        item("/nowhere/4.wav", "4.wav"),
    ]

    def taken() -> Iterator[Item]:
        for index, one in enumerate(items):
            begun.append(index)
            yield one

    outcomes = []
    for together in worker.work(taken()):
        for outcome in together:
            outcomes.append(outcome)
            if outcome["state"] == "done":
                assert (out / items[len(outcomes) - 1].name).stat().st_size == RESULT_SIZE
    worker.close()
    assert begun == [0, 1, 2, 3, 4]
    assert [outcome["state"] for outcome in outcomes] == ["done", "failed", "done", "done", "failed"]
    assert [outcome.get("error") for outcome in outcomes] == [
        None,
        "/nowhere/1.wav: no such file",
        None,
        None,
        "/nowhere/4.wav: no such file",
    ]
    assert names_in(out) == ["2.wav", "a/0.wav", "b/3.wav"]
    for one, row in zip(items, outcomes, strict=True):
        assert row["worker"] == "me" and row["total_seconds"] > 0 and row["finished"] > 1.7e15
        if row["state"] == "done":
            assert row["target_size"] == RESULT_SIZE
            assert row["target_digest"] == hashlib.sha256((out / one.name).read_bytes()).hexdigest()


def test_all_outcomes_come_before_a_wait_for_more_files(tmp_path: Path, sources: list[str]) -> None:
    worker = Worker(Job(str(tmp_path / "out"), PAIRS, {}), "me")
    outcomes: list[Any] = []
    waits: list[tuple[int, list[str]]] = []

    def files() -> Iterator[Item | None]:
        for number, name in enumerate(("0.wav", None, None, "1.wav", "none.wav", None, "2.wav")):
            if name:
                yield item(sources[0] if name != "none.wav" else "/nowhere.wav", name)
            else:
                yield None
                waits.append((number, names_in(tmp_path / "out")))
                assert len(outcomes) == {1: 1, 2: 1, 5: 3}[number]

    for together in worker.work(files()):
        assert together
        outcomes += together
    assert [outcome["state"] for outcome in outcomes] == ["done", "done", "failed", "done"]
    assert waits == [(1, ["0.wav"]), (2, ["0.wav"]), (5, ["0.wav", "1.wav"])]


def test_short_files_are_placed_together_and_long_ones_at_once(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    tonekit.write(tmp_path / "a.wav", np.zeros((100, 2), np.int16), 44100)
    files = [item(str(tmp_path / "a.wav"), f"{i}.wav") for i in range(50)]
    monkeypatch.setattr(_work, "_TOGETHER_SECONDS", 1e9)
    assert [len(part) for part in Worker(Job(str(tmp_path / "one"), PAIRS, {}), "me").work(files)] == [16, 16, 16, 2]
    monkeypatch.setattr(_work, "_TOGETHER_SECONDS", 0.0)
    assert [len(part) for part in Worker(Job(str(tmp_path / "two"), PAIRS, {}), "me").work(files)] == [1] * 50
    assert len(names_in(tmp_path / "one")) == len(names_in(tmp_path / "two")) == 50


def test_of_results_that_are_placed_together_the_others_are_in_place(tmp_path: Path, sources: list[str]) -> None:
    out = tmp_path / "out"
    converter = _core.FileConverter(PAIRS)
    out.mkdir()
    for name in ("0.wav", "1.wav", "2.wav"):
        converter.convert(sources[0], str(out / name))
        converter.keep()
    os.mkdir(out / "1.wav")
    converter.place()
    placed = converter.placed()
    assert [text for _, text in placed] == ["", placed[1][1], ""]
    assert placed[1][1].startswith(f"{out}/1.wav: can't be written: ")
    assert all(seconds > 0 for seconds, _ in placed)
    assert names_in(out) == ["0.wav", "2.wav"]
    assert converter.placed() == []


def test_what_was_kept_for_a_run_that_broke_off_is_gone(tmp_path: Path, sources: list[str]) -> None:
    worker = Worker(Job(str(tmp_path / "out"), PAIRS, {}), "me")

    def broken() -> Iterator[Item]:
        yield item(sources[0], "0.wav")
        raise InterruptedError

    with pytest.raises(InterruptedError):
        list(worker.work(broken()))
    assert [outcome["state"] for outcome in worker.outcomes([item(sources[1], "1.wav")])] == ["done"]
    assert names_in(tmp_path / "out") == ["1.wav"]


def test_a_row_has_what_the_report_of_the_program_says(tmp_path: Path, sources: list[str]) -> None:
    pairs = [*PAIRS, ("replaygain", "")]
    report = tonekit.convert_file(sources[0], tmp_path / "a.wav", rate=48000, hash="sha256", dither="off", replaygain=True)
    row = Worker(Job(str(tmp_path / "out"), pairs, {}), "me").do(item(sources[0], "a.wav"))
    for side, stream in (("in", report["input"]), ("out", report["output"])):
        for key in ("type", "encoding", "rate", "channels", "format", "frames"):
            assert row[f"{side}_{key}"] == stream[key], key
    assert row["in_frames"] == 88_200 and row["out_frames"] == 96_000 and row["out_format"] == "16 bit"
    assert row["audio_seconds"] == 2.0
    assert row["speed"] * row["work_seconds"] == pytest.approx(2.0)
    assert row["digest"] == report["hash"]["digest"]
    assert (row["gain"], row["peak"]) == (report["replaygain"]["gain"], report["replaygain"]["peak"])
    assert row["dithered"] is False and row["warnings"] == []
    assert row["target_digest"] == hashlib.sha256((tmp_path / "a.wav").read_bytes()).hexdigest()


class WithPlace:
    """A converter of which something happens before a result is put in place."""

    def __init__(self, converter: _core.FileConverter, before: Callable[[], None]) -> None:
        self._converter = converter
        self._before = before

    def place(self) -> None:
        self._before()
        self._converter.place()

    def __getattr__(self, name: str) -> Any:
        return getattr(self._converter, name)


def test_a_result_that_cant_be_put_in_place_fails_alone(tmp_path: Path, sources: list[str]) -> None:
    out = tmp_path / "out"

    def block() -> None:
        if not (out / "0.wav").exists():
            os.mkdir(out / "0.wav")

    worker = Worker(Job(str(out), PAIRS, {}), "me")
    worker._converter = WithPlace(_core.FileConverter(PAIRS), block)  # type: ignore[assignment]
    first, second = worker.outcomes([item(sources[0], "0.wav"), item(sources[1], "1.wav")])
    assert first["state"] == "failed" and first["error"].startswith(f"{out}/0.wav: can't be written: ")
    assert "digest" not in first and first["total_seconds"] > 0
    assert second["state"] == "done"
    assert names_in(out) == ["1.wav"]


class Unreadable(WithPlace):
    """A converter whose first result is gone when it is to be read back."""

    @property
    def completed(self) -> str:
        path, self.read = self._converter.completed, getattr(self, "read", 0) + 1
        return path if self.read > 1 else "/nowhere"


def test_a_result_that_cant_be_read_back_fails_alone(tmp_path: Path, sources: list[str]) -> None:
    out = tmp_path / "out"
    worker = Worker(Job(str(out), PAIRS, {}), "me")
    worker._converter = Unreadable(_core.FileConverter(PAIRS), lambda: None)  # type: ignore[assignment]
    first, second = worker.outcomes([item(sources[0], "0.wav"), item(sources[1], "1.wav")])
    assert (first["state"], first["error"]) == ("failed", f"{out}/0.wav: can't be read back: No such file or directory")
    assert second["state"] == "done"
    assert names_in(out) == ["1.wav"]


def test_a_result_is_not_seen_before_it_is_placed(tmp_path: Path, sources: list[str]) -> None:
    converter = _core.FileConverter(PAIRS)
    target = tmp_path / "out.wav"
    target.write_bytes(b"old")
    row = converter.convert(sources[0], str(target))
    assert row["state"] == "done" and target.read_bytes() == b"old"
    complete = Path(converter.completed)
    assert complete.parent == tmp_path and complete.name.startswith(".tonekit-")
    data = complete.read_bytes()
    assert len(data) == RESULT_SIZE
    converter.keep()
    assert target.read_bytes() == b"old"
    converter.place()
    [(seconds, error)] = converter.placed()
    assert seconds > 0 and error == ""
    assert target.read_bytes() == data and not complete.exists()
    with pytest.raises(ValueError, match="no result is complete"):
        converter.keep()
    with pytest.raises(ValueError, match="no result is complete"):
        str(converter.completed)


def test_a_result_that_nobody_places_leaves_nothing(tmp_path: Path, sources: list[str]) -> None:
    out = tmp_path / "out"
    out.mkdir()
    converter = _core.FileConverter(PAIRS)
    converter.convert(sources[0], str(out / "0.wav"))
    converter.convert(sources[1], str(out / "1.wav"))
    with pytest.raises(_core.FileError, match="no such file"):
        converter.convert("/nowhere.wav", str(out / "2.wav"))
    assert names_in(out) == []
    converter.convert(sources[1], str(out / "1.wav"))
    converter.keep()
    converter.place()
    converter.convert(sources[1], str(out / "2.wav"))
    converter.keep()
    del converter  # after which what was being placed is in place
    assert names_in(out) == ["1.wav"]


def test_a_failed_placement_is_said_once(tmp_path: Path, sources: list[str]) -> None:
    converter = _core.FileConverter(PAIRS)
    target = tmp_path / "out.wav"
    converter.convert(sources[0], str(target))
    target.mkdir()
    converter.keep()
    converter.place()
    [(_, error)] = converter.placed()
    assert "can't be written" in error
    assert converter.placed() == []
    target.rmdir()
    converter.convert(sources[0], str(target))
    converter.keep()
    converter.place()
    assert [text for _, text in converter.placed()] == [""]
    assert target.stat().st_size == RESULT_SIZE


def test_wrong_options_are_said_at_once() -> None:
    with pytest.raises(ValueError, match="there is no option nonsense"):
        _core.FileConverter([("nonsense", "1")])


def test_only_results_that_nobody_works_on_are_removed(tmp_path: Path) -> None:
    for name in (".tonekit-abcd0123.flac", ".tonekit-abcd0124.flac", ".tonekit-abcd0125", ".tonekit-abcd0126.tmp", "a.flac"):
        (tmp_path / "one" / name).parent.mkdir(exist_ok=True)
        (tmp_path / "one" / name).write_bytes(b"x")
    with open(tmp_path / "one" / ".tonekit-abcd0124.flac", "rb") as held:
        fcntl.flock(held, fcntl.LOCK_EX)
        Store(tmp_path).remove_abandoned("one")
        Store(tmp_path).remove_abandoned("nowhere")
    assert names_in(tmp_path) == ["one/.tonekit-abcd0124.flac", "one/.tonekit-abcd0126.tmp", "one/a.flac"]
