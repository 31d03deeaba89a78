"""The Ray engine and the step of Ray Data, on a cluster of two nodes that the tests start and end."""

from __future__ import annotations

import os
import shutil
import signal
import threading
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pyarrow.parquet as parquet
import pytest
from batches import OF_16K, bytes_of, rows_of, until

import tonekit.batch

ray = pytest.importorskip("ray", reason="tonekit[ray] isn't installed")

# Also in workers of Ray: files that kill their worker, or are slow.
DEADLY = """
import sys
if any("default_worker.py" in word for word in sys.orig_argv):
    import os, signal, time
    import tonekit.batch._work as work
    converted = work.Worker._converted
    def deadly(self, item):
        if "killer" in item.source:
            converted(self, item)  # with a result that is never put in place
            os.kill(os.getpid(), signal.SIGKILL)
        if "slow" in item.source:
            time.sleep(1)
        return converted(self, item)
    work.Worker._converted = deadly
"""


@pytest.fixture(scope="module")
def cluster(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Any]:
    from batches import environment
    from ray.cluster_utils import Cluster

    custom = environment(tmp_path_factory.mktemp("custom"), DEADLY)
    before = dict(os.environ)
    os.environ.update(PYTHONPATH=custom["PYTHONPATH"], RAY_USAGE_STATS_ENABLED="0")
    small = {"num_cpus": 1, "object_store_memory": 100 << 20, "include_dashboard": False}
    cluster = Cluster(initialize_head=True, head_node_args=small)
    cluster.add_node(num_cpus=1, object_store_memory=100 << 20)
    cluster.wait_for_nodes()
    ray.init(address=cluster.address, log_to_driver=False)
    yield cluster
    ray.shutdown()
    cluster.shutdown()
    os.environ.clear()
    os.environ.update(before)


@pytest.fixture
def expected(archive: Path, tmp_path: Path) -> dict[str, str]:
    tonekit.batch.run(archive, tmp_path / "expected", **OF_16K)
    return bytes_of(tmp_path / "expected")


def test_results_are_those_of_the_local_engine(
    cluster: Any, archive: Path, tmp_path: Path, expected: dict[str, str]
) -> None:
    (archive / "text.wav").write_text("no audio")
    for workers in (None, 1):
        target = tmp_path / f"out-{workers}"
        summary = tonekit.batch.run(archive, target, engine="ray", workers=workers, **OF_16K)
        assert (summary["done"], summary["failed"]) == (12, 1)
        assert bytes_of(target) == expected
        assert len(rows_of(target)) == 13
        assert tonekit.batch.run(archive, target, engine="ray", **OF_16K)["kept"] == 12


def test_a_file_that_kills_its_worker_is_set_aside(
    cluster: Any, archive: Path, tmp_path: Path, expected: dict[str, str]
) -> None:
    shutil.copy(archive / "00.wav", archive / "one" / "killer.wav")
    summary = tonekit.batch.run(archive, tmp_path / "out", engine="ray", **OF_16K)
    assert (summary["done"], summary["failed"]) == (12, 1)
    row = rows_of(tmp_path / "out")[str(archive / "one" / "killer.wav")]
    assert (row["attempts"], "set aside after it ended 3 workers" in row["error"]) == (3, True)
    assert bytes_of(tmp_path / "out") == expected


def test_a_step_of_ray_data(cluster: Any, archive: Path, tmp_path: Path, expected: dict[str, str]) -> None:
    import tonekit.ray

    paths = [str(path) for path in sorted(archive.rglob("[0-9]*.*"))] + [str(archive / "none.wav")]
    dataset = ray.data.from_items([{"path": path, "speaker": i} for i, path in enumerate(paths)])
    rows = tonekit.ray.convert(dataset, tmp_path / "out", base=archive, **OF_16K).take_all()
    assert [row["path"] for row in rows if row["state"] == "failed"] == [str(archive / "none.wav")]
    assert {row["target_digest"] for row in rows} - {None} == set(expected.values())
    assert all(row["source"] == paths[row["speaker"]] for row in rows)
    assert bytes_of(tmp_path / "out") == expected
    with pytest.raises(ValueError, match="rate must be"):
        tonekit.ray.convert(dataset, tmp_path / "out", rate=5)
    with pytest.raises(TypeError, match=r"convert\(\) has no option 'jobs'"):
        tonekit.ray.convert(dataset, tmp_path / "out", jobs=5)


def test_killed_workers_and_a_killed_node_lose_nothing(
    cluster: Any, archive: Path, tmp_path: Path, expected: dict[str, str]
) -> None:
    slow = archive.rename(tmp_path / "slow")
    target = tmp_path / "out"
    node = cluster.add_node(num_cpus=1, object_store_memory=100 << 20)
    cluster.wait_for_nodes()
    result: dict[str, Any] = {}
    thread = threading.Thread(target=lambda: result.update(tonekit.batch.run(slow, target, engine="ray", **OF_16K)))
    thread.start()
    until(lambda: len(list(target.rglob("*.flac"))) >= 2)
    os.kill(until(lambda: _ray_worker()), signal.SIGKILL)
    until(lambda: len(list(target.rglob("*.flac"))) >= 4)
    cluster.remove_node(node, allow_graceful=False)
    thread.join(timeout=120)
    assert (result["done"], result["failed"]) == (12, 0)
    assert bytes_of(target) == expected
    table = parquet.read_table(target / "tonekit-manifest")
    assert table.num_rows == 12


def _ray_worker() -> int:
    """A process that does tasks of Ray now; 0 if there is none."""
    for folder in Path("/proc").glob("[0-9]*"):
        try:
            if (folder / "cmdline").read_bytes().startswith(b"ray::do"):
                return int(folder.name)
        except OSError:
            continue
    return 0
