#!/usr/bin/python3
"""measure_sizes.py: measures what tonekit-convert costs against the length of the audio, its channels and the jobs at a time.

Usage: measure_sizes.py CONVERTER [--keep] [--json FILE] [--turns N] [--day-turns N] [--hour SECONDS] [--filter TEXT]

All of it converts 16 bits at 44.1 kHz to 24 bits at 48 kHz. Each row is set beside a base row of its own group: the part column
is the base's processor time for as much audio, divided by the row's own, so 1.00 is a cost that grows with the audio and no
faster. Rows take turns; figures are medians. It ends with 1 if a row misses its least part or takes more memory than it may,
with 2 if something fails.
--day-turns is for the row of 24 hours: 0 leaves it out. --hour takes another length for an hour and what is told by it, for a
quick look. --json appends a line a row; --keep writes the rows into benchmarks/results, by the name of the processor. Memory is
seen from that of this program on, some 10 MiB.
"""

import argparse
import array
import itertools
import os
import statistics
import sys
import tempfile
import wave

from spent import Spent, append_row, kept_file, median, processor

# Makes the sounds; apart from this program, whose memory would count as that of all that it starts.
MAKE_MUSIC = os.path.join(os.path.dirname(os.path.abspath(__file__)), "make_music.py")
TABLE = "cost of tonekit-convert against size"
RATE = 44100
FILES = 64
TO_24_BITS = ("--quiet", "--rate", "48000", "--bits", "24")


class Row:
    """A job over so much audio, in seconds of one channel. `least` is the part of the base's speed that it must keep, `most`
    how many times the base's memory it may take; 0 is no limit."""

    def __init__(self, name, audio, command, chunks=lambda: None, least=0.0, most=0.0, turns=None):
        self.name, self.audio, self.command, self.chunks = name, audio, command, chunks
        self.least, self.most, self.turns = least, most, turns
        self.spent = []

    def take_turn(self, turn):
        if self.turns is None or turn < self.turns:
            self.spent.append(Spent([self.command], self.chunks()))


