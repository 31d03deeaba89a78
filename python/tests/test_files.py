"""Audio files."""

import hashlib
import os
import subprocess
import sys
import typing
import wave
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest

import tonekit
from tonekit import _file_options, _options


def make_wav(path: Path, samples: np.ndarray, rate: int = 44100) -> Path:
    with wave.open(str(path), "wb") as file:
        file.setnchannels(samples.shape[1])
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(samples.astype("<i2").tobytes())
    return path


@pytest.fixture
def tone() -> np.ndarray:
    t = np.arange(22050) / 44100
    return np.round(8000 * np.sin(2 * np.pi * np.outer(t, [440, 660]))).astype(np.int16)


def test_samples_come_back_from_a_file_of_another_writer(tmp_path: Path, tone: np.ndarray) -> None:
    samples, rate = tonekit.read(make_wav(tmp_path / "a.wav", tone))
    assert rate == 44100
    assert samples.dtype == np.int16
    assert np.array_equal(samples, tone)


@pytest.mark.parametrize("name", ["a.wav", "a.flac", "a.aiff", "a.w64", "a.caf"])
@pytest.mark.parametrize(("bits", "dtype"), [(16, np.int16), (24, np.int32)])
def test_written_samples_come_back(tmp_path: Path, tone: np.ndarray, name: str, bits: int, dtype: type) -> None:
    x = tone if bits == 16 else tone.astype(np.int32) * 65536 + 256
    report = tonekit.write(tmp_path / name, x, 44100, in_dtype="int24" if bits == 24 else None)
    assert report["ok"] and report["output"]["frames"] == 22050
    samples, rate = tonekit.read(tmp_path / name)
    assert (rate, samples.dtype) == (44100, dtype)
    assert np.array_equal(samples, x)


def test_reading_converts_as_convert_does(tmp_path: Path, tone: np.ndarray) -> None:
    path = make_wav(tmp_path / "a.wav", tone)
    samples, rate = tonekit.read(path, rate=16000, channels=1, dtype="float32")
    assert rate == 16000
    assert np.array_equal(samples, tonekit.convert(tone, 44100, 16000, channels=1, dtype="float32"))


def test_converting_a_file_is_converting_its_samples(tmp_path: Path, tone: np.ndarray) -> None:
    source = make_wav(tmp_path / "a.wav", tone)
    report = tonekit.convert_file(source, tmp_path / "b.flac", rate=48000, bits=24, hash="sha256", dither=False)
    expected = tonekit.convert(tone, 44100, 48000, dtype="packed24")
    assert report["hash"]["digest"] == hashlib.sha256(expected.tobytes()).hexdigest()
    assert (report["output"]["rate"], report["output"]["bits"], report["output"]["frames"]) == (48000, 24, 24000)
    assert np.array_equal(tonekit.read(tmp_path / "b.flac", dtype="packed24").samples, expected)


def test_tags_loudness_and_facts(tmp_path: Path, tone: np.ndarray) -> None:
    path = tmp_path / "a.flac"
    tonekit.write(path, tone, 44100, set={"TITLE": "Évening", "track": 3}, replaygain=True)
    facts = tonekit.info(path, hash="sha256")
    assert facts["tags"]["TITLE"] == ["Évening"]
    assert "REPLAYGAIN_TRACK_GAIN" in facts["tags"]
    assert (facts["rate"], facts["channels"], facts["bits"], facts["frames"]) == (44100, 2, 16, 22050)
    assert facts["hash"]["digest"] == hashlib.sha256(tone.tobytes()).hexdigest()
    tonekit.convert_file(path, tmp_path / "b.flac", set={"TITLE": None})
    assert "TITLE" not in tonekit.info(tmp_path / "b.flac")["tags"]


def test_folder_takes_the_name_of_the_source(tmp_path: Path, tone: np.ndarray) -> None:
    (tmp_path / "out").mkdir()
    tonekit.convert_file(make_wav(tmp_path / "a.wav", tone), tmp_path / "out", type="flac")
    assert [p.name for p in (tmp_path / "out").iterdir()] == ["a.flac"]


def test_what_is_there_can_be_kept(tmp_path: Path, tone: np.ndarray) -> None:
    source = make_wav(tmp_path / "a.wav", tone)
    old = make_wav(tmp_path / "b.wav", tone[:10]).read_bytes()
    for option in ("update", "no_clobber", "dry_run"):
        assert tonekit.convert_file(source, tmp_path / "b.wav", rate=8000, **{option: True})["ok"]
        assert (tmp_path / "b.wav").read_bytes() == old


