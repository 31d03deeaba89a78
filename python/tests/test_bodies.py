"""The choice between bodies, all of which return the same bytes."""

import hashlib
from collections.abc import Iterator

import numpy as np
import pytest

import tonekit


@pytest.fixture(autouse=True)
def automatic_afterwards() -> Iterator[None]:
    yield
    tonekit.use_bodies("auto")


def _letters() -> str:
    """Those of this processor, in ascending demand."""
    return "ALMNPRSV"[: "ALMNPRSV".index(tonekit.use_bodies("auto")) + 1]


def test_plain_is_no_letter() -> None:
    assert tonekit.use_bodies("plain") == "plain"


def test_letters_up_to_the_automatic_one_can_be_chosen() -> None:
    for letter in _letters():
        assert tonekit.use_bodies(letter) == letter


def test_letters_beyond_it_are_refused() -> None:
    letters = _letters()
    for letter in "ALMNPRSV"[len(letters) :]:
        with pytest.raises(ValueError, match=f"bodies can be no more than {letters[-1]} on this processor, not '{letter}'"):
            tonekit.use_bodies(letter)


@pytest.mark.parametrize("name", ["", "v", "B", "AL", "avx2"])
def test_other_names_are_refused(name: str) -> None:
    with pytest.raises(ValueError, match="bodies must be auto, plain, or one of A, L, M, N, P, R, S and V"):
        tonekit.use_bodies(name)


def test_all_return_the_same_bytes() -> None:
    x = np.random.default_rng(5).integers(-30000, 30000, (30011, 2), np.int16)

    def digest(name: str) -> str:
        tonekit.use_bodies(name)
        parts = [tonekit.convert(x, 44100, 48000, dtype=kind, dither=False) for kind in ("int16", "int24", "float32")]
        parts.append(tonekit.resample(x[:, 0], 44100, 16000))
        return hashlib.sha256(b"".join(part.tobytes() for part in parts)).hexdigest() + tonekit.hdcd.detect(x)

    expected = digest("plain")
    for name in ["auto", *_letters()]:
        assert digest(name) == expected, name


def test_no_function_takes_them_as_an_option() -> None:
    with pytest.raises(TypeError, match="'bodies'"):
        tonekit.convert(np.zeros(10, np.float32), 44100, 48000, bodies="A")  # type: ignore[call-arg]
