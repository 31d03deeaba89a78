"""Parts of a batch alone: the schedule, the books of several runs, the counts, memory."""

from __future__ import annotations

import os
import re
import subprocess
import sys
import tracemalloc
from collections import Counter, deque
from collections.abc import Iterator, Sequence
from pathlib import Path
from types import SimpleNamespace
from typing import Any

import pytest
from empty_archive import EmptyEngine, made, simulated

from tonekit.batch import _listing, _local, _report, _shards
from tonekit.batch._books import Books
from tonekit.batch._engine import Done, Lost
from tonekit.batch._progress import Progress
from tonekit.batch._schedule import Schedule
from tonekit.batch._shards import Shards
from tonekit.batch._statistics import Statistics, Timeline
from tonekit.batch._storage import Store, patiently, plain_address
from tonekit.batch._work import Item, Job, kind_of
from tonekit.batch._words import clock, errors_text, length, size
from tonekit.batch._worker import MARK


def items(count: int) -> Iterator[Item | None]:
    for i in range(count):
        if i % 101 == 3:
            yield None
        yield Item(f"/a/{i}", f"{i}", 1000, "1", 0)


class Deadly(EmptyEngine):
    """Loses every group that holds the file 13, and once each other third group with an unknown culprit."""

    def __init__(self) -> None:
        super().__init__()
        self.groups: list[list[str]] = []
        self.lost_once = False

    def submit(self, group: Sequence[Item]) -> None:
        self.groups.append([item.source for item in group])
        super().submit(group)

    def event(self, group: Sequence[Item]) -> Done | Lost:
        names = [item.source for item in group]
        if "/a/13" in names:
            return Lost(group, names.index("/a/13") if len(self.groups) % 2 else None if len(group) > 1 else 0, "signal 9")
        if not self.lost_once and len(group) > 1:
            self.lost_once = True
            return Lost(group, None, "the machine is gone")
        return super().event(group)


def test_every_file_has_one_outcome_whatever_is_lost() -> None:
    engine = Deadly()
    outcomes: dict[str, list[dict[str, Any]]] = {}

    def finish(item: Item, outcome: dict[str, Any]) -> None:
        outcomes.setdefault(item.source, []).append(outcome)

    Schedule(engine, items(500), finish).run(lambda: None)
    assert len(outcomes) == 500
    assert all(len(all_of_one) == 1 for all_of_one in outcomes.values())
    assert [source for source, [outcome] in outcomes.items() if outcome["state"] == "failed"] == ["/a/13"]
    tries = Counter(name for group in engine.groups for name in group)
    assert 3 <= tries["/a/13"] <= 4  # one may have been with others, when nobody knew which of them it was
    assert engine.lost_once and max(len(group) for group in engine.groups) > 50


class Blamed(EmptyEngine):
    """Loses every group that holds the file 400, and knows that it was this one."""

    def event(self, group: Sequence[Item]) -> Done | Lost:
        names = [item.source for item in group]
        self.largest = max(getattr(self, "largest", 0), len(group) if "/a/400" in names else 0)
        return Lost(group, names.index("/a/400"), "signal 9") if "/a/400" in names else super().event(group)


def test_those_that_were_with_a_deadly_file_are_done_by_another_worker() -> None:
    engine = Blamed()
    outcomes: list[tuple[str, str]] = []
    Schedule(engine, items(500), lambda item, outcome: outcomes.append((item.source, outcome["state"]))).run(lambda: None)
    assert engine.largest > 10
    assert sorted(outcomes) == sorted((f"/a/{i}", "failed" if i == 400 else "done") for i in range(500))


class Ended:
    """A process that a signal ended."""

    def wait(self) -> int:
        return -9


