"""Runs of the local engine: results, books, and what is done again."""

from __future__ import annotations

import json
import os
import shutil
import subprocess
import typing
from pathlib import Path

import pyarrow
import pyarrow.parquet as parquet
import pytest
from batches import OF_16K, TO_16K, bytes_of, command, rows_of, summary_of

import tonekit
import tonekit.batch
from tonekit import _file_options
from tonekit.batch import _conversion

PROGRAM = Path(tonekit.__file__).parent / "_bin" / "tonekit-convert"

NAMES = [f"{('', 'one/', 'two/three/')[i % 3]}{i:02}.flac" for i in range(12)]


@pytest.mark.parametrize("workers", [1, 2, 4])
def test_results_are_those_of_the_program(archive: Path, tmp_path: Path, workers: int) -> None:
    summary = tonekit.batch.run(archive, tmp_path / "out", workers=workers, **OF_16K)
    assert (summary["ok"], summary["files"], summary["done"], summary["failed"]) == (True, 12, 12, 0)
    assert summary["audio_seconds"] == 6.0
    subprocess.run([PROGRAM, "-q", *TO_16K, archive, tmp_path / "bare"], check=True)
    expected = bytes_of(tmp_path / "bare")
    assert sorted(expected) == sorted(NAMES)
    assert bytes_of(tmp_path / "out") == expected


def test_a_row_says_what_became_of_a_file(archive: Path, tmp_path: Path) -> None:
    tonekit.batch.run(archive, tmp_path / "out", replaygain=True, **OF_16K)
    rows = rows_of(tmp_path / "out")
    assert len(rows) == 12
    source, target = archive / "one" / "01.flac", tmp_path / "out" / "one" / "01.flac"
    row = rows[str(source)]
    loudness = tonekit.info(target, replaygain=True)["replaygain"]
    expected = {
        "size": source.stat().st_size,
        "stamp": str(source.stat().st_mtime_ns),
        "target": str(target),
        "state": "done",
        "error": None,
        "in_type": "FLAC",
        "in_rate": 44100,
        "in_channels": 2,
        "in_format": "16 bit",
        "in_frames": 22050,
        "out_rate": 16000,
        "out_channels": 1,
        "out_frames": 8000,
        "audio_seconds": 0.5,
        "gain": loudness["gain"],
        "peak": loudness["peak"],
        "digest": tonekit.info(target, hash="sha256")["hash"]["digest"],
        "dithered": False,
        "warnings": [],
        "target_size": target.stat().st_size,
        "target_digest": bytes_of(tmp_path / "out")["one/01.flac"],
        "attempts": 1,
    }
    assert {key: row[key] for key in expected} == expected
    assert row["speed"] > 0 and row["work_seconds"] > 0 and row["worker"].startswith(os.uname().nodename)


def test_the_manifest_is_one_file_at_the_end(archive: Path, tmp_path: Path) -> None:
    tonekit.batch.run(archive, tmp_path / "out", manifest=tmp_path / "books", **OF_16K)
    (tmp_path / "books" / "part-0-earlier.parquet").write_bytes(next((tmp_path / "books").glob("*.parquet")).read_bytes())
    tonekit.batch.run(archive, tmp_path / "out", manifest=tmp_path / "books", **OF_16K)
    names = sorted(path.name for path in (tmp_path / "books").iterdir())
    assert [name.split("-")[0] for name in names] == ["_report.html", "_summary.json", "manifest"]
    assert not (tmp_path / "out" / "tonekit-manifest").exists()
    assert parquet.read_table(tmp_path / "books").num_rows == 12


def test_broken_inputs_are_rows(archive: Path, tmp_path: Path) -> None:
    (archive / "00.wav").write_bytes((archive / "00.wav").read_bytes()[:-40_000])
    (archive / "text.wav").write_text("no audio")
    (archive / "broken.wav").symlink_to(archive / "nothing.wav")
    (archive / "empty.flac").touch()
    code, out, err = command(archive, tmp_path / "out", *TO_16K)
    assert code == 1
    assert "15 files: 11 done, 4 failed" in out
    assert "1 x the link leads nowhere" in err
    rows = rows_of(tmp_path / "out")
    assert {Path(source).name for source, row in rows.items() if row["state"] == "failed"} == {
        "00.wav",
        "text.wav",
        "broken.wav",
        "empty.flac",
    }
    cut = rows[str(archive / "00.wav")]
    assert "bytes are missing" in cut["error"] and cut["kind"] == "its last N bytes are missing"
    assert cut["out_frames"] is None and cut["attempts"] == 1
    assert len(bytes_of(tmp_path / "out")) == 11


