"""Ten thousand tiny files, one in a hundred broken, while workers die and the driver is killed and resumed."""

from __future__ import annotations

import os
import signal
import struct
import subprocess
from pathlib import Path

import pytest
from batches import OF_16K, TO_16K, bytes_of, rows_of, start, summary_of, until, workers_of

import tonekit
import tonekit.batch

PROGRAM = Path(tonekit.__file__).parent / "_bin" / "tonekit-convert"
FILES = 10_000
BROKEN = FILES // 100

pytestmark = pytest.mark.long


def tiny(number: int) -> bytes:
    """A WAV file of 441 frames of mono, no two of them equal; one in a hundred lacks its last bytes."""
    samples = struct.pack("<441h", *((number * 31 + i * i) % 2000 for i in range(441)))
    head = b"RIFF" + struct.pack("<I", 36 + len(samples)) + b"WAVEfmt " + struct.pack("<IHHIIHH", 16, 1, 1, 44100, 88200, 2, 16)
    file = head + b"data" + struct.pack("<I", len(samples)) + samples
    return file[:-200] if number % 100 == 50 else file


@pytest.fixture(scope="module")
def archive(tmp_path_factory: pytest.TempPathFactory) -> Path:
    folder = tmp_path_factory.mktemp("many") / "archive"
    for number in range(FILES):
        path = folder / f"{number % 40:02}" / f"{number:05}.wav"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(tiny(number))
    return folder


@pytest.fixture(scope="module")
def expected(archive: Path, tmp_path_factory: pytest.TempPathFactory) -> dict[str, str]:
    """The bytes that the program makes of them."""
    folder = tmp_path_factory.mktemp("bare")
    run = subprocess.run([PROGRAM, "-q", "-j", "2", *TO_16K, archive, folder], stderr=subprocess.DEVNULL, check=False)
    assert run.returncode == 1
    digests = bytes_of(folder)
    assert len(digests) == FILES - BROKEN
    return digests


def check_rows(target: Path) -> None:
    rows = rows_of(target)
    assert len(rows) == FILES
    failed = {int(Path(source).stem) for source, row in rows.items() if row["state"] == "failed"}
    assert failed == set(range(50, FILES, 100))
    assert {row["kind"] for row in rows.values() if row["state"] == "failed"} == {"its last N bytes are missing"}
    assert all(row["target_digest"] for row in rows.values() if row["state"] == "done")


@pytest.mark.parametrize("workers", [1, 4])
def test_each_is_done_once(archive: Path, expected: dict[str, str], tmp_path: Path, workers: int) -> None:
    summary = tonekit.batch.run(archive, tmp_path / "out", workers=workers, **OF_16K)
    assert (summary["files"], summary["done"], summary["failed"]) == (FILES, FILES - BROKEN, BROKEN)
    assert bytes_of(tmp_path / "out") == expected
    check_rows(tmp_path / "out")
    assert {row["attempts"] for row in rows_of(tmp_path / "out").values()} == {1}


def test_none_is_lost_with_workers_and_drivers(archive: Path, expected: dict[str, str], tmp_path: Path) -> None:
    target = tmp_path / "out"
    driver = start(archive, target, *TO_16K, "--workers", "2")
    until(lambda: len(list(target.glob("*/*.flac"))) > 1000)
    for worker in workers_of(driver.pid):
        os.kill(worker, signal.SIGKILL)
    until(lambda: list(target.glob("tonekit-manifest/part-*.parquet")))
    driver.kill()
    driver.communicate()
    booked = tonekit.batch.status(target)
    assert booked["done"] + booked["failed"] > 0
    code, summary = summary_of(archive, target, *TO_16K, "--workers", "2")
    assert (code, summary["files"], summary["kept"]) == (1, FILES, booked["done"])
    assert (summary["done"] + summary["kept"], summary["failed"]) == (FILES - BROKEN, BROKEN)
    assert bytes_of(target) == expected
    check_rows(target)
