"""Sources and targets beyond this machine: a real S3 server, and other file systems of fsspec."""

from __future__ import annotations

import functools
import http.server
import os
import shutil
import signal
import threading
from collections import Counter
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import fsspec
import numpy as np
import pyarrow.parquet as parquet
import pytest
from batches import OF_16K, TO_16K, bytes_of, start, summary_of, until, workers_of
from store import S3Server

import tonekit
import tonekit.batch
from tonekit.batch import _storage


@pytest.fixture
def server() -> Iterator[S3Server]:
    with S3Server() as server:
        fs = fsspec.filesystem("s3", **server.storage["s3"], use_listings_cache=False)
        for bucket in ("sources", "results"):
            if not fs.exists(bucket):
                fs.mkdir(bucket)
            else:
                for path in fs.find(bucket):
                    fs.rm_file(path)
        yield server


def fs_of(server: S3Server) -> Any:
    return fsspec.filesystem("s3", **server.storage["s3"], use_listings_cache=False)


def fetched(server: S3Server, address: str, folder: Path) -> dict[str, str]:
    """The bytes of a target on the server."""
    shutil.rmtree(folder, ignore_errors=True)
    fs_of(server).get(f"{address}/", f"{folder}/", recursive=True)
    return bytes_of(folder)


def rows_of(server: S3Server, address: str) -> list[dict[str, Any]]:
    return parquet.read_table(address, filesystem=fs_of(server)).to_pylist()  # type: ignore[no-any-return]


@pytest.fixture
def expected(archive: Path, tmp_path: Path, server: S3Server) -> dict[str, str]:
    """The archive goes to the server; the bytes of a run on this machine are those that are expected there."""
    fs_of(server).put(f"{archive}/", "sources/archive/", recursive=True)
    tonekit.batch.run(archive, tmp_path / "expected", **OF_16K)
    return bytes_of(tmp_path / "expected")


def test_from_store_to_store(server: S3Server, tmp_path: Path, expected: dict[str, str]) -> None:
    words = ("s3://sources/archive", "s3://results/16k", *TO_16K)
    code, summary = summary_of(*words, env=server.environment())
    assert (code, summary["files"], summary["done"]) == (0, 12, 12)
    assert fetched(server, "results/16k", tmp_path / "fetched") == expected
    rows = {row["source"]: row for row in rows_of(server, "results/16k/tonekit-manifest")}
    assert len(rows) == 12
    row = rows["s3://sources/archive/one/01.flac"]
    assert row["stamp"] == fs_of(server).info("sources/archive/one/01.flac")["ETag"].strip('"')
    assert (row["target"], row["target_digest"]) == ("s3://results/16k/one/01.flac", expected["one/01.flac"])
    # Each result is uploaded once, in one piece.
    uploads = {name: count for name, count in server.puts.items() if name.endswith(".flac") and "/16k/" in name}
    assert uploads == {f"/results/16k/{name}": 1 for name in expected}
    fs_of(server).put(str(tmp_path / "archive" / "00.wav"), "sources/archive/06.wav")
    code, summary = summary_of(*words, env=server.environment())
    assert (code, summary["done"], summary["kept"]) == (0, 1, 11)
    fs_of(server).pipe_file("results/16k/00.flac", b"damaged")
    fs_of(server).rm_file("results/16k/03.flac")
    code, summary = summary_of(*words, "--verify", env=server.environment())
    assert (code, summary["done"], summary["verified"]) == (0, 2, 10)
    assert tonekit.batch.status("s3://results/16k", storage=server.storage)["done"] == 12


def test_errors_and_slow_answers_change_nothing(server: S3Server, tmp_path: Path, expected: dict[str, str]) -> None:
    server.fail_every, server.slow_every = 4, 17
    words = ("s3://sources/archive", "s3://results/faults", *TO_16K, "--workers", "4")
    code, summary = summary_of(*words, env=server.environment())
    server.fail_every = server.slow_every = 0
    assert server.failures > 10
    assert (code, summary["done"], summary["errors"]) == (0, 12, {})
    assert fetched(server, "results/faults", tmp_path / "fetched") == expected
    assert len(rows_of(server, "results/faults/tonekit-manifest")) == 12