def test_the_same_command_goes_on(archive: Path, tmp_path: Path) -> None:
    target = tmp_path / "out"
    words = (archive, target, *TO_16K)
    text = archive / "text.wav"
    text.write_text("no audio")
    assert summary_of(*words)[1]["done"] == 12
    before = {name: (target / name).stat().st_mtime_ns for name in NAMES}

    def counts(*more: str) -> tuple[int, int, int, int]:
        code, summary = summary_of(*words, *more)
        assert rows_of(target).keys() == {str(path) for path in archive.rglob("[!.a]*.*") if path.suffix != ".md"}
        return code, summary["done"], summary["kept"], summary["failed"]

    assert counts() == (1, 0, 12, 1)
    shutil.copy(archive / "00.wav", archive / "06.wav")
    os.utime(archive / "03.flac", ns=(1, 1))
    assert counts() == (1, 2, 10, 1)
    (target / NAMES[1]).unlink()
    assert counts() == (1, 1, 11, 1)
    assert rows_of(target)[str(text)]["attempts"] == 1
    assert counts("--retry-failed") == (1, 0, 12, 1)
    assert rows_of(target)[str(text)]["attempts"] == 2
    shutil.copy(archive / "00.wav", text)
    assert counts() == (0, 1, 12, 0)
    untouched = [name for name in NAMES if name not in ("06.flac", "03.flac", NAMES[1])]
    assert all((target / name).stat().st_mtime_ns == before[name] for name in untouched)
    assert counts("--quality", "best") == (0, 13, 0, 0)


def test_verify_finds_and_repairs_wrong_results(archive: Path, tmp_path: Path) -> None:
    target = tmp_path / "out"
    tonekit.batch.run(archive, target, **OF_16K)
    expected = bytes_of(target)
    damaged = bytearray((target / NAMES[4]).read_bytes())
    damaged[-100] ^= 1
    (target / NAMES[4]).write_bytes(damaged)
    (target / NAMES[5]).write_bytes(b"")
    assert tonekit.batch.run(archive, target, **OF_16K)["kept"] == 12
    summary = tonekit.batch.run(archive, target, verify=True, **OF_16K)
    assert (summary["verified"], summary["kept"], summary["done"], summary["failed"]) == (10, 10, 2, 0)
    assert bytes_of(target) == expected
    assert tonekit.batch.run(archive, target, verify=True, **OF_16K)["verified"] == 12


def test_lists_and_columns(archive: Path, tmp_path: Path) -> None:
    lines = ["00.wav", "one/01.flac", "./one/../one/01.flac", str(archive / "03.flac"), "none.wav", "../../escape.wav"]
    (archive / "files.txt").write_text("\n".join(lines) + "\n\n")
    summary = tonekit.batch.run(archive / "files.txt", tmp_path / "a", **OF_16K)
    assert (summary["files"], summary["done"], summary["repeated"], summary["failed"]) == (6, 3, 1, 2)
    assert sorted(bytes_of(tmp_path / "a")) == sorted(["00.flac", "one/01.flac", f"{archive}/03.flac"[1:]])
    table = pyarrow.table({"n": [1, 2, 3], "audio": [str(archive / "00.wav"), None, str(archive / "one" / "01.flac")]})
    parquet.write_table(table, tmp_path / "set.parquet")
    summary = tonekit.batch.run(tmp_path / "set.parquet", tmp_path / "b", column="audio", base=archive, **OF_16K)
    assert (summary["files"], summary["done"]) == (2, 2)
    assert sorted(bytes_of(tmp_path / "b")) == ["00.flac", "one/01.flac"]
    with pytest.raises(ValueError, match="has no column path; it has n, audio"):
        tonekit.batch.run(tmp_path / "set.parquet", tmp_path / "c", **OF_16K)
    outside = tonekit.batch.run(tmp_path / "set.parquet", tmp_path / "c", column="audio", base=archive / "one", **OF_16K)
    assert (outside["done"], list(outside["errors"])) == (1, ["is outside of ..."])


def test_two_inputs_never_become_one_file(archive: Path, tmp_path: Path) -> None:
    shutil.copy(archive / "00.wav", archive / "03.wav")
    summary = tonekit.batch.run(archive, tmp_path / "out", **OF_16K)
    assert (summary["done"], summary["failed"]) == (12, 1)
    row = rows_of(tmp_path / "out")[str(archive / "03.wav")]
    assert row["error"] == f"{archive}/03.wav: the name of its result is taken by {archive}/03.flac"


