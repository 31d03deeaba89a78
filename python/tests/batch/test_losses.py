"""Nothing is lost: workers and drivers that die, two drivers at one target, interrupts."""

from __future__ import annotations

import fcntl
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import time
from pathlib import Path

import pytest
from batches import KILLER, OF_16K, TO_16K, bytes_of, command, environment, rows_of, start, summary_of, until, workers_of

import tonekit.batch


@pytest.fixture
def expected(archive: Path, tmp_path: Path) -> dict[str, str]:
    """The bytes of an undisturbed run."""
    tonekit.batch.run(archive, tmp_path / "expected", **OF_16K)
    return bytes_of(tmp_path / "expected")


def slow(tmp_path: Path, seconds: float) -> dict[str, str]:
    return {**environment(tmp_path / "custom", KILLER), "SLOW": str(seconds)}


def is_alive(pid: int) -> bool:
    try:
        return Path(f"/proc/{pid}/cmdline").read_bytes() != b""
    except OSError:
        return False


def test_a_file_that_kills_its_worker_is_set_aside(archive: Path, tmp_path: Path, expected: dict[str, str]) -> None:
    shutil.copy(archive / "00.wav", archive / "one" / "a-killer.wav")
    shutil.copy(archive / "00.wav", archive / "killer.wav")
    code, summary = summary_of(archive, tmp_path / "out", *TO_16K, "--workers", "2", env=slow(tmp_path, 0))
    assert code == 1
    assert (summary["done"], summary["failed"]) == (12, 2)
    assert list(summary["errors"]) == ["set aside after it ended N workers, the last with signal N (SIGKILL)"]
    row = rows_of(tmp_path / "out")[str(archive / "killer.wav")]
    assert (row["state"], row["attempts"]) == ("failed", 3)
    assert row["error"] == f"{archive}/killer.wav: set aside after it ended 3 workers, the last with signal 9 (SIGKILL)"
    assert bytes_of(tmp_path / "out") == expected


def test_what_a_killed_driver_was_writing_is_removed(archive: Path, tmp_path: Path) -> None:
    books = tmp_path / "out" / "tonekit-manifest"
    books.mkdir(parents=True)
    names = [".tonekit-0011aabb.tmp", ".tonekit-inwork00.tmp", ".tonekit-new00000.tmp"]
    for name in names:
        (books / name).write_text("part of a shard")
    for name in names[:2]:
        os.utime(books / name, (time.time() - 5,) * 2)
    os.utime(books / names[2], (time.time() + 100,) * 2)
    with (books / names[1]).open("r+") as in_work:
        fcntl.flock(in_work, fcntl.LOCK_EX)
        tonekit.batch.run(archive, tmp_path / "out", **OF_16K)
    assert sorted(path.name for path in books.iterdir() if path.name.startswith(".")) == names[1:]


def test_a_worker_whose_driver_is_gone_ends_without_a_word() -> None:
    ours, theirs = socket.socketpair()
    ours.close()
    command = [sys.executable, "-P", "-m", "tonekit.batch._worker", str(theirs.fileno()), "0"]
    run = subprocess.run(command, pass_fds=(theirs.fileno(),), capture_output=True, text=True, timeout=60)
    theirs.close()
    assert (run.returncode, run.stdout, run.stderr) == (0, "", "")


def test_a_killed_worker_costs_only_the_work_in_hand(archive: Path, tmp_path: Path, expected: dict[str, str]) -> None:
    driver = start(archive, tmp_path / "out", *TO_16K, "--workers", "2", "--json", env=slow(tmp_path, 0.2))
    until(lambda: len(list((tmp_path / "out").rglob("*.flac"))) > 2)
    workers = workers_of(driver.pid)
    os.kill(workers[0], signal.SIGKILL)
    [replacement] = until(lambda: set(workers_of(driver.pid)) - set(workers))
    out, err = driver.communicate(timeout=120)
    assert driver.returncode == 0, err
    assert json.loads(out)["done"] == 12
    rows = rows_of(tmp_path / "out").values()
    assert sum(row["attempts"] for row in rows) <= 13
    assert {int(row["worker"].rpartition(":")[2]) for row in rows} >= {workers[1], replacement}
    assert bytes_of(tmp_path / "out") == expected