def test_a_killed_driver_is_resumed_on_a_store(server: S3Server, tmp_path: Path, expected: dict[str, str]) -> None:
    server.slow_every = 3
    words = ("s3://sources/archive", "s3://results/killed", *TO_16K, "--workers", "1")
    driver = start(*words, env=server.environment())
    until(lambda: any("part-" in name for name in server.stored))
    driver.kill()
    driver.communicate()
    until(lambda: server.in_work == 0)  # what the driver had sent whole may still become part of the books
    server.slow_every = 0
    booked = tonekit.batch.status("s3://results/killed", storage=server.storage)["done"]
    assert booked > 0
    code, summary = summary_of(*words, env=server.environment())
    assert (code, summary["kept"], summary["done"]) == (0, booked, 12 - booked)
    assert fetched(server, "results/killed", tmp_path / "fetched") == expected
    assert len(rows_of(server, "results/killed/tonekit-manifest")) == 12


def test_an_upload_that_is_killed_in_the_middle(server: S3Server, tmp_path: Path) -> None:
    """What the worker had sent until then is more than the system's buffers hold, so the store never gets the rest."""
    noise = np.random.default_rng(5).integers(-9000, 9000, (30 * 44100, 2)).astype(np.int16)
    (tmp_path / "long").mkdir()
    tonekit.write(tmp_path / "long" / "a.wav", noise, 44100)
    to_96k = {"rate": 96000, "bits": 32, "type": "wav", "dither": "off"}
    tonekit.batch.run(tmp_path / "long", tmp_path / "expected", **to_96k)
    server.hold = "/killed-upload/a.wav"
    words = (tmp_path / "long", "s3://results/killed-upload", "--rate", "96000", "--bits", "32", "--type", "wav")
    driver = start(*words, "--dither", "off", "--workers", "1", env=server.environment())
    assert server.held.wait(60)
    os.kill(workers_of(driver.pid)[0], signal.SIGKILL)
    server.go_on.set()
    assert server.cut_off.wait(60)
    _, err = driver.communicate(timeout=120)
    assert driver.returncode == 0, err
    assert server.puts["/results/killed-upload/a.wav"] == 2
    assert fetched(server, "results/killed-upload", tmp_path / "fetched") == bytes_of(tmp_path / "expected")
    [row] = rows_of(server, "results/killed-upload/tonekit-manifest")
    assert (row["state"], row["attempts"]) == ("done", 2)
    unfinished = fs_of(server).call_s3("list_multipart_uploads", Bucket="results")
    assert "Uploads" not in unfinished


def test_a_listing_of_many_pages(server: S3Server, tmp_path: Path, archive: Path) -> None:
    from tonekit.batch import _listing

    fs = fs_of(server)
    names = {f"{i % 7}/{i:04}.wav" for i in range(2300)}
    for name in names:
        fs.pipe_file(f"sources/many/{name}", b"x")
    fs.pipe_file("sources/many/notes.txt", b"x")
    fs.pipe_file("sources/many/.cache/a.wav", b"x")
    found = list(_listing.entries("s3://sources/many", "s3://sources/many/6", storage=server.storage))
    assert {entry.name for entry in found} == {name for name in names if not name.startswith("6/")}
    assert {entry.size for entry in found} == {1}


def test_lists_of_addresses(server: S3Server, tmp_path: Path, expected: dict[str, str]) -> None:
    names = ("archive/00.wav", "archive/one/01.flac", "none.wav")
    (tmp_path / "files.txt").write_text("".join(f"s3://sources/{name}\n" for name in names))
    summary = tonekit.batch.run(
        tmp_path / "files.txt", tmp_path / "out", base="s3://sources/archive", storage=server.storage, **OF_16K
    )
    assert (summary["done"], summary["failed"]) == (2, 1)
    assert bytes_of(tmp_path / "out") == {name: expected[name] for name in ("00.flac", "one/01.flac")}


