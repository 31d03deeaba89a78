"""What is wrong with sources, lists, tables, books and the command line, and what a person reads about it."""

from __future__ import annotations

import importlib.metadata
import os
import pty
import shutil
import subprocess
import sys
from pathlib import Path

import pyarrow
import pyarrow.parquet as parquet
import pytest
from batches import OF_16K, TO_16K, bytes_of, command, environment, rows_of, summary_of

import tonekit.batch
from tonekit.batch._storage import plain_address


def one_line(result: tuple[int, str, str]) -> str:
    """The only line of a run that couldn't begin or end."""
    code, out, err = result
    assert (code, out, err.count("\n")) == (code, "", 1) and code in (1, 2), (out, err)
    assert err.startswith("tonekit-batch")
    return err.partition(": ")[2][:-1]


def table(path: Path, values: object) -> Path:
    parquet.write_table(pyarrow.table({"path": values}), path)
    return path


def test_usage_is_one_line() -> None:
    assert one_line(command()) == "the following arguments are required: SOURCE, TARGET (--help shows the options)"
    assert "invalid int value: 'x'" in one_line(command("a", "b", "--workers", "x"))
    assert "must be a JSON object of objects" in one_line(command("a", "b", "--storage", "no JSON"))
    assert one_line(command("status")).startswith("the following arguments are required: MANIFEST")
    assert command("--version") == (0, f"tonekit-batch {importlib.metadata.version('tonekit')}\n", "")
    assert command("--help")[1].startswith("usage: tonekit-batch [options] SOURCE TARGET\n")


def test_more_workers_than_a_machine_has_room_for_are_refused(archive: Path, tmp_path: Path) -> None:
    with pytest.raises(ValueError, match="workers must be a whole number from 1 to 1024 with engine='local', not 5000"):
        tonekit.batch.run(archive, tmp_path / "out", workers=5000)


@pytest.mark.parametrize("address", ["s3://", "s3:///", "x\udcff", "s3://bucket/\udcff"])
def test_addresses_that_name_nothing_are_refused(archive: Path, tmp_path: Path, address: str) -> None:
    with pytest.raises(ValueError, match="an address must"):
        plain_address(address)
    assert "an address must" in one_line(command(archive, address, cwd=tmp_path))
    assert list(tmp_path.iterdir()) == [archive] or not list(tmp_path.glob("s3*"))


def test_lists_may_begin_with_a_byte_order_mark(archive: Path, tmp_path: Path) -> None:
    (archive / "files.txt").write_bytes(b"\xef\xbb\xbf00.wav\r\none/01.flac\r\n")
    assert tonekit.batch.run(archive / "files.txt", tmp_path / "out", **OF_16K)["done"] == 2


def test_only_files_are_read(archive: Path, tmp_path: Path) -> None:
    os.mkfifo(archive / "pipe.wav")
    (archive / "files.txt").write_text("pipe.wav\none\n/dev/zero\n00.wav\n")
    code, out, err = command(archive / "files.txt", tmp_path / "out", *TO_16K)
    assert code == 1
    assert "4 files: 1 done, 3 failed" in out
    assert err == f"  3 x isn't a file, as {archive}/pipe.wav\n"


def test_columns_hold_texts(archive: Path, tmp_path: Path) -> None:
    address = str(archive / "00.wav")
    for values in (pyarrow.array([address], pyarrow.large_string()), pyarrow.array([address]).dictionary_encode()):
        shutil.rmtree(tmp_path / "out", ignore_errors=True)
        assert tonekit.batch.run(table(tmp_path / "set.parquet", values), tmp_path / "out", **OF_16K)["done"] == 1
    for values, kind in (([1], "int64"), ([address.encode()], "binary"), ([{"path": address}], "struct<path: string>")):
        line = one_line(command(table(tmp_path / "set.parquet", values), tmp_path / "none"))
        assert line == f"{tmp_path}/set.parquet must have addresses in its column path, which is of {kind}"
    assert not (tmp_path / "none").exists()


def test_a_folder_that_is_a_table_is_one(archive: Path, tmp_path: Path) -> None:
    (tmp_path / "set.parquet").mkdir()
    table(tmp_path / "set.parquet" / "part-0.parquet", [str(archive / "00.wav"), str(archive / "one" / "01.flac")])
    table(tmp_path / "set.parquet" / "part-1.parquet", [str(archive / "03.flac")])
    (tmp_path / "set.parquet" / "_SUCCESS").touch()
    assert tonekit.batch.run(tmp_path / "set.parquet", tmp_path / "out", base=archive, **OF_16K)["done"] == 3
    shutil.copytree(archive, tmp_path / "music.txt")
    assert tonekit.batch.run(tmp_path / "music.txt", tmp_path / "out2", **OF_16K)["done"] == 12