def test_what_a_dead_worker_had_said_is_not_done_again() -> None:
    some = [item for item in items(20) if item is not None][:8]

    def lost(group: int, file: int) -> list[Lost]:
        process = object.__new__(_local._Process)
        process.__dict__.update(process=Ended(), done=2, _mark=os.memfd_create("mark"))
        process.groups = deque([_local._Group(7, some[:5]), _local._Group(8, some[5:])])
        os.pwrite(process._mark, MARK.pack(group, file), 0)
        events = process.lost()
        os.close(process._mark)
        assert not process.groups
        return events

    reason = "signal 9 (SIGKILL)"
    assert lost(7, 3) == [Lost(some[2:5], 1, reason), Lost(some[5:], None, reason)]
    assert lost(7, 1) == [Lost(some[2:5], None, reason), Lost(some[5:], None, reason)]
    assert lost(8, 0) == [Lost(some[2:5], None, reason), Lost(some[5:], 0, reason)]


def test_groups_hold_as_much_work_as_is_worth_a_message() -> None:
    engine = EmptyEngine(seconds=0.01, group_seconds=0.1)
    sizes: list[int] = []
    submit = engine.submit
    engine.submit = lambda group: (sizes.append(len(group)), submit(group))[1]  # type: ignore[method-assign]
    Schedule(engine, items(1000), lambda item, outcome: None).run(lambda: None)
    assert sum(sizes) == 1000
    assert sizes[0] == 1 and max(sizes) in (9, 10, 11)
    assert sizes[-1] == 1  # the last are shared evenly


def test_large_files_travel_alone() -> None:
    engine = EmptyEngine(seconds=0.01, group_seconds=0.1)
    groups: list[list[int]] = []
    submit = engine.submit
    engine.submit = lambda group: (groups.append([item.size for item in group]), submit(group))[1]  # type: ignore[method-assign]
    mixed = (Item(f"/a/{i}", f"{i}", 10_000_000 if i % 50 == 49 else 1000, "1", 0) for i in range(1000))
    Schedule(engine, mixed, lambda item, outcome: None).run(lambda: None)
    assert all(len(group) == 1 or 10_000_000 not in group[:-1] for group in groups)


