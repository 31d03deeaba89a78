"""figures.py: everything that `make quality` measures, one function for each file that it writes."""

import hashlib
import os
import wave

import numpy as np

import signals
from converters import Failure
from library import FLOAT, INTEGER, packed24
from measures import decibels, null_test, power_spectrum, tone
from spectrogram import DEPTH, draw

PAIRS = [(44100, 48000), (44100, 96000), (96000, 44100), (48000, 44100), (44100, 16000), (192000, 44100)]
# The pass band's end of each filter as a part of half the lower rate: the lowest of the four qualities.
PASS_BAND = {"normal": 0.9105, "steep": 0.9821, "steeper": 0.9946}
RECORDING = "/usr/share/sounds/alsa/Front_Center.wav"
# Those that stand for their kind where a chart can't show all settings.
CHOSEN = [
    "tonekit high normal", "tonekit best normal", "soxr high", "sox rate -v", "libsamplerate best sinc",
    "libsamplerate medium sinc", "libswresample", "libswresample 256 taps", "zita-resampler 96", "speexdsp 10",
]  # fmt: skip


def test_frequencies(from_rate, to_rate):
    """Whole Hz: even on a logarithmic scale up to the edge of the pass band, dense across it, then up to half the
    input's rate."""
    half = min(from_rate, to_rate) / 2
    low = np.geomspace(20, 0.86 * half, 24)
    edge = np.linspace(0.88, min(1.08, 0.999 * from_rate / 2 / half), 34) * half
    places = [low, edge]
    if from_rate > to_rate:
        places.append(np.geomspace(1.1 * half, 0.999 * from_rate / 2, 14))
    return sorted({int(round(f)) for f in np.concatenate(places) if f < from_rate / 2})


def rounded(values, digits):
    return [None if value is None else round(float(value), digits) + 0.0 for value in values]  # no -0.0


def scaled(values, unit):
    """Whole multiples of a unit: short in a file."""
    return [int(round(value / unit)) for value in values]