def test_a_killed_driver_is_resumed(archive: Path, tmp_path: Path, expected: dict[str, str]) -> None:
    target = tmp_path / "out"
    driver = start(archive, target, *TO_16K, "--workers", "1", env=slow(tmp_path, 1.0))
    # Books are written every few seconds.
    until(lambda: list(target.glob("tonekit-manifest/part-*.parquet")))
    workers = workers_of(driver.pid)
    driver.kill()
    driver.communicate()
    booked = tonekit.batch.status(target)
    assert 0 < booked["done"] < 12
    assert len(booked["runs"]) == 1 and booked["runs"][0]["engine"] == "local"
    until(lambda: not any(is_alive(pid) for pid in workers))
    done = {path: path.stat().st_mtime_ns for path in target.rglob("*.flac")}
    assert set(bytes_of(target).items()) <= set(expected.items())
    code, summary = summary_of(archive, target, *TO_16K)
    assert (code, summary["kept"], summary["done"]) == (0, booked["done"], 12 - booked["done"])
    again = [path for path, stamp in done.items() if path.stat().st_mtime_ns != stamp]
    assert len(again) == len(done) - booked["done"]
    assert len(rows_of(target)) == 12
    assert bytes_of(target) == expected


def test_two_drivers_at_one_target(archive: Path, tmp_path: Path, expected: dict[str, str]) -> None:
    custom = slow(tmp_path, 0.1)
    drivers = [start(archive, tmp_path / "out", *TO_16K, "--workers", "2", env=custom) for _ in range(2)]
    for driver in drivers:
        _, err = driver.communicate(timeout=120)
        assert driver.returncode == 0, err
    assert bytes_of(tmp_path / "out") == expected
    code, summary = summary_of(archive, tmp_path / "out", *TO_16K, "--verify")
    assert (code, summary["verified"], summary["done"]) == (0, 12, 0)
    assert len(rows_of(tmp_path / "out")) == 12


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_an_interrupt_keeps_what_is_done(archive: Path, tmp_path: Path, expected: dict[str, str], number: int) -> None:
    target = tmp_path / "out"
    driver = start(archive, target, *TO_16K, "--workers", "2", env=slow(tmp_path, 0.3))
    until(lambda: len(list(target.rglob("*.flac"))) >= 4)
    time.sleep(0.2)
    driver.send_signal(number)
    out, err = driver.communicate(timeout=60)
    assert (driver.returncode, out) == (130, "")
    assert err == "tonekit-batch: interrupted; the same command goes on where it was\n"
    booked = tonekit.batch.status(target)["done"]
    assert booked >= 2
    assert tonekit.batch.run(archive, target, **OF_16K)["kept"] == booked
    assert bytes_of(target) == expected


def test_workers_that_cannot_start_end_the_run(archive: Path, tmp_path: Path) -> None:
    broken = environment(tmp_path / "custom", "import os, sys\nif 'tonekit.batch._worker' in sys.orig_argv: os._exit(7)\n")
    code, out, err = command(archive, tmp_path / "out", env=broken)
    assert (code, out) == (1, "")
    assert err == "tonekit-batch: worker processes end at their start, with exit status 7\n"


def test_status_shows_a_run_that_goes_on(archive: Path, tmp_path: Path) -> None:
    driver = start(archive, tmp_path / "out", *TO_16K, "--workers", "1", env=slow(tmp_path, 0.5))
    try:
        until(lambda: list((tmp_path / "out").glob("tonekit-manifest/_run-*.json")))
        code, out, _ = command("status", tmp_path / "out")
        assert code == 0
        assert "(local): " in out and "files a second" in out
    finally:
        driver.kill()
        driver.communicate()
