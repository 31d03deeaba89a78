"""Streams and threads."""

import subprocess
import sys
import threading
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest

import tonekit


def test_an_ended_stream_takes_no_more() -> None:
    converter = tonekit.Converter(8000, 16000)
    converter.flush()
    with pytest.raises(RuntimeError, match="ended"):
        converter.write(np.zeros(1, np.float32))
    with pytest.raises(RuntimeError, match="ended"):
        converter.flush()
    with tonekit.Converter(8000, 16000) as left:
        pass
    with pytest.raises(RuntimeError, match="ended"):
        left.write(np.zeros(1, np.float32))


def test_iteration_yields_no_empty_blocks() -> None:
    parts = list(tonekit.Converter(8000, 16000).process(np.zeros(80, np.float32) for _ in range(1000)))
    assert all(len(part) for part in parts)
    assert sum(len(part) for part in parts) == 160_000


@pytest.mark.parametrize("short", [1, 100, 441])
def test_a_short_block_that_completes_one_of_the_library_gives_its_frames(short: int) -> None:
    x = np.random.default_rng(9).uniform(-0.5, 0.5, (130_000, 2)).astype(np.float32)
    full = 60_211  # frames that the library converts at once at these rates
    converter = tonekit.Converter(44100, 48000, in_channels=2)
    parts = [converter.write(x[: full - short]), converter.write(x[full - short : full])]
    assert len(parts[0]) == 0
    assert len(parts[1]) > 50_000
    parts += [converter.write(x[i : i + short]) for i in range(full, full + 1000 * short, short) if i + short <= len(x)]
    assert converter.in_frames == full + min(1000, (len(x) - full) // short) * short
    parts += [converter.write(x[converter.in_frames :]), converter.flush()]
    assert np.concatenate(parts).tobytes() == tonekit.resample(x, 44100, 48000).tobytes()


def test_a_second_thread_is_turned_away() -> None:
    converter = tonekit.Converter(44100, 48000, in_channels=2)
    long = np.zeros((44100 * 40, 2), np.float32)
    start = threading.Barrier(2)
    outcomes = []

    def write() -> None:
        start.wait()
        try:
            outcomes.append(len(converter.write(long)))
        except RuntimeError as error:
            outcomes.append(str(error))

    threads = [threading.Thread(target=write) for _ in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sum(outcome == "this stream is in use by another thread" for outcome in outcomes) == 1


def test_threads_with_other_settings_disturb_nobody() -> None:
    x = np.random.default_rng(5).uniform(-0.9, 0.9, (30_000, 2))
    settings = [{"filter": f, "aliasing": a} for f in ("normal", "steep", "steeper") for a in (False, True)]
    alone = [tonekit.resample(x, 48000, 44100, **s).tobytes() for s in settings]
    assert len(set(alone)) == len(settings), "each setting makes a difference"
    with ThreadPoolExecutor(8) as pool:
        together = list(pool.map(lambda i: tonekit.resample(x, 48000, 44100, **settings[i % 6]).tobytes(), range(48)))
    assert together == [alone[i % 6] for i in range(48)]


def _step_spread(mode: str) -> float:
    """Mean step from one dithered sample to the next: noise that is pushed up the band has larger steps."""
    x = np.full(20_000, 0.5 / 32768 + 0.25)
    y = tonekit.convert(x, 44100, dtype="int16", dither=True, dither_mode=mode)
    return float(np.mean(np.abs(np.diff(y.astype(float)))))


def test_dither_modes_hold_for_each_call_among_threads() -> None:
    alone = {mode: _step_spread(mode) for mode in ("rectangular", "shaped")}
    assert alone["shaped"] > 2 * alone["rectangular"]
    modes = ["rectangular", "shaped"] * 12
    with ThreadPoolExecutor(8) as pool:
        together = list(pool.map(_step_spread, modes))
    for mode, spread in zip(modes, together):
        assert abs(spread - alone[mode]) < 0.2 * alone[mode]


def test_work_goes_on_without_the_gil() -> None:
    """A thread of Python moves while another one resamples."""
    moved = 0
    done = threading.Event()

    def work() -> None:
        tonekit.resample(np.zeros((44100 * 60, 2), np.float32), 44100, 48000)
        done.set()

    thread = threading.Thread(target=work)
    thread.start()
    while not done.wait(0.002):
        moved += 1
    thread.join()
    assert moved > 5


_OUT_OF_MEMORY = """
import resource, numpy as np, tonekit
x = np.zeros((1000, 2), np.float32)
tonekit.resample(x, 44100, 48000)
used = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
converters = []
resource.setrlimit(resource.RLIMIT_AS, (used + (64 << 20),) * 2)
try:
    while True:
        converters.append(tonekit.Converter(44100, 48000, in_channels=2))
except MemoryError:
    converters.clear()
assert tonekit.resample(x, 44100, 48000).shape == (1088, 2)
print("went on")
"""


def test_memory_that_runs_out_inside_the_library_is_a_memory_error() -> None:
    run = subprocess.run([sys.executable, "-c", _OUT_OF_MEMORY], capture_output=True, text=True, timeout=120)
    assert (run.returncode, run.stdout) == (0, "went on\n"), run.stderr


_CUT_SHORT = """
import signal, numpy as np, tonekit
def stop(*_):
    raise KeyError("enough")
signal.signal(signal.SIGALRM, stop)
for write in ("write", "flush"):
    converter = tonekit.Converter(44100, 48000, in_channels=2)
    signal.setitimer(signal.ITIMER_REAL, 0.2)
    try:
        while True:
            converter.write(np.broadcast_to(np.float32(0), (44100 * 600, 2)))
    except KeyError:
        pass
    try:
        converter.flush() if write == "flush" else converter.write(np.zeros((1, 2), np.float32))
    except RuntimeError as error:
        print(error)
"""


def test_a_stream_that_was_cut_short_is_not_gone_on_with() -> None:
    run = subprocess.run([sys.executable, "-c", _CUT_SHORT], capture_output=True, text=True, timeout=60)
    assert run.stdout == "this stream has ended: make another one\n" * 2, run.stderr
    converter = tonekit.Converter(44100, 48000, in_channels=2)
    for wrong in (np.zeros((3, 3), np.float32), np.zeros((3, 2))):
        with pytest.raises((TypeError, ValueError)):
            converter.write(wrong)
    assert len(converter.write(np.zeros((441, 2), np.float32))) + len(converter.flush()) == 480


_LEFT_AT_WORK = """
import sys, threading, time, numpy as np, tonekit
x = np.zeros((44100, 2), np.float32)
work = {
    "arrays": lambda: tonekit.resample(x, 44100, 48000),
    "streams": lambda: list(tonekit.Converter(44100, 48000, in_channels=2).process(np.array_split(x, 100))),
    "loudness": lambda: tonekit.loudness.measure(x, 44100),
    "pictures": lambda: tonekit.image.resize(np.zeros((200, 200, 3), np.uint8), 100, 100),
    "files": lambda: tonekit.info(sys.argv[2], hash="sha256", progress=lambda *_: None),
}[sys.argv[1]]
started = threading.Barrier(3)
def loop():
    work()
    started.wait()
    while True:
        work()
for _ in range(2):
    threading.Thread(target=loop, daemon=True).start()
started.wait()
"""


@pytest.mark.parametrize("work", ["arrays", "streams", "loudness", "pictures", "files"])
def test_daemon_threads_at_work_do_not_abort_the_exit(work: str, tmp_path: Path) -> None:
    tonekit.write(tmp_path / "a.wav", np.zeros((44100, 2), np.int16), 44100)
    for _ in range(3):
        run = subprocess.run([sys.executable, "-c", _LEFT_AT_WORK, work, tmp_path / "a.wav"], capture_output=True, text=True)
        assert (run.returncode, run.stderr) == (0, "")


_FORKED = """
import os, threading, time, numpy as np, tonekit
x = np.random.default_rng(0).uniform(-0.5, 0.5, (4410, 2)).astype(np.float32)
modes = ["rectangular", "triangular", "shaped"]
def loop(mode):
    while True:
        tonekit.convert(x, 44100, 48000, dtype="int16", dither_mode=mode)
for mode in modes:
    threading.Thread(target=loop, args=(mode,), daemon=True).start()
time.sleep(0.1)
for i in range(8):
    child = os.fork()
    if child == 0:
        result = tonekit.convert(x, 44100, 48000, dtype="int16", dither_mode=modes[i % 3], filter="steep")
        os._exit(len(result) != 4800)
    for _ in range(1000):
        ended, status = os.waitpid(child, os.WNOHANG)
        if ended:
            break
        time.sleep(0.01)
    else:
        os.kill(child, 9)
        status = "it hangs"
    print(status)
"""


def test_a_forked_child_converts_while_its_parent_does() -> None:
    run = subprocess.run([sys.executable, "-c", _FORKED], capture_output=True, text=True, timeout=120)
    assert run.stdout == "0\n" * 8, run.stderr


_INTERRUPTED = """
import _thread, signal, threading, numpy as np, tonekit
signal.signal(signal.SIGINT, signal.default_int_handler)  # a script may have had it ignored
threading.Timer(0.3, _thread.interrupt_main).start()
x = np.broadcast_to(np.float32(0), (44100 * 600, 2))
try:
    while True:
        tonekit.resample(x, 44100, 48000, quality="best")
except KeyboardInterrupt:
    print("interrupted")
"""


def test_ctrl_c_ends_work_on_arrays() -> None:
    run = subprocess.run([sys.executable, "-c", _INTERRUPTED], capture_output=True, text=True, timeout=60)
    assert (run.returncode, run.stdout) == (0, "interrupted\n"), run.stderr
