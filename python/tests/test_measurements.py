"""Loudness, HDCD and pictures."""

import struct
import threading
from pathlib import Path

import numpy as np
import pytest

import tonekit
from tonekit import hdcd, image, loudness


def sine(rate: int, seconds: float, amplitude: float, channels: int = 2, frequency: float = 997.0) -> np.ndarray:
    t = np.arange(int(rate * seconds)) / rate
    return np.repeat(amplitude * np.sin(2 * np.pi * frequency * t)[:, None], channels, axis=1)


def test_the_standard_tone_has_its_loudness() -> None:
    # EBU Tech 3341: a stereo tone of 1 kHz at -23 dBFS measures -23 LUFS.
    result = loudness.measure(sine(48000, 20, 10 ** (-23 / 20), frequency=1000), 48000)
    assert result.lufs == pytest.approx(-23.0, abs=0.1)
    assert result.gain == pytest.approx(5.0, abs=0.1)
    assert result.peak == pytest.approx(10 ** (-23 / 20), rel=1e-3)
    assert result.peak_db == pytest.approx(-23.0, abs=0.01)
    assert result.frames == 960_000


def test_mono_is_as_loud_as_the_same_on_two() -> None:
    both = sine(48000, 3, 0.1)
    assert loudness.measure(both[:, 0], 48000).lufs == pytest.approx(loudness.measure(both, 48000).lufs, abs=1e-9)


def test_a_peak_between_samples_is_found() -> None:
    # A quarter of the rate, sampled at 45 degrees: samples of 0.707 under a wave of 1.
    x = np.sin(np.arange(48000) * np.pi / 2 + np.pi / 4) * 0.9
    assert loudness.measure(x, 48000).peak == pytest.approx(0.9 * 0.5**0.5, rel=1e-6)
    assert loudness.measure(x, 48000, true_peak=True).peak == pytest.approx(0.9, rel=0.02)


def test_silence_has_no_loudness() -> None:
    result = loudness.measure(np.zeros((48000, 2)), 48000)
    assert (result.lufs, result.gain, result.peak) == (None, None, 0.0)
    assert result.peak_db == float("-inf")


def test_blocks_types_and_orders_measure_alike() -> None:
    x = (sine(44100, 2, 0.3) * 32768).astype(np.int16)
    whole = loudness.measure(x, 44100)
    meter = loudness.Meter(2, 44100)
    for block in np.array_split(np.asfortranarray(x), 37):
        meter.write(block)
    assert meter.result == whole
    assert loudness.measure(x / 32768, 44100) == whole
    packed = tonekit.convert(x, 44100, dtype="packed24")
    assert loudness.measure(packed, 44100, in_dtype="packed24") == whole


def test_an_album_is_measured_through_changes() -> None:
    meter = loudness.Meter(2, 48000)
    meter.write(sine(48000, 3, 0.1))
    meter.change(1, 44100)
    meter.write(sine(44100, 3, 0.1, channels=1))
    assert meter.result.lufs == pytest.approx(loudness.measure(sine(48000, 6, 0.1), 48000).lufs, abs=0.1)
    with pytest.raises(ValueError, match="1 channels, not 2"):
        meter.write(sine(44100, 1, 0.1))


@pytest.mark.parametrize(
    ("arguments", "message"),
    [((0, 48000), "channels must be from 1 to 64"), ((65, 48000), "not 65"), ((2, 99), "rate must be from 100")],
)
def test_formats_that_cannot_be_measured(arguments: tuple[int, int], message: str) -> None:
    with pytest.raises(ValueError, match=message):
        loudness.Meter(*arguments)