class Sounds:
    """A second of music as the raw material of any length and number of channels."""

    def __init__(self, folder):
        self.folder = folder
        path = os.path.join(folder, "second.wav")
        Spent([["/usr/bin/python3", MAKE_MUSIC, str(RATE), "1", path]])
        with wave.open(path, "rb") as file:
            both = array.array("h", file.readframes(RATE))
        self.sides = both[0::2], both[1::2]

    def second(self, channels):
        """A second whose channels are the two sides in turn, each pair later than the last."""
        frames = array.array("h", bytes(2 * channels * RATE))
        for channel in range(channels):
            side, later = self.sides[channel % 2], 997 * (channel // 2)
            frames[channel::channels] = side[later:] + side[:later]
        return frames.tobytes()

    def chunks(self, seconds, channels):
        """So many seconds of raw samples, a second at a time."""
        second = self.second(channels)
        yield from itertools.repeat(second, int(seconds))
        yield second[: 2 * channels * int(RATE * (seconds % 1))]

    def file(self, name, seconds):
        """A stereo WAV file."""
        path = os.path.join(self.folder, name)
        with wave.open(path, "wb") as file:
            file.setnchannels(2)
            file.setsampwidth(2)
            file.setframerate(RATE)
            for chunk in self.chunks(seconds, 2):
                file.writeframes(chunk)
        return path


def files_of_lengths(converter, sounds, hour):
    """The base is the second row: a second's cost is for the most part that of starting."""
    target = os.path.join(sounds.folder, "out.wav")
    for name, seconds in (("1 second", hour / 3600), ("1 minute", hour / 60), ("1 hour", hour)):
        limits = {} if name == "1 second" else {"least": 0.85, "most": 1.25}
        source = sounds.file(f"{name}.wav", seconds)
        yield Row(f"{name} of stereo, file to file", 2 * seconds, [converter, *TO_24_BITS, source, target], **limits)


def through_a_pipe(converter, sounds, name, seconds, channels, **limits):
    """Raw samples: nothing has room for them all. At the other end is the null device."""
    command = [converter, *TO_24_BITS, "--raw", f"s16le,{RATE},{channels}", "--type", "raw", "-", "-"]
    return Row(name, channels * seconds, command, lambda: sounds.chunks(seconds, channels), **limits)


def pipes_of_lengths(converter, sounds, hour, day_turns):
    yield through_a_pipe(converter, sounds, "1 minute of stereo, by pipes", hour / 60, 2)
    yield through_a_pipe(converter, sounds, "1 hour of stereo, by pipes", hour, 2, least=0.85, most=1.25)
    if day_turns:
        name = "24 hours of stereo, by pipes"
        yield through_a_pipe(converter, sounds, name, 24 * hour, 2, least=0.85, most=1.25, turns=day_turns)


def numbers_of_channels(converter, sounds, hour):
    """Without 3, which is only copied as it is."""
    for channels in (1, 2, 4, 5, 6, 7, 8):
        name = f"10 minutes of {channels} channel{'s' * (channels > 1)}, by pipes"
        yield through_a_pipe(converter, sounds, name, hour / 6, channels, least=0.8, most=channels)


def numbers_of_jobs(converter, sounds, hour):
    """As many files as the most jobs, so that all of these are in work at once."""
    source, target = (os.path.join(sounds.folder, name) for name in ("many", "out"))
    os.mkdir(source)
    os.mkdir(target)
    music = sounds.file("10 seconds.wav", hour / 360)
    for i in range(FILES):
        os.link(music, os.path.join(source, f"{i:02}.wav"))
    for jobs in (1, 2, 4, 8, 16, 32, 64):
        command = [converter, *TO_24_BITS, "--jobs", str(jobs), source, target]
        yield Row(f"{FILES} files of 10 seconds, {jobs} at a time", FILES * 2 * hour / 360, command, least=0.8, most=jobs)


def measure(rows, base, turns):
    """Prints the group's rows beside the base. Returns its lines for files, and whether every row keeps its limits."""
    for turn in range(turns):
        for row in rows:
            row.take_turn(turn)
    lines, kept = [], True
    for row in rows:
        scale = row.audio / base.audio
        part = statistics.median(scale * b.processor / a.processor for a, b in zip(row.spent, base.spent))
        figures = {field: median(row.spent, field) for field in ("processor", "wall", "memory")}
        times = figures["memory"] / median(base.spent, "memory")
        short = (row.least and part < row.least) or (row.most and times > max(row.most, 1.25))
        kept = kept and not short
        print(f"{row.name:38} {figures['processor']:9.2f} s {figures['wall']:9.2f} s {figures['memory']:7.1f} MiB "
              f"{1000 * figures['processor'] / row.audio:11.2f} ms {part:7.2f}{'  short' if short else ''}", flush=True)  # fmt: skip
        lines.append({
            "table": TABLE, "row": row.name, "ours": figures["processor"], "beside": scale * median(base.spent, "processor"),
            "ratio": part, "limit": row.least, "ours_wall": figures["wall"], "ours_mib": figures["memory"],
            "beside_mib": median(base.spent, "memory"), "turns": len(row.spent),
        })  # fmt: skip
    return lines, kept


def groups(converter, folder, options):
    """Each group's rows, with the number of its base."""
    sounds = Sounds(folder)
    yield list(files_of_lengths(converter, sounds, options.hour)), 1
    yield list(pipes_of_lengths(converter, sounds, options.hour, options.day_turns)), 0
    yield list(numbers_of_channels(converter, sounds, options.hour)), 1
    yield list(numbers_of_jobs(converter, sounds, options.hour)), 0


def wanted(rows, base, text):
    """The rows that are asked for, and the base with them."""
    return [row for row in rows if row is base or text in row.name] if any(text in row.name for row in rows) else []


def main():
    parser = argparse.ArgumentParser(description="measures what tonekit-convert costs against size")
    parser.add_argument("converter")
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--json")
    parser.add_argument("--turns", type=int, default=3)
    parser.add_argument("--day-turns", type=int, default=1)
    parser.add_argument("--hour", type=float, default=3600)
    parser.add_argument("--filter", default="")
    options = parser.parse_args()
    if options.keep and (options.hour != 3600 or options.filter):
        parser.error("--keep is for whole hours and all rows")
    files = [options.json] if options.json else []
    lines, kept = [], True
    print(f"{TABLE}, on {processor()}")
    print(f"{'':38} {'processor':>11} {'wall':>11} {'memory':>11} {'channel-second':>14} {'part':>7}")
    with tempfile.TemporaryDirectory(prefix="tonekit-sizes-") as folder:
        try:
            for rows, base in groups(os.path.abspath(options.converter), folder, options):
                if rows_wanted := wanted(rows, rows[base], options.filter):
                    more, all_kept = measure(rows_wanted, rows[base], options.turns)
                    lines += more
                    kept = kept and all_kept
        except (OSError, RuntimeError) as error:
            print(f"measure_sizes: {error}", file=sys.stderr)
            return 2
    if options.keep:
        files.append(kept_file("sizes"))
    for line in lines:
        append_row(files, line)
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main())