def test_progress_rises_to_the_end(tmp_path: Path, tone: np.ndarray) -> None:
    steps: list[tuple[float, float]] = []
    source = make_wav(tmp_path / "a.wav", np.tile(tone, (20, 1)))
    tonekit.convert_file(source, tmp_path / "b.wav", rate=8000, progress=lambda *step: steps.append(step))
    assert steps == sorted(steps)
    assert steps[-1] == (1.0, 10.0)


def test_what_progress_raises_ends_the_conversion(tmp_path: Path, tone: np.ndarray) -> None:
    source = make_wav(tmp_path / "a.wav", np.tile(tone, (20, 1)))
    old = make_wav(tmp_path / "b.wav", tone[:10]).read_bytes()

    def stop(done: float, seconds: float) -> None:
        raise KeyError("enough")

    with pytest.raises(KeyError, match="enough"):
        tonekit.convert_file(source, tmp_path / "b.wav", rate=8000, progress=stop)
    assert (tmp_path / "b.wav").read_bytes() == old
    assert sorted(p.name for p in tmp_path.iterdir()) == ["a.wav", "b.wav"]


_INTERRUPTED = """
import sys, tonekit
try:
    for i in range(1000):
        tonekit.convert_file(sys.argv[1], sys.argv[2], rate=48000, quality="best",
                             progress=lambda *_: print("works", flush=True) if i == 0 else None)
except KeyboardInterrupt:
    print("interrupted")
"""


def test_ctrl_c_leaves_no_temporary_file(tmp_path: Path, tone: np.ndarray) -> None:
    import signal

    source = make_wav(tmp_path / "a.wav", np.tile(tone, (200, 1)))
    # The signal may be ignored where the tests run.
    process = subprocess.Popen(
        [sys.executable, "-c", _INTERRUPTED, str(source), str(tmp_path / "b.wav")],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.default_int_handler),
    )
    assert process.stdout is not None
    assert process.stdout.readline() == "works\n"
    process.send_signal(signal.SIGINT)
    out, err = process.communicate(timeout=60)
    assert out.splitlines()[-1] == "interrupted", err
    assert process.returncode == 0
    assert {p.name for p in tmp_path.iterdir()} <= {"a.wav", "b.wav"}


def test_many_files_at_once(tmp_path: Path, tone: np.ndarray) -> None:
    source = make_wav(tmp_path / "a.wav", tone)
    filters = ["normal", "steep", "steeper"]

    def convert(i: int) -> str:
        report = tonekit.convert_file(source, tmp_path / f"{i}.wav", rate=48000, filter=filters[i % 3], hash="sha256")
        return str(report["hash"]["digest"])

    alone = [convert(i) for i in range(3)]
    assert len(set(alone)) == 3
    with ThreadPoolExecutor(6) as pool:
        assert list(pool.map(convert, range(18))) == alone * 6


def test_files_that_are_no_audio(tmp_path: Path, tone: np.ndarray) -> None:
    text = tmp_path / "text.wav"
    text.write_text("no audio")
    source = make_wav(tmp_path / "a.wav", tone)
    cut = tmp_path / "cut.wav"
    cut.write_bytes(source.read_bytes()[:-1000])
    for broken in (text, cut):
        for work in (tonekit.read, tonekit.info, lambda path: tonekit.convert_file(path, tmp_path / "out.wav")):
            with pytest.raises(tonekit.FileError, match=broken.name):
                work(broken)
    assert not (tmp_path / "out.wav").exists()
    assert issubclass(tonekit.FileError, OSError)
    with pytest.raises(FileNotFoundError):
        tonekit.read(tmp_path / "none.wav")
    with pytest.raises(tonekit.FileError, match="folder"):
        tonekit.info(tmp_path)
    with pytest.raises(IsADirectoryError):
        tonekit.convert_file(tmp_path, tmp_path / "out")
    with pytest.raises(tonekit.FileError, match="text.wav"):
        tonekit.convert_file(text, tmp_path)
    with pytest.raises(tonekit.FileError, match="same file"):
        tonekit.convert_file(source, source)
    with pytest.raises(tonekit.FileError, match="no folder"):
        tonekit.write(tmp_path / "none" / "a.wav", tone, 44100)