def test_a_meter_turns_a_second_thread_away() -> None:
    meter = loudness.Meter(2, 48000, true_peak=True)
    x = np.zeros((48000 * 20, 2))
    start = threading.Barrier(2)
    refused = []

    def write() -> None:
        start.wait()
        try:
            meter.write(x)
        except RuntimeError as error:
            refused.append(str(error))

    threads = [threading.Thread(target=write) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert refused == ["this meter is in use by another thread"]


def test_plain_audio_is_no_hdcd() -> None:
    x = np.random.default_rng(0).integers(-9000, 9000, (100_000, 2), np.int16)
    assert hdcd.detect(x) == "none"


@pytest.mark.parametrize("gain", [0, 6])
def test_decoding_plain_audio_scales_it(gain: int) -> None:
    x = np.random.default_rng(1).integers(-16000, 16000, (50_000, 2), np.int16)
    decoder = hdcd.Decoder(gain=gain, dtype="float64")
    y = np.concatenate([decoder.write(block) for block in np.array_split(x, 11)] + [decoder.flush()])
    # Without a code 16-bit full scale is at 2^30 of 2^31; 6 dB bring it back but for 0.05 dB.
    assert np.allclose(y, x / 65536 * (1.0, 1.9952623149688795)[gain == 6], rtol=0, atol=1e-12)


def test_the_decoder_decodes_as_the_program(tmp_path: Path) -> None:
    x = np.random.default_rng(2).integers(-16000, 16000, (40_000, 2), np.int16)
    tonekit.write(tmp_path / "a.wav", x, 44100)
    tonekit.convert_file(tmp_path / "a.wav", tmp_path / "b.wav", hdcd="on")
    decoder = hdcd.Decoder()
    decoded = np.concatenate([decoder.write(x), decoder.flush()])
    assert np.array_equal(decoded, tonekit.read(tmp_path / "b.wav").samples)


def test_hdcd_is_in_16_bit_stereo_only() -> None:
    with pytest.raises(TypeError, match="int16"):
        hdcd.detect(np.zeros((10, 2)))
    with pytest.raises(ValueError, match="2 channels, not 1"):
        hdcd.detect(np.zeros(10, np.int16))
    with pytest.raises(ValueError, match="gain must be a whole number from 0 to 6"):
        hdcd.Decoder(gain=7)
    with pytest.raises(TypeError, match="int16"):
        hdcd.Decoder().write(np.zeros((10, 2)))


@pytest.mark.parametrize("shape", [(6, 8), (6, 8, 1), (6, 8, 3), (6, 8, 4)])
def test_pictures_keep_constants_and_sizes(shape: tuple[int, ...]) -> None:
    picture = np.full(shape, 77, np.uint8)
    result = image.resize(picture, 16, 3, "lanczos3")
    assert result.shape == (3, 16, *shape[2:])
    assert np.all(result == 77)


def test_a_picture_of_its_own_size_is_a_copy() -> None:
    picture = np.random.default_rng(3).integers(0, 256, (5, 7, 3), np.uint8)
    for name in image.FILTERS:
        assert np.array_equal(image.resize(picture[:, ::-1], 7, 5, name), picture[:, ::-1])


def test_box_halves_by_means() -> None:
    picture = np.array([[10, 30, 50, 70]], np.uint8)
    assert image.resize(picture, 2, 1, "box").shape == (1, 2)
    assert 10 <= image.resize(picture, 2, 1, "box")[0, 0] <= 30


@pytest.mark.parametrize(
    ("call", "kind", "message"),
    [
        (lambda p: image.resize(p, 0, 5), ValueError, "width must be from 1 to 4096, not 0"),
        (lambda p: image.resize(p, 5, 4097), ValueError, "height must be from 1 to 4096, not 4097"),
        (lambda p: image.resize(p, 5, 5, "sinc"), ValueError, "filter must be one of quadratic, box"),
        (lambda p: image.resize(p[:0], 5, 5), ValueError, "1 to 2147483647 rows"),
        (lambda p: image.resize(p.astype(float), 5, 5), TypeError, "uint8, not of float64"),
        (lambda p: image.resize(p[0, 0], 5, 5), ValueError, "shape"),
    ],
)
def test_wrong_pictures_are_named(call, kind, message) -> None:
    with pytest.raises(kind, match=message):
        call(np.zeros((4, 4, 3), np.uint8))


def test_covers_are_scaled(tmp_path: Path) -> None:
    rows = b"".join(bytes([x, y, 128]) for y in range(64) for x in range(64))
    header = struct.pack("<2sIHHIIiiHHIIiiII", b"BM", 54 + len(rows), 0, 0, 54, 40, 64, 64, 1, 24, 0, len(rows), 0, 0, 0, 0)
    (tmp_path / "cover.bmp").write_bytes(header + rows)
    tonekit.write(tmp_path / "a.flac", np.zeros((100, 2), np.int16), 44100, cover=tmp_path / "cover.bmp", cover_size=32)
    pictures = tonekit.info(tmp_path / "a.flac")["pictures"]
    assert [(p["type"], p["mime"]) for p in pictures] == [("front cover", "image/jpeg")]