def tones(converters, from_rate, to_rate, names):
    """Gain, phase, residual and strongest other line of a tone, against its frequency."""
    frequencies = test_frequencies(from_rate, to_rate)
    streams = np.stack([signals.sine(f, from_rate, from_rate * 3 // 2) for f in frequencies])
    results = {}
    for name in names:
        try:
            outputs = converters.convert(name, from_rate, to_rate, streams)
            found = [
                tone(output, f, to_rate, signals.AMPLITUDE, to_rate // 4)
                for output, f in zip(outputs, frequencies, strict=True)
            ]
        except (Failure, ValueError) as failure:
            results[name] = {"failure": str(failure)}
            continue
        results[name] = {
            "gain": rounded((one["gain"] for one in found), 6),
            "phase": rounded((one["phase"] for one in found), 6),
            "residual": rounded((one["residual"] for one in found), 2),
            "spur": rounded((one["spur"] for one in found), 2),
        }
    return {"from": from_rate, "to": to_rate, "frequencies": frequencies, "converters": results}


def shapes(converters, names, from_rate=44100, to_rate=48000):
    """Impulse and step response: 128 frames around the event, in millionths of its size."""
    frames, position, reach = from_rate, from_rate // 2, 64
    centre = to_rate // 2
    results = {}
    for name in names:
        pair = np.stack([signals.impulse(frames, position), signals.step(frames, position)])
        outputs = converters.convert(name, from_rate, to_rate, pair)
        parts = [output[centre - reach : centre + reach] / signals.AMPLITUDE for output in outputs]
        results[name] = {"impulse": scaled(parts[0], 1e-6), "step": scaled(parts[1], 1e-6)}
    return {"from": from_rate, "to": to_rate, "first": -reach, "unit": 1e-6, "converters": results}


def lengths(converters, names):
    """Frames that come out of streams of some lengths, and the frames that the rates' ratio asks for."""
    rows = []
    for from_rate, to_rate in PAIRS:
        for frames in (1, 100, 4410, 100001):
            exact = frames * to_rate / from_rate
            row = {"from": from_rate, "to": to_rate, "frames": frames, "exact": round(exact, 3), "converters": {}}
            for name in names:
                try:
                    row["converters"][name] = len(converters.convert(name, from_rate, to_rate, [np.zeros(frames)])[0])
                except Failure as failure:
                    row["converters"][name] = str(failure)
            rows.append(row)
    return {"rows": rows}


def _cut_signals(from_rate, to_rate, best):
    """Signals that begin and end in the middle of a wave, each with what they are at the output's rate."""
    seconds = 0.5
    inside, outside = int(from_rate * seconds), int(to_rate * seconds)
    t_in, t_out = np.arange(inside) / from_rate, np.arange(outside) / to_rate
    cases = {
        "tone": (0.5 * np.cos(2 * np.pi * 1000 * t_in + 1), 0.5 * np.cos(2 * np.pi * 1000 * t_out + 1)),
        "kick": (signals.kick(from_rate, inside), signals.kick(to_rate, outside)),
    }
    voice, rate = signals.recording(RECORDING)
    if rate != from_rate:
        raise ValueError(f"{RECORDING} has {rate} Hz, not {from_rate}")
    whole = best(voice)
    first, last = 14, 99  # hundredths of a second: both in the middle of a word
    cut = [slice(rate * first // 100, rate * last // 100) for rate in (from_rate, to_rate)]
    cases["voice"] = (voice[cut[0]], whole[cut[1]])
    return cases


def ends(converters, names, from_rate=48000, to_rate=44100):
    """The first and the last 20 ms of cut signals, in 1e-5 of full scale, and their error against the uncut signal."""
    reach = to_rate // 50
    cases = _cut_signals(
        from_rate, to_rate, lambda x: converters.convert("tonekit best steep", from_rate, to_rate, [x])[0]
    )
    data = {"from": from_rate, "to": to_rate, "unit": 1e-5, "cases": {}}
    for case, (signal, ideal) in cases.items():
        shown = {"ideal": {"start": scaled(ideal[:reach], 1e-5), "end": scaled(ideal[-reach:], 1e-5)}, "converters": {}}
        for name in names:
            output = np.zeros(len(ideal))
            made = converters.convert(name, from_rate, to_rate, [signal])[0][: len(ideal)]
            output[: len(made)] = made
            part = {}
            for end, piece in (("start", slice(0, reach)), ("end", slice(len(ideal) - reach, len(ideal)))):
                level = np.sqrt(np.mean(ideal[piece] ** 2))
                error = np.sqrt(np.mean((output[piece] - ideal[piece]) ** 2))
                part[end] = scaled(output[piece], 1e-5)
                part[end + "Error"] = round(decibels(error / level), 1)
            shown["converters"][name] = part
        data["cases"][case] = shown
    return data


def round_trips(converters, names, from_rate=44100, through=96000):
    """There and back: what is lost of noise that fills eight tenths of the band."""
    frames = 2 * from_rate
    lines = np.fft.rfft(signals.noise(frames, 11))
    lines[int(0.8 * len(lines)) :] = 0
    original = np.fft.irfft(lines, frames)
    results = {}
    for name in names:
        there = converters.convert(name, from_rate, through, [original])[0]
        back = converters.convert(name, through, from_rate, [there])[0]
        middle = slice(from_rate // 4, from_rate // 4 + from_rate)
        results[name] = {key: round(value, 2) for key, value in null_test(original[middle], back[middle]).items()}
    return {"from": from_rate, "through": through, "converters": results}


def speeds(converters, names, rounds=3):
    """Seconds of stereo converted in a second of processor time: the best of interleaved rounds."""
    rows = {}
    for from_rate, to_rate in PAIRS:
        best = {}
        for _ in range(rounds):
            for name in names:
                try:
                    best[name] = max(best.get(name, 0), converters.speed(name, from_rate, to_rate))
                except Failure:
                    best[name] = 0
        rows[f"{from_rate}-{to_rate}"] = {name: value for name, value in best.items() if value > 0}
    return {"pairs": rows}


_DITHERS = {"none": None, "rectangular": 0, "triangular": 1, "shaped": 2}


def _to_16(library, samples24, rate, mode):
    library.set_dither(int(mode is not None), mode or 0)
    data = library.convert(samples24, (INTEGER, 24, 1, rate), (INTEGER, 16, 1, rate), dither=mode is not None)
    library.set_dither(0, 1)
    return np.frombuffer(data, dtype="<i2") / 32768.0


def _packed24(values):
    whole = np.round(np.asarray(values) * 8388608.0).astype("<i4")
    return whole.view(np.uint8).reshape(-1, 4)[:, :3].copy()


def dither(library, rate=44100, size=2048):
    """Spectra of 24-bit tones of -60 and -100 dB, and of what they are at 16 bits with each dither and without."""
    data = {"rate": rate, "size": size, "tone": 1000, "levels": {}}
    for level in (-60, -100):
        source = _packed24(signals.sine(1000, rate, 20 * rate, 10 ** (level / 20)))
        spectra = {"24 bits": power_spectrum(packed24(source.tobytes()), size)}
        for name, mode in _DITHERS.items():
            spectra[name] = power_spectrum(_to_16(library, source, rate, mode), size)
        data["levels"][str(level)] = {name: rounded(np.maximum(values, -200), 1) for name, values in spectra.items()}
    return data


def downmix(library, rate=48000):
    """A loud passage of 5.1 to stereo at 16 bits: what full scale cuts off, and what the limiter does instead."""
    frames = rate
    loud = signals.sine(440, rate, frames, 0.9)
    loud[: frames // 4] *= 0.1
    source = np.repeat(loud[:, None], 6, axis=1).astype("<f4")
    data = {"rate": rate, "first": frames // 4 - 240, "unit": 1e-5, "outputs": {}}
    for name, limiter in (("without limiter", False), ("with limiter", True)):
        raw = library.convert(source, (FLOAT, 32, 6, rate), (INTEGER, 16, 2, rate), limiter=limiter)
        left = np.frombuffer(raw, dtype="<i2").reshape(-1, 2)[:, 0] / 32768.0
        second_half = np.concatenate([left[frames // 2 :], left[frames // 2 :]])
        lines = np.abs(np.fft.rfft(second_half)) ** 2
        tone_at = 440
        others = lines.sum() - lines[tone_at] - lines[0]
        data["outputs"][name] = {
            "samples": scaled(left[frames // 4 - 240 : frames // 4 + 720], 1e-5),
            "peak": round(float(np.max(np.abs(left))), 5),
            "distortion": round(10 * np.log10(others / lines[tone_at]), 1),
        }
    return data


def bodies(library, letters):
    """Digests of some conversions from each body that the processor can run."""
    rate = 44100
    stereo = (signals.noise(2 * rate, 3, 0.25)).astype("<f8")
    surround = (signals.noise(6 * rate, 4, 0.25)).astype("<f8")
    cases = {
        "44.1 to 48 kHz, 24 bits": (stereo, (FLOAT, 64, 2, rate), (INTEGER, 24, 2, 48000), 24),
        "44.1 to 96 kHz, best, float": (stereo, (FLOAT, 64, 2, rate), (FLOAT, 32, 2, 96000), 33),
        "96 to 44.1 kHz, 16 bits": (stereo, (FLOAT, 64, 2, 96000), (INTEGER, 16, 2, rate), 0),
        "5.1 to stereo, limited, 16 bits": (surround, (FLOAT, 64, 6, rate), (INTEGER, 16, 2, rate), 24),
    }
    rows = []
    for name, (samples, source, target, span) in cases.items():
        digests = {}
        for letter in letters:
            out = library.convert(samples, source, target, limiter=True, span=span, body=letter)
            digests[letter] = hashlib.sha256(out).hexdigest()
        rows.append({"case": name, "digests": digests})
    return {"letters": letters, "rows": rows}


def spectrograms(converters, names, folder):
    """A swept sine through each converter, as a picture each. Returns their file names."""
    files = {}
    os.makedirs(folder, exist_ok=True)
    for from_rate, to_rate in PAIRS:
        source = signals.sweep(from_rate, 4)
        for name in names:
            try:
                output = converters.convert(name, from_rate, to_rate, [source])[0]
            except Failure:
                continue
            file = f"{from_rate}-{to_rate}-{name.replace(' ', '-')}.png"
            draw(output, signals.AMPLITUDE).save(os.path.join(folder, file), optimize=True)
            files.setdefault(f"{from_rate}-{to_rate}", {})[name] = file
    return {"depth": DEPTH, "seconds": 4, "files": files}


def _write_wav(path, samples, rate):
    with wave.open(path, "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(np.round(np.clip(samples, -1, 1) * 32767).astype("<i2").tobytes())


def sounds(converters, library, folder):
    """What ears can tell, as WAV files: aliases of a sweep, and quiet speech at 8 bits with and without dither."""
    os.makedirs(folder, exist_ok=True)
    rows = []
    source = signals.sweep(44100, 5)
    for name in ("tonekit high normal", "libswresample", "libsamplerate medium sinc"):
        file = f"sweep-{name.replace(' ', '-')}.wav"
        _write_wav(os.path.join(folder, file), converters.convert(name, 44100, 16000, [source])[0], 16000)
        rows.append({"group": "A sweep from 0 to 22 kHz at 16 kHz", "name": name, "file": file})
    voice, rate = signals.recording(RECORDING)
    quiet = (voice * 0.02).astype("<f8")
    for name, mode in _DITHERS.items():
        library.set_dither(int(mode is not None), mode or 0)
        data = library.convert(quiet, (FLOAT, 64, 1, rate), (INTEGER, 8, 1, rate), dither=mode is not None)
        library.set_dither(0, 1)
        file = f"voice-{name}.wav"
        _write_wav(os.path.join(folder, file), (np.frombuffer(data, dtype=np.uint8) / 128.0 - 1) * 20, rate)
        rows.append({"group": "Speech at 2 % of full scale, at 8 bits, played 20 times louder", "name": name, "file": file})
    return {"files": rows}