@pytest.mark.parametrize(
    ("options", "kind", "message"),
    [
        ({"rate": 10}, ValueError, "rate must be a rate from 1000"),
        ({"bits": 12}, ValueError, "bits must be one of: 8, 16, 24, 32, 32f, 64f"),
        ({"type": "exe"}, ValueError, "type must be one of: wav"),
        ({"cover_size": 0}, ValueError, "cover_size must be a whole number from 1 to 4096, not '0'"),
        ({"replaygain": "album"}, TypeError, "replaygain must be True or False"),
        ({"no_tags": "yes"}, TypeError, "no_tags must be True or False"),
        ({"set": "TITLE=x"}, TypeError, "set must be a mapping"),
        ({"set": {"a=b": "x"}}, ValueError, "set must have names"),
        ({"hash": "md5"}, ValueError, "hash must be one of: sha256, sha512"),
        ({"rate": [1]}, TypeError, "rate must be a text or a number"),
        ({"rate": 44100.5}, ValueError, "rate must be a rate .* not '44100.5'"),
        ({"gain": float("nan")}, ValueError, "gain must be decibels .* not 'NaN'"),
        ({"start": 1e-9, "end": 1e-8}, tonekit.FileError, "shorter than a sample"),
        ({"set": {"TITLE": 1.5}}, TypeError, "set must have texts for values, not 1.5 for TITLE"),
        ({"set": {"TITLE": "a\0b"}}, ValueError, "set must be text without null"),
        ({"set": {"TITLE": "\udcff"}}, ValueError, "set must be text that UTF-8"),
        ({"jobs": 2}, TypeError, "convert_file\\(\\) has no option 'jobs'"),
        ({"progress": 5}, TypeError, "progress must be a function"),
    ],
)
def test_wrong_options_are_named(tmp_path: Path, tone: np.ndarray, options, kind, message) -> None:
    source = make_wav(tmp_path / "a.wav", tone)
    with pytest.raises(kind, match=message):
        tonekit.convert_file(source, tmp_path / "b.wav", **options)
    assert not (tmp_path / "b.wav").exists()


def test_messages_speak_of_arguments_and_not_of_a_command_line(tmp_path: Path, tone: np.ndarray) -> None:
    with pytest.raises(ValueError, match="or add type$"):
        tonekit.write(tmp_path / "a.xyz", tone, 44100)


def test_names_are_paths_and_texts(tmp_path: Path, tone: np.ndarray) -> None:
    tonekit.write(str(tmp_path / "ä ö.wav"), tone, 44100)
    assert tonekit.info(tmp_path / "ä ö.wav")["path"] == str(tmp_path / "ä ö.wav")
    for wrong in (b"a.wav", 5, None):
        with pytest.raises(TypeError):
            tonekit.convert_file(tmp_path / "ä ö.wav", wrong)
    with pytest.raises(ValueError):
        tonekit.write("", tone, 44100)
    with pytest.raises(ValueError):
        tonekit.write(os.fspath(tmp_path / "a\0.wav"), tone, 44100)


def test_names_that_are_no_text_are_names(tmp_path: Path, tone: np.ndarray) -> None:
    source, target = (os.fsdecode(os.fsencode(tmp_path) + name) for name in (b"/\xff\xfe.wav", b"/\xe4.flac"))
    tonekit.write(source, tone, 44100)
    assert np.array_equal(tonekit.read(source).samples, tone)
    assert tonekit.info(source)["path"] == f"{tmp_path}/\ufffd\ufffd.wav"
    assert tonekit.convert_file(source, target)["ok"]
    assert sorted(os.listdir(os.fsencode(tmp_path))) == [b"\xe4.flac", b"\xff\xfe.wav"]
    Path(target).write_text("no audio")
    with pytest.raises(tonekit.FileError, match=r"/\\xe4\.flac: "):
        tonekit.read(target)


def test_parts_and_samples_without_a_header_are_read(tmp_path: Path, tone: np.ndarray) -> None:
    path = make_wav(tmp_path / "a.wav", tone)
    assert np.array_equal(tonekit.read(path, start=0.1, end="0.25").samples, tone[4410:11025])
    assert np.array_equal(tonekit.read(path, start=np.float32(0.25)).samples, tone[11025:])
    expected = tonekit.convert(tone[4410:], 44100, 16000, channels=1)
    assert np.array_equal(tonekit.read(path, start=0.1, rate=16000, channels=1).samples, expected)
    with pytest.raises(tonekit.FileError, match="a.wav"):
        tonekit.read(path, start=5)
    (tmp_path / "b.raw").write_bytes(tone.astype(">i2").tobytes())
    samples, rate = tonekit.read(tmp_path / "b.raw", raw="s16be,32000,2")
    assert rate == 32000 and np.array_equal(samples, tone)
    facts = tonekit.info(tmp_path / "b.raw", raw="s16be,32000,2")
    assert (facts["type"], facts["rate"], facts["frames"]) == ("raw", 32000, 22050)


