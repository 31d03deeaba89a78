"""The package as it is installed: its documentation, types, command and libraries."""

import doctest
import importlib
import importlib.metadata
import re
import shutil
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import tonekit

PACKAGE = Path(tonekit.__file__).parent
TREE = Path(__file__).resolve().parents[2]
MODULES = ["tonekit", "tonekit._bodies", "tonekit._convert", "tonekit._files", "tonekit.hdcd", "tonekit.loudness", "tonekit.image"]


@pytest.mark.parametrize("name", MODULES)
def test_examples_in_docstrings(name: str) -> None:
    outcome = doctest.testmod(importlib.import_module(name))
    assert outcome.failed == 0
    assert outcome.attempted > 0 or name == "tonekit._files"


def test_examples_in_the_readme(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    """Runs all of them in a folder with the files that they speak of."""
    monkeypatch.chdir(tmp_path)
    rng = np.random.default_rng(0)
    (tmp_path / "speech").mkdir()
    (tmp_path / "album").mkdir()
    for i in range(3):
        tonekit.write(f"speech/{i}.flac", rng.uniform(-0.3, 0.3, (48000, 2)), 48000, bits=16)
        tonekit.write(f"album/{i}.flac", rng.uniform(-0.3, 0.3, (96000, 2)), 96000, bits=24)
    tonekit.write("disc.wav", rng.integers(-9000, 9000, (44100, 2), np.int16), 44100)
    bmp = bytes.fromhex("424d3a0000000000000036000000280000000100000001000000010018000000000004000000" + "00" * 16)
    Path("cover.bmp").write_bytes(bmp + b"\x10\x20\x30\x00")
    examples = re.findall(r"```python\n(.*?)```", (TREE / "python" / "README.md").read_text(), re.DOTALL)
    assert len(examples) >= 6
    for example in examples:
        exec(compile(example, "README.md", "exec"), {})  # noqa: S102


def test_types_are_strict(tmp_path: Path) -> None:
    # Apart from the other packages of the environment, which mypy would take for files to check.
    shutil.copytree(PACKAGE, tmp_path / "tonekit", ignore=shutil.ignore_patterns("*.so*", "_bin"))
    command = [sys.executable, "-m", "mypy", "--no-error-summary", "--cache-dir=/dev/null", "tonekit"]
    command.append(f"--config-file={TREE / 'pyproject.toml'}")
    run = subprocess.run(command, capture_output=True, text=True, cwd=tmp_path)
    assert run.returncode == 0, run.stdout + run.stderr
    assert (PACKAGE / "py.typed").exists()
    assert (PACKAGE / "_core.pyi").exists()


def test_stub_names_what_the_extension_has() -> None:
    stub = (PACKAGE / "_core.pyi").read_text()
    core = importlib.import_module("tonekit._core")
    for name in vars(core):
        if not name.startswith("__"):
            assert re.search(rf"^(class|def) {name}\b|^{name}\b", stub, re.MULTILINE), name


def test_the_program_is_a_command(tmp_path: Path) -> None:
    program = Path(sys.executable).parent / "tonekit-convert"
    if not program.exists():
        pytest.skip("the package isn't installed")
    run = subprocess.run([program, "--version"], capture_output=True, text=True)
    assert run.stdout == f"tonekit-convert {importlib.metadata.version('tonekit')}\n"
    tonekit.write(tmp_path / "a.wav", np.zeros((100, 2), np.int16), 44100)
    run = subprocess.run([program, "--rate", "48000", "a.wav", "b.flac"], cwd=tmp_path, capture_output=True, text=True)
    assert run.returncode == 0, run.stderr
    assert tonekit.info(tmp_path / "b.flac")["rate"] == 48000
    assert subprocess.run([program, "--nonsense"], capture_output=True).returncode == 2


def test_nothing_of_the_package_comes_from_elsewhere() -> None:
    """Only the C and C++ runtimes are the system's: an allocation exception crosses from library to extension."""
    if not (PACKAGE.parent / "tonekit.libs").exists():
        pytest.skip("the package doesn't come from a repaired wheel")
    own = [*PACKAGE.glob("*.so*"), *PACKAGE.glob("_bin/*"), *(PACKAGE.parent / "tonekit.libs").iterdir()]
    names = {path.name for path in own}
    for wanted in ("libtonekit", "libebur128", "libsndfile", "libtag", "libspng"):
        assert any(name.startswith(wanted) for name in names), wanted
    assert not any(name.startswith(("libstdc++", "libgcc")) for name in names)
    system = re.compile(r"/lib(64)?/(x86_64-linux-gnu/)?(ld-linux|lib(c|m|stdc\+\+|gcc_s|z|pthread|dl|rt|mvec)[.-])")
    for path in own:
        needed = re.findall(r"=> (\S+)", subprocess.run(["ldd", path], capture_output=True, text=True).stdout)
        assert needed
        assert all(str(PACKAGE.parent) in lib or system.search(lib) for lib in needed), (path.name, needed)


def test_the_version_is_that_of_the_package() -> None:
    assert tonekit.__version__ == importlib.metadata.version("tonekit")


def test_the_package_is_imported_without_numpy() -> None:
    """Worker processes convert files, and need none."""
    code = (
        "import sys, tonekit, tonekit.batch._worker\n"
        "assert 'numpy' not in sys.modules\n"
        "assert set(tonekit.__all__) <= set(dir(tonekit))\n"
        "from tonekit import *\n"
        "print(*(name for name in tonekit.__all__ if globals()[name] is not getattr(tonekit, name)))\n"
        "tonekit.nothing\n"
    )
    run = subprocess.run([sys.executable, "-P", "-c", code], capture_output=True, text=True, check=False)
    assert run.stdout == "\n"
    assert run.stderr.endswith("AttributeError: module 'tonekit' has no attribute 'nothing'\n")