def test_sources_that_are_not_there(server: S3Server) -> None:
    for source in ("s3://sources/nothing", "s3://no-such-bucket/x"):
        with pytest.raises(FileNotFoundError):
            tonekit.batch.run(source, "s3://results/x", storage=server.storage)


def test_an_http_server_as_source(archive: Path, tmp_path: Path, expected: dict[str, str]) -> None:
    handler = functools.partial(_Quiet, directory=str(archive))
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler) as files:
        thread = threading.Thread(target=files.serve_forever, daemon=True)
        thread.start()
        url = f"http://127.0.0.1:{files.server_port}"
        (tmp_path / "list.txt").write_text(f"{url}/00.wav\n{url}/one/01.flac\n{url}/none.wav\n")
        summary = tonekit.batch.run(tmp_path / "list.txt", tmp_path / "out", base=url, **OF_16K)
        files.shutdown()
        thread.join()
    assert (summary["done"], summary["failed"], list(summary["errors"])) == (2, 1, ["there is no such file"])
    assert bytes_of(tmp_path / "out") == {name: expected[name] for name in ("00.flac", "one/01.flac")}


def test_an_http_server_that_fails_is_asked_again(archive: Path, tmp_path: Path) -> None:
    asked: Counter[str] = Counter()

    class Failing(_Quiet):
        def send_head(self) -> Any:
            asked[self.path] += 1
            if asked[self.path] <= 2 or self.path == "/locked.wav":
                self.send_error(403 if self.path == "/locked.wav" else 503)
                return None
            return super().send_head()

    shutil.copy(archive / "00.wav", archive / "locked.wav")
    handler = functools.partial(Failing, directory=str(archive))
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler) as files:
        thread = threading.Thread(target=files.serve_forever, daemon=True)
        thread.start()
        url = f"http://127.0.0.1:{files.server_port}"
        (tmp_path / "list.txt").write_text(f"{url}/00.wav\n{url}/locked.wav\n{url}/none.wav\n")
        summary = tonekit.batch.run(tmp_path / "list.txt", tmp_path / "out", base=url, **OF_16K)
        files.shutdown()
        thread.join()
    assert (summary["done"], summary["failed"]) == (1, 2)
    errors = {row["source"].rpartition("/")[2]: row["error"] for row in rows_at(tmp_path / "out") if row["error"]}
    assert errors["none.wav"] == f"{url}/none.wav: there is no such file"
    assert errors["locked.wav"].startswith(f"{url}/locked.wav: 403, message='Forbidden'")


def test_an_http_server_that_is_not_there_is_said(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(_storage, "_PAUSES", (0.01,))
    (tmp_path / "list.txt").write_text("http://127.0.0.1:1/a.wav\n")
    summary = tonekit.batch.run(tmp_path / "list.txt", tmp_path / "out", **OF_16K)
    [text] = summary["examples"].values()
    assert text.startswith("http://127.0.0.1:1/a.wav: Connect call failed")


def rows_at(target: Path) -> list[dict[str, Any]]:
    return parquet.read_table(target / "tonekit-manifest").to_pylist()  # type: ignore[no-any-return]


class _Quiet(http.server.SimpleHTTPRequestHandler):
    def log_message(self, format: str, *args: object) -> None:
        pass


def test_a_store_that_uploads_in_view_gets_whole_files(archive: Path, tmp_path: Path, expected: dict[str, str]) -> None:
    """fsspec's own view of a folder shows a file while it grows; results still appear whole."""
    address = f"local://{tmp_path}/out"
    summary = tonekit.batch.run(archive, address, workers=1, **OF_16K)
    assert (summary["done"], summary["failed"]) == (12, 0), summary["errors"]
    assert bytes_of(tmp_path / "out") == expected
    assert tonekit.batch.run(archive, address, **OF_16K)["kept"] == 12