def test_reading_says_how_far_it_is(tmp_path: Path, tone: np.ndarray) -> None:
    path = make_wav(tmp_path / "a.wav", np.tile(tone, (20, 1)))
    steps: list[tuple[float, float]] = []
    tonekit.read(path, progress=lambda *step: steps.append(step))
    assert steps == sorted(steps) and len(steps) > 2
    assert steps[-1] == (1.0, 10.0)
    with pytest.raises(ZeroDivisionError):
        tonekit.read(path, progress=lambda *_: 1 / 0)
    with pytest.raises(TypeError, match="progress must be a function"):
        tonekit.read(path, progress="yes")


def test_tags_have_several_values_and_go_back_where_they_came_from(tmp_path: Path, tone: np.ndarray) -> None:
    source = make_wav(tmp_path / "a.wav", tone)
    tags = {"ARTIST": ["First", "Second"], "TITLE": ["One; two"], "TRACKNUMBER": 7}
    tonekit.convert_file(source, tmp_path / "a.flac", set=tags)
    found = tonekit.info(tmp_path / "a.flac")["tags"]
    assert found == {"ARTIST": ["First", "Second"], "TITLE": ["One; two"], "TRACKNUMBER": ["7"]}
    tonekit.convert_file(source, tmp_path / "b.mp3", set=found)
    assert tonekit.info(tmp_path / "b.mp3")["tags"] == found
    tonekit.convert_file(tmp_path / "a.flac", tmp_path / "c.flac", set={"ARTIST": []})
    assert "ARTIST" not in tonekit.info(tmp_path / "c.flac")["tags"]


def test_levels_and_times_are_numbers(tmp_path: Path, tone: np.ndarray) -> None:
    source = make_wav(tmp_path / "a.wav", tone)
    by_number = tonekit.convert_file(source, tmp_path / "b.wav", gain=-3.5, start=0.125, end=0.25, dither=False, hash="sha256")
    by_text = tonekit.convert_file(
        source, tmp_path / "c.wav", gain="-3.5", start="0.125", end="0.25", dither="off", hash="sha256"
    )
    assert by_number["hash"] == by_text["hash"]
    assert by_number["output"]["frames"] == 5512


def test_spectrograms_are_drawn(tmp_path: Path, tone: np.ndarray) -> None:
    source = make_wav(tmp_path / "a.wav", tone)
    report = tonekit.convert_file(source, tmp_path / "b.flac", rate=16000, spectrogram=tmp_path / "b.png")
    assert report["spectrogram"] == str(tmp_path / "b.png")
    assert (tmp_path / "b.png").read_bytes().startswith(b"\x89PNG\r\n\x1a\n")
    with pytest.raises(ValueError, match="spectrogram"):
        tonekit.convert_file(source, tmp_path / "c.flac", spectrogram="c.gif")
    with pytest.raises(TypeError, match="no option 'spectrogram'"):
        tonekit.write(tmp_path / "c.flac", tone, 44100, spectrogram="c.png")
    assert sorted(path.name for path in tmp_path.iterdir()) == ["a.wav", "b.flac", "b.png"]


def test_a_header_that_promises_too_much_is_no_end_of_memory(tmp_path: Path, tone: np.ndarray) -> None:
    path = tmp_path / "a.flac"
    tonekit.write(path, tone, 44100)
    header = bytearray(path.read_bytes())
    header[21] |= 0x0F
    header[22:26] = b"\xff\xff\xff\xff"  # 2^36 - 1 frames
    path.write_bytes(header)
    with pytest.raises(tonekit.FileError, match="22050 of 68719476735 frames"):
        tonekit.read(path)


@pytest.mark.parametrize("name", ["a.flac", "a.mp3", "a.opus"])
def test_what_would_be_no_file_is_refused(tmp_path: Path, name: str) -> None:
    with pytest.raises(tonekit.FileError, match=f"{name}: .* 0 frames"):
        tonekit.write(tmp_path / name, np.zeros((0, 2), np.int16), 48000)
    assert list(tmp_path.iterdir()) == []


def test_writing_checks_its_samples(tmp_path: Path) -> None:
    with pytest.raises(ValueError, match="1 to 8 channels, not 9"):
        tonekit.write(tmp_path / "a.wav", np.zeros((4, 9)), 44100)
    with pytest.raises(TypeError, match="int64"):
        tonekit.write(tmp_path / "a.wav", np.zeros(4, np.int64), 44100)
    with pytest.raises(ValueError, match="rate"):
        tonekit.write(tmp_path / "a.wav", np.zeros(4), 0)
    assert list(tmp_path.iterdir()) == []


def test_options_and_their_types_are_those_of_the_program() -> None:
    assert set(typing.get_type_hints(_file_options.FileOptions)) == set(_options.TABLE)
    assert all(f"``{name}``" in (tonekit.convert_file.__doc__ or "") for name in _options.TABLE)