def test_memory_does_not_grow_with_the_number_of_inputs(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(_shards, "_SHARD_ROWS", 500)
    peaks = []
    for count in (2_000, 8_000):
        tracemalloc.start()
        summary = simulated(tmp_path / str(count), count)
        peaks.append(tracemalloc.get_traced_memory()[1])
        tracemalloc.stop()
        assert (summary["files"], summary["done"]) == (count, count)
    assert peaks[1] < 1.3 * peaks[0], peaks


def test_the_latest_row_of_each_source_counts(tmp_path: Path) -> None:
    books = Books(Store(tmp_path / "books"))
    for run, (first, last) in enumerate([(0, 5000), (4000, 9000), (8500, 8600)]):
        shards = Shards(books.store, f"run{run}")
        for i in range(first, last):
            shards.add(made(f"/a/{i}", size=run))
        shards.close(merge=False)
    assert len(books.files()) == 3
    rows = [row for batch in books.current() for row in batch.to_pylist()]
    assert Counter(row["size"] for row in rows) == {0: 4000, 1: 4900, 2: 100}
    books.merge("end", unique=False)
    assert len(books.files()) == 1
    merged = [row for batch in books.current() for row in batch.to_pylist()]
    assert sorted(merged, key=lambda row: row["source"]) == sorted(rows, key=lambda row: row["source"])


def test_shards_are_put_together(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    books = Books(Store(tmp_path / "books"))
    shards = Shards(books.store, "run")
    monkeypatch.setattr(_shards, "_SHARDS", 8)
    for i in range(30):
        shards.add(made(f"/a/{i}"))
        shards.flush()
    assert len(books.files()) == 3 + 6
    assert sorted(row["source"] for batch in books.current() for row in batch.to_pylist()) == sorted(f"/a/{i}" for i in range(30))


def test_a_timeline_keeps_its_sums() -> None:
    timeline = Timeline()
    for second in range(5000):
        timeline.add(second + 0.5, 2.0, second % 10 == 0)
    assert len(timeline.bins) <= 240
    assert [sum(column) for column in zip(*timeline.bins, strict=True)] == [5000, 10_000.0, 500]
    assert timeline.width == 32.0
    assert timeline.bins[3] == [32, 64.0, 3]  # seconds 96 to 127, of which 100, 110 and 120 failed


@pytest.mark.parametrize(
    ("error", "kind"),
    [
        ("/a/b c.wav: its last 12 bytes are missing", "its last N bytes are missing"),
        ("s3://b/x.wav: not an audio file", "not an audio file"),
        ("/a.wav: the name of its result is taken by /b.wav", "the name of its result is taken by ..."),
        ("plain", "plain"),
    ],
)
def test_errors_count_together_by_kind(error: str, kind: str) -> None:
    assert kind_of(error) == kind


def test_addresses_have_one_form(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.chdir(tmp_path)
    assert plain_address("a/../b/") == plain_address(f"file://{tmp_path}/b") == str(tmp_path / "b")
    assert plain_address("s3://bucket/a/") == "s3://bucket/a"
    with pytest.raises(ValueError):
        plain_address("")


def test_stores_are_asked_again_but_not_for_ever(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr("time.sleep", lambda seconds: None)
    answers: deque[Exception | int] = deque([OSError("busy"), TimeoutError(), 5])

    def answer() -> int:
        value = answers.popleft()
        if isinstance(value, Exception):
            raise value
        return value

    assert patiently(answer) == 5
    answers.extend([OSError(str(i)) for i in range(9)])
    with pytest.raises(OSError, match="4"):
        patiently(answer)
    answers.clear()
    answers.extend([FileNotFoundError("none"), 5])
    with pytest.raises(FileNotFoundError):
        patiently(answer)


def test_lines_of_progress(capsys: pytest.CaptureFixture[str], monkeypatch: pytest.MonkeyPatch) -> None:
    statistics = Statistics()
    statistics.total = (4, 4000)
    statistics.keep(1000)
    statistics.add("/a", 1000, made("/a"))
    monkeypatch.setattr(Statistics, "seconds", 2.0)
    progress = Progress(statistics)
    text = "2 of 4 files, 0:03 of audio, 2 times real time, 0:04 left"
    assert progress.line() == text
    assert progress.line(120) == f"[############            ] {text}"
    assert progress.line(78) == f"[#########         ] {text}"
    assert progress.line(65) == text
    assert progress.line(56) == "2 of 4 files, 0:03 of audio, 2 times real time"
    assert progress.line(24) == "2 of 4 files"
    assert progress.line(5) == "2 of "
    statistics.add("/b", 1000, {"state": "failed", "kind": "x", "error": "/b: x"})
    assert "1 failed" in progress.line()
    assert [clock(seconds) for seconds in (0, 59.6, 3661)] == ["0:00", "1:00", "1:01:01"]


def test_an_error_is_said_once() -> None:
    errors = {"the file is empty": 2, "no room for N bytes": 1}
    examples = {"the file is empty": "/a/b.wav: the file is empty", "no room for N bytes": "/c: no room for 7 bytes"}
    lines = ["  2 x the file is empty, as /a/b.wav", "  1 x no room for N bytes, as /c: no room for 7 bytes"]
    assert errors_text(errors, examples) == lines
    assert errors_text({"x": 1}, {}) == ["  1 x x"]
    statistics = Statistics()
    statistics.add("/a/b.wav", 0, {"state": "failed", "kind": "the file is empty", "error": "/a/b.wav: the file is empty"})
    assert "<td>the file is empty</td><td>/a/b.wav</td>" in _report.page(statistics, "/a", "/b", "local")


def test_labels_of_a_report_have_room() -> None:
    statistics = Statistics()
    for power in range(45):
        statistics.add(f"/{power}", (1 << power) - 1, {**made("/a"), "target_size": 1})
    page = _report.page(statistics, "/a", "/b", "local")
    sizes = page[page.index("Sizes of the inputs") :]
    labels = re.findall(r'<text x="([0-9.]+)" y="196">(.*?)</text>', sizes)
    places = [float(x) for x, _ in labels]
    assert len(labels) > 5 and all(b - a >= 60 for a, b in zip(places, places[1:])) and places[-1] <= 800
    assert labels[0][1] == "&lt; 1 B" and {"&lt; 16 B", "&lt; 1 MiB"} <= {text for _, text in labels}
    assert all(float(width) <= 60 for width in re.findall(r'<rect [^>]*width="([0-9.]+)"', page))
    assert [size(count) for count in (0, 999, 1500, 999_600, 2.5e9, 7e18)] == [
        "0 B",
        "999 B",
        "1.5 kB",
        "1 MB",
        "2.5 GB",
        "7,000.0 PB",
    ]
    assert [length(seconds) for seconds in (0, 75, 5400)] == ["0:00", "1:15", "1.5 h"]


def test_large_folders_are_listed_whole(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(_listing, "_SORTED", 5)
    for i in range(20):
        (tmp_path / f"{i:02}.wav").touch()
    (tmp_path / "loop").symlink_to(tmp_path)
    found = list(_listing.entries(str(tmp_path), "/nowhere"))
    assert sorted(entry.name for entry in found if not entry.error) == [f"{i:02}.wav" for i in range(20)]
    assert [entry.error for entry in found if entry.error] == [
        f"{tmp_path}/loop: the link leads back to a folder around it"
    ]


def python(code: str) -> str:
    """What a fresh interpreter prints that runs this code."""
    done = subprocess.run([sys.executable, "-P", "-c", code], capture_output=True, text=True, timeout=100)
    return done.stdout + done.stderr


def test_work_begins_before_parquet_is_imported() -> None:
    code = "import sys, tonekit.batch._command; from tonekit.batch import run; import tonekit.batch._run, tonekit.batch._local"
    assert python(f"{code}\nprint(sorted({{'numpy', 'pyarrow', 'pandas', 'fsspec'}} & set(sys.modules)))") == "[]\n"


def test_workers_start_where_python_has_no_safe_path(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    """As in Python 3.10."""
    monkeypatch.setattr(_local, "sys", SimpleNamespace(executable=sys.executable, flags=SimpleNamespace()))
    engine = _local.LocalEngine(Job(str(tmp_path), [("type", "flac")], {}), workers=1)
    try:
        while not engine._processes[0].ready:
            assert engine.wait(60.0) == []
        assert engine._processes[0].process.poll() is None
        engine.dismiss()
        assert engine._processes[0].process.wait(60.0) == 0
    finally:
        engine.close()


def test_a_worker_imports_little() -> None:
    slow = "{'numpy', 'pyarrow', 'fsspec', 'multiprocessing', 'tempfile', 'socket', 'subprocess', 'random', 'concurrent', 'json'}"
    assert python(f"import sys, tonekit.batch._worker\nprint(sorted({slow} & set(sys.modules)))") == "[]\n"


def test_without_parquet_it_is_said_what_to_install() -> None:
    code = "import sys; sys.modules['pyarrow'] = None\ntry: from tonekit.batch import run\nexcept ImportError as error: print(error)"
    assert python(code) == "pyarrow isn't installed: pip install 'tonekit[batch]'\n"


def test_rows_of_an_interrupted_run_are_written_without_merging(tmp_path: Path) -> None:
    store = Store(tmp_path / "books")
    for run, count in (("a", 3), ("b", 2)):
        shards = Shards(store, run)
        for i in range(count):
            shards.add(made(f"/{run}/{i}"))
        shards.close(merge=False)
    assert store.names() == ["part-a-000000.parquet", "part-b-000000.parquet"]
    assert sorted(row for batch in Books(store).current() for row in batch.column("source").to_pylist()) == [
        "/a/0",
        "/a/1",
        "/a/2",
        "/b/0",
        "/b/1",
    ]
    shards = Shards(store, "c")
    shards.add(made("/c/0"))
    shards.close(merge=True)
    assert [name[:11] for name in store.names()] == ["manifest-c-"]
    assert sum(batch.num_rows for batch in Books(store).current()) == 6
