"""Columns of the books, compared with those that pyarrow makes of the same lists."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path
from typing import Any

import pyarrow
import pytest

from tonekit.batch._books import SCHEMA
from tonekit.batch._columns import column_of

VALUES: dict[str, list[Any]] = {
    "string": ["WAV", "", "Größe ♪", "a\0b", "𝄞", "x" * 300],
    "int32": [0, 1, -1, 2**31 - 1, -(2**31)],
    "int64": [0, 1, -1, 2**63 - 1, -(2**63)],
    "double": [0.0, -0.0, 0.1, -1e308, float("inf"), 5e-324],
    "bool": [True, False, False, True, True],
    "list<element: string>": [[], ["a"], ["", "ä", "b" * 40], ["c", "d"]],
    "timestamp[us, tz=UTC]": [0, 1_795_000_000_123_456, -1],
}


def values_of(kind: pyarrow.DataType) -> list[Any]:
    return VALUES[str(kind).replace("item", "element")]


@pytest.mark.parametrize("kind", sorted({field.type for field in SCHEMA}, key=str), ids=str)
def test_columns_are_those_of_pyarrow(kind: pyarrow.DataType) -> None:
    given = values_of(kind)
    for count in (0, 1, 7, 8, 9, 63, 64, 65, 200):
        whole = [given[i % len(given)] for i in range(count)]
        for nothing in (lambda i: False, lambda i: True, lambda i: i % 3 == 0, lambda i: i % 7 != 5, lambda i: i == count - 1):
            values = [None if nothing(i) else value for i, value in enumerate(whole)]
            made = column_of(values, kind)
            made.validate(full=True)
            assert made.equals(pyarrow.array(values, kind)), (count, values)
            assert made.null_count == values.count(None)
    for value in given:
        assert column_of([value] * 70, kind).equals(pyarrow.array([value] * 70, kind))


@pytest.mark.parametrize(
    ("value", "kind", "error"),
    [
        (2**31, pyarrow.int32(), OverflowError),
        (2**63, pyarrow.int64(), OverflowError),
        (1.5, pyarrow.int64(), TypeError),
        ("1", pyarrow.float64(), TypeError),
        (1, pyarrow.string(), TypeError),
        ("\ud800", pyarrow.string(), UnicodeEncodeError),
    ],
)
def test_what_a_column_cant_hold_is_refused(value: object, kind: pyarrow.DataType, error: type[Exception]) -> None:
    with pytest.raises(error):
        column_of([None, value], kind)


BOOKS = """
import sys
from empty_archive import made
from tonekit.batch import status
from tonekit.batch._books import Books
from tonekit.batch._shards import Shards
from tonekit.batch._storage import Store
for run in "abc":
    shards = Shards(Store(sys.argv[1]), run)
    for i in range(3):
        shards.add({**made(f"/{i}"), "gain": None if i else -1.5, "warnings": ["w"] * i})
    shards.close(merge=run != "b")
print(status(sys.argv[1])["files"], Books(Store(sys.argv[1])).files().__len__())
"""


def test_books_need_no_pandas(tmp_path: Path) -> None:
    imported = tmp_path / "imported"
    (tmp_path / "pandas.py").write_text(f"open({str(imported)!r}, 'w').close()\nraise ImportError\n")
    path = os.pathsep.join([str(tmp_path), *filter(None, sys.path)])
    words = [sys.executable, "-P", "-c", BOOKS, str(tmp_path / "books")]
    done = subprocess.run(words, capture_output=True, text=True, env={**os.environ, "PYTHONPATH": path}, check=False)
    assert (done.stdout, done.stderr) == ("3 1\n", "")
    assert not imported.exists()