def test_damaged_tables_are_named(archive: Path, tmp_path: Path) -> None:
    path = table(tmp_path / "set.parquet", [str(archive / "00.wav")] * 100)
    whole = path.read_bytes()
    path.write_bytes(whole[:4] + bytes(40) + whole[44:])
    assert one_line(command(path, tmp_path / "out")).startswith(f"{path}: is damaged: ")
    path.write_bytes(whole[:100])
    assert one_line(command(path, tmp_path / "out")).startswith(f"{path} isn't a Parquet file: ")


@pytest.mark.parametrize("damage", ["cut", "empty", "foreign"])
def test_damaged_books_are_named_and_can_be_left_out(archive: Path, tmp_path: Path, damage: str) -> None:
    target = tmp_path / "out"
    tonekit.batch.run(archive, target, **OF_16K)
    expected = bytes_of(target)
    (shard,) = (target / "tonekit-manifest").glob("*.parquet")
    if damage == "foreign":
        table(shard, ["/a"])
    else:
        shard.write_bytes(shard.read_bytes()[: 1000 if damage == "cut" else 0])
    kept = shard.read_bytes()
    for words in ((archive, target, *TO_16K), (archive, target, *TO_16K, "--verify"), ("status", target)):
        line = one_line(command(*words))
        assert line.startswith(f"{shard}: is damaged, or no part of the manifest (")
        assert line.endswith("): without it, its files are done again")
    assert shard.read_bytes() == kept
    shard.unlink()
    assert tonekit.batch.run(archive, target, **OF_16K)["done"] == 12
    assert bytes_of(target) == expected


def test_what_others_keep_among_the_books_stays(archive: Path, tmp_path: Path) -> None:
    books = tmp_path / "books"
    books.mkdir()
    table(books / "set.parquet", [str(archive / "00.wav"), str(archive / "one" / "01.flac")])
    (books / "_run-notes.json").write_text("[]")
    (books / "_run-others.json").write_text("{}")
    (books / "part-notes.txt").write_text("text")
    kept = {path.name: path.read_bytes() for path in books.iterdir()}
    for _ in range(2):
        assert tonekit.batch.run(books / "set.parquet", tmp_path / "out", manifest=books, base=archive, **OF_16K)["ok"]
    assert {name: (books / name).read_bytes() for name in kept} == kept
    state = tonekit.batch.status(books)
    assert (state["done"], state["runs"]) == (2, [])


def test_a_folder_in_the_place_of_a_result_is_no_result(archive: Path, tmp_path: Path) -> None:
    target = tmp_path / "out"
    (target / "00.flac").mkdir(parents=True)
    for _ in range(2):
        code, summary = summary_of(archive, target, *TO_16K)
        assert (code, summary["failed"]) == (1, 1)
    row = rows_of(target)[str(archive / "00.wav")]
    assert row["error"] == f"{target}/00.flac: there is a folder of that name"
    assert list((target / "00.flac").iterdir()) == []
    (target / "00.flac").rmdir()
    assert summary_of(archive, target, *TO_16K, "--retry-failed")[1]["done"] == 1
    (target / "00.flac").unlink()
    (target / "00.flac").mkdir()
    assert summary_of(archive, target, *TO_16K)[1]["failed"] == 1


def test_a_target_below_a_file_is_wrong_usage(archive: Path, tmp_path: Path) -> None:
    (tmp_path / "file").write_text("no folder")
    for target, more in (("file", ()), ("file/x", ()), ("file/x/y", ()), ("file", ("--manifest", tmp_path / "books"))):
        result = command(archive, tmp_path / target, *TO_16K, *more)
        assert (result[0], one_line(result)) == (2, f"{tmp_path}/{target}: {tmp_path}/file is no folder")
    result = command(archive, tmp_path / "out", *TO_16K, "--manifest", tmp_path / "file")
    assert (result[0], one_line(result)) == (2, f"{tmp_path}/file: {tmp_path}/file is no folder")
    assert sorted(path.name for path in tmp_path.iterdir()) == ["archive", "file"]


def test_a_base_is_for_lists(archive: Path, tmp_path: Path) -> None:
    result = command(archive, tmp_path / "out", "--base", tmp_path)
    assert (result[0], one_line(result)) == (2, f"base is for lists, and {archive} is a folder")
    assert not (tmp_path / "out").exists()


def test_a_protocol_that_nobody_knows_is_named(archive: Path, tmp_path: Path) -> None:
    line = "ftpx://host/x: there is no file system for ftpx"
    assert one_line(command("ftpx://host/x", tmp_path / "out")) == line
    assert one_line(command(archive, "ftpx://host/x")) == line
    (archive / "files.txt").write_text("ftpx://host/x\n")
    _, summary = summary_of(archive / "files.txt", tmp_path / "out")
    assert summary["errors"] == {"there is no file system for ftpx": 1}
    assert summary["examples"] == {"there is no file system for ftpx": line}