def test_targets_inside_the_source_are_no_inputs(archive: Path) -> None:
    for _ in range(2):
        assert tonekit.batch.run(archive, archive / "out", **OF_16K)["files"] == 12
    with pytest.raises(ValueError, match="must not be the source"):
        tonekit.batch.run(archive / "one", archive, **OF_16K)


def test_dither_is_said(archive: Path, tmp_path: Path) -> None:
    code, out, _ = command(archive, tmp_path / "out", "--bits", "8", "--type", "wav")
    assert code == 0
    assert "12 files are dithered, so their digests differ" in out
    assert all(row["dithered"] for row in rows_of(tmp_path / "out").values())


@pytest.mark.parametrize(
    ("words", "message"),
    [
        (["--rate", "5"], "rate must be a rate from 1000"),
        (["--rate", "96000", "--type", "mp3"], "MP3"),
        (["--cover", "/nowhere.bmp"], "/nowhere.bmp"),
        (["--workers", "0"], "workers must be a whole number from 1"),
        (["--address", "auto"], "engine='ray'"),
        (["--nonsense"], "--nonsense"),
        (["--set", "TITLE"], "KEY=VALUE"),
        (["--storage", "[]"], "JSON object"),
        (["--engine", "slurm"], "--engine"),
        (["--name", "{title}"], "--name"),
    ],
)
def test_wrong_usage_does_nothing(archive: Path, tmp_path: Path, words: list[str], message: str) -> None:
    code, out, err = command(archive, tmp_path / "out", *words)
    assert (code, out) == (2, "")
    assert message in err and "Traceback" not in err
    assert not (tmp_path / "out").exists()


def test_sources_and_targets_that_are_none(archive: Path, tmp_path: Path) -> None:
    for source in (tmp_path / "none", archive / "00.wav", "ftp9://x/y"):
        code, out, err = command(source, tmp_path / "out")
        assert (code, out, err.count("\n")) == (2, "", 1), err
    assert command(archive, "https://example.org/out")[0] == 2
    (tmp_path / "file").touch()
    code, _, err = command(archive, tmp_path / "file")
    assert code == 2 and err.count("\n") == 1
    (archive / "bad.parquet").write_text("no table")
    assert command(archive / "bad.parquet", tmp_path / "out")[0] == 2


def test_an_empty_archive_is_done(tmp_path: Path) -> None:
    (tmp_path / "empty").mkdir()
    code, summary = summary_of(tmp_path / "empty", tmp_path / "out")
    assert (code, summary["files"], summary["ok"]) == (0, 0, True)


def test_names_that_are_no_text(archive: Path, tmp_path: Path) -> None:
    shutil.copy(archive / "00.wav", os.fsencode(archive) + b"/\xff.wav")
    shutil.copy(archive / "00.wav", archive / "Größe ♪ $(x) 'y'.wav")
    shutil.copy(archive / "00.wav", archive / "download")
    summary = tonekit.batch.run(archive, tmp_path / "out", **OF_16K)
    assert (summary["done"], summary["failed"], list(summary["errors"])) == (14, 1, ["the name is not UTF-N"])
    assert {"Größe ♪ $(x) 'y'.flac", "download.flac"} <= set(bytes_of(tmp_path / "out"))


def test_status_and_report(archive: Path, tmp_path: Path) -> None:
    (archive / "<script>.wav").write_text("no audio")
    command(archive, tmp_path / "out", *TO_16K)
    code, out, _ = command("status", tmp_path / "out")
    assert code == 1
    assert out.startswith("13 files: 12 done, 1 failed\n")
    assert "1 x not an audio file" in out
    state = json.loads(command("status", tmp_path / "out" / "tonekit-manifest", "--json")[1])
    assert (state["files"], state["audio_seconds"], state["runs"]) == (13, 6.0, [])
    page = (tmp_path / "out" / "tonekit-manifest" / "_report.html").read_text()
    for text in ("Throughput", "Sizes of the inputs", "The slowest files", "&lt;script&gt;.wav"):
        assert text in page
    assert not any(word in page for word in ("<script", "http://", "https://", "src=", "<link"))
    assert json.loads((tmp_path / "out" / "tonekit-manifest" / "_summary.json").read_text())["done"] == 12
    code, _, err = command("status", tmp_path)
    assert code == 2 and "there is no manifest" in err


def test_options_and_their_types_are_those_of_the_program() -> None:
    assert set(typing.get_type_hints(_file_options.ArchiveOptions)) == set(_conversion.OPTIONS)
    help_text = command("--help")[1]
    assert all(f"--{name.replace('_', '-')}" in help_text for name in _conversion.OPTIONS)