@pytest.mark.skipif(not os.path.exists("/dev/full"), reason="there is no device that is full")
def test_what_could_not_be_said_is_an_error(archive: Path, tmp_path: Path) -> None:
    for words in ([archive, tmp_path / "out"], [archive, tmp_path / "out", "--json"], ["status", tmp_path / "out"]):
        with open("/dev/full", "w") as full:
            run = subprocess.run(
                [sys.executable, "-P", "-c", "from tonekit.batch._command import main; main()", *map(str, words)],
                stdout=full,
                stderr=subprocess.PIPE,
                text=True,
                timeout=100,
                check=False,
            )
        assert (run.returncode, run.stderr) == (1, "tonekit-batch: standard output: No space left on device\n")
    assert tonekit.batch.status(tmp_path / "out")["done"] == 12


def test_one_file_is_one(archive: Path, tmp_path: Path) -> None:
    code, out, _ = command(archive / "one", tmp_path / "out", *TO_16K)
    assert (code, out.splitlines()[0]) == (0, "4 files: 4 done")
    for path in list((archive / "one").iterdir())[1:]:
        path.unlink()
    assert command(archive / "one", tmp_path / "out1", *TO_16K)[1].startswith("1 file: 1 done\n")
    assert command("status", tmp_path / "out1")[1].startswith("1 file: 1 done, 0 failed\n")


_SMALL_FILES = """
import resource
resource.setrlimit(resource.RLIMIT_FSIZE, (60_000, 60_000))
"""


def test_results_that_the_target_does_not_take_are_failed_rows(archive: Path, tmp_path: Path) -> None:
    words = (archive, tmp_path / "out", "--type", "wav")
    code, summary = summary_of(*words, env=environment(tmp_path / "custom", _SMALL_FILES))
    assert (code, summary["failed"], summary["done"]) == (1, 12, 0)
    assert list(summary["errors"]) == ["File too large"]
    assert bytes_of(tmp_path / "out") == {}
    assert summary_of(*words, "--retry-failed")[1]["done"] == 12


# An exception of no kind that the command knows, as those of stores and databases.
_BROKEN = """
import tonekit.batch._run as run
def fail(*_): raise {error}
run.Run.run = fail
"""


@pytest.mark.parametrize(
    ("error", "line"),
    [
        ("__import__('sqlite3').OperationalError('database or disk is full')", "database or disk is full"),
        ("type('NoCredentials', (Exception,), dict())('Unable to locate\\ncredentials')", "Unable to locate credentials"),
        ("MemoryError()", "not enough memory"),
        ("KeyError()", "KeyError"),
    ],
)
def test_no_error_is_a_trace(archive: Path, tmp_path: Path, error: str, line: str) -> None:
    result = command(archive, tmp_path / "out", env=environment(tmp_path / "custom", _BROKEN.format(error=error)))
    assert (result[0], one_line(result)) == (1, line)


def test_streams_that_are_closed_or_lack_characters(archive: Path, tmp_path: Path) -> None:
    shutil.copytree(archive, tmp_path / "Größe")
    code, out, err = command(tmp_path / "Größe", tmp_path / "Ziel ♪", *TO_16K, env={**os.environ, "PYTHONIOENCODING": "ascii"})
    assert (code, err) == (0, "")
    assert "Ziel \\u266a/tonekit-manifest" in out
    words = [sys.executable, "-P", "-c", "import sys; from tonekit.batch._command import main; main()"]
    line = " ".join([f"'{word}'" for word in [*words, str(archive), str(tmp_path / "out"), *TO_16K]])
    assert subprocess.run(f"{line} >&- 2>&-", shell=True, timeout=100, check=False).returncode == 0
    assert len(bytes_of(tmp_path / "out")) == 12


@pytest.mark.parametrize("columns", [25, 60, 120])
def test_the_bar_fits_the_terminal_that_it_is_on(archive: Path, tmp_path: Path, columns: int) -> None:
    try:
        ours, theirs = pty.openpty()
    except OSError:
        pytest.skip("no pseudo-terminal can be opened here")
    import fcntl
    import struct
    import termios

    fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
    words = ["import sys; from tonekit.batch._command import main; main()", str(archive), str(tmp_path / "out"), *TO_16K]
    with (tmp_path / "out.txt").open("w") as out:
        process = subprocess.Popen([sys.executable, "-P", "-c", *words], stdout=out, stderr=theirs)
    os.close(theirs)
    shown = b""
    try:
        while part := os.read(ours, 4096):
            shown += part
    except OSError:
        pass  # the other side was closed
    os.close(ours)
    assert process.wait(100) == 0
    lines = [line.removesuffix("\x1b[K") for line in shown.decode().split("\r")[1:]]
    assert lines[-1] == "" and len(lines) > 1
    assert all(len(line) < columns for line in lines), lines
    assert any(" files" in line for line in lines), lines
