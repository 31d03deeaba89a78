#!/usr/bin/python3
"""measure_programs.py: measures tonekit-convert beside other programs at the same jobs: processor time, wall time, memory.

Usage: measure_programs.py CONVERTER [--keep] [--json FILE] [--turns N] [--seconds N] [--files N] [--filter TEXT]

Programs take turns; each figure is the median of its turns, and the ratio the median of the ratios of processor time of
neighbouring turns, above 1 where tonekit is faster. --json appends a line a row; --keep writes the rows into
benchmarks/results, by the name of the processor. Peers that aren't installed are left out with a line. Memory is seen from that
of this program on, some 10 MiB.
"""

import argparse
import os
import shutil
import statistics
import sys
import tempfile

from spent import Spent, append_row, kept_file, median, processor

HERE = os.path.dirname(os.path.abspath(__file__))
# Makes the sounds; apart from this program, whose memory would count as that of all that it starts.
MAKE_MUSIC = os.path.join(HERE, "make_music.py")
TABLE = "whole programs beside tonekit-convert"
SHORT_SECONDS = 3


class Row:
    """A job: ours and each peer's commands for it. `note` says how a peer's work differs, where it does; of a `coded` file,
    whose size depends on the coder, how much larger the peer's is."""

    def __init__(self, name, ours, coded=None):
        self.name, self.ours, self.peers, self.coded = name, ours, [], coded

    def beside(self, name, *commands, note=""):
        self.peers.append((name, list(commands), note))
        return self


def ffmpeg(source, target, *options):
    return ["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", source, "-map_metadata", "0", *options, target]


# The precision of tonekit's own default; ffmpeg has it under two names.
SOXR = ("-af", "aresample=resampler=soxr:precision=28")
LOWER = "a shorter filter"
CODER = "its own coder of FLAC"


def rows(converter, folder, seconds, count):
    def ours(*arguments):
        return [[converter, "--quiet", *arguments]]

    def at(name):
        return os.path.join(folder, name)

    for rate in (44100, 48000, 96000):
        Spent([["/usr/bin/python3", MAKE_MUSIC, str(rate), str(seconds), at(f"{rate}.wav")]])
    Spent([["flac", "-s", "-f", "-5", at("44100.wav"), "-o", at("44100.flac")]])
    os.mkdir(at("short"))
    os.mkdir(at("out"))
    short = [f"{i:03}.wav" for i in range(count)]
    targets = [os.path.join(at("short"), name) for name in short]
    Spent([["/usr/bin/python3", MAKE_MUSIC, "44100", str(SHORT_SECONDS), *targets]])

    for source, target in ((44100, 48000), (44100, 96000), (96000, 44100), (48000, 44100)):
        into, out = at(f"{source}.wav"), at("out.wav")
        yield (
            Row(f"WAV {source} to {target}, 24 bits", ours("-r", str(target), "-b", "24", into, out))
            .beside("sox rate -v", ["sox", "-D", into, "-b", "24", out, "rate", "-v", str(target)])
            .beside("ffmpeg, soxr", ffmpeg(into, out, *SOXR, "-ar", str(target), "-c:a", "pcm_s24le"))
            .beside("ffmpeg, swr", ffmpeg(into, out, "-ar", str(target), "-c:a", "pcm_s24le"), note=LOWER)
        )
    into, out = at("44100.flac"), at("out.flac")
    level = ("-compression_level", "5")
    yield (
        Row("FLAC to FLAC 48000, 24 bits", ours("-r", "48000", "-b", "24", "--compression", "5", into, out), coded=out)
        .beside("sox rate -v", ["sox", "-D", into, "-b", "24", "-C", "5", out, "rate", "-v", "48000"])
    )
    # A coder of another make has other levels: ours is the one whose files are as small as those of ffmpeg's level.
    yield (
        Row("FLAC to FLAC 48000, 24 bits, level 4", ours("-r", "48000", "-b", "24", "--compression", "4", into, out), coded=out)
        .beside("ffmpeg, soxr, level 5", ffmpeg(into, out, *SOXR, "-ar", "48000", "-sample_fmt", "s32", *level), note=CODER)
    )
    yield (
        Row("FLAC to FLAC, coded anew", ours("--compression", "8", "--dither", "off", into, out), coded=out)
        .beside("flac -8", ["flac", "-s", "-f", "-8", into, "-o", out])
    )
    yield (
        Row("FLAC to FLAC, coded anew at level 4", ours("--compression", "4", "--dither", "off", into, out), coded=out)
        .beside("ffmpeg, level 8", ffmpeg(into, out, "-compression_level", "8"), note=CODER)
    )
    files = [(os.path.join(at("short"), name), os.path.join(at("out"), name)) for name in short]
    loops = {
        "sox rate -v": [["sox", "-D", a, "-b", "24", b, "rate", "-v", "48000"] for a, b in files],
        "ffmpeg, soxr": [ffmpeg(a, b, *SOXR, "-ar", "48000", "-c:a", "pcm_s24le") for a, b in files],
    }
    row = Row(f"{count} WAVs of {SHORT_SECONDS} s to 48000, 24 bits", ours("-r", "48000", "-b", "24", at("short"), at("out")))
    for name, commands in loops.items():
        row.beside(name, *commands, note="a call a file")
    yield row
    into, out = at("44100.wav"), at("out.mp3")
    yield (
        Row("WAV to MP3, 192 kbit/s", ours("--bitrate", "192k", into, out))
        .beside("lame", ["lame", "--quiet", "-b", "192", into, out])
        .beside("sox", ["sox", into, "-C", "192", out])
        .beside("ffmpeg, libmp3lame", ffmpeg(into, out, "-b:a", "192k"))
    )
    into, out = at("48000.wav"), at("out.opus")
    yield (
        Row("WAV to Opus, 128 kbit/s", ours("--bitrate", "128k", into, out))
        .beside("opusenc", ["opusenc", "--quiet", "--bitrate", "128", into, out])
        .beside("ffmpeg, libopus", ffmpeg(into, out, "-c:a", "libopus", "-b:a", "128k"))
    )


def measure(row, turns, peers):
    """Spent by us and by each peer, turn by turn; bytes of the file that each leaves, if it is coded."""
    spent = {"": []} | {name: [] for name, _, _ in peers}
    size = {}
    for _ in range(turns):
        for name, commands in [("", row.ours)] + [(name, commands) for name, commands, _ in peers]:
            spent[name].append(Spent(commands))
            if row.coded:
                size[name] = os.path.getsize(row.coded)
    return spent, size


def say(name, spent, ratio, note=""):
    figures = [median(spent, field) for field in ("processor", "wall", "memory")]
    last = "" if ratio is None else f"{ratio:8.2f}"
    print(f"{name:44} {figures[0]:9.2f} s {figures[1]:9.2f} s {figures[2]:7.0f} MiB {last:8} {note}".rstrip(), flush=True)


def works(peer):
    """Whether a peer can do the job, as sox can write MP3 only with a package of its own."""
    name, commands, _ = peer
    if not shutil.which(commands[0][0]):
        print(f"{commands[0][0]} is missing: scripts/ensure_packages bench-programs", file=sys.stderr)
        return False
    try:
        Spent(commands[:1])
    except RuntimeError as error:
        print(f"{name} can't do it: {error}", file=sys.stderr)
        return False
    return True


def report(row, turns, files):
    peers = [peer for peer in row.peers if works(peer)]
    spent, size = measure(row, turns, peers)
    say(row.name, spent[""], None)
    for name, _, note in peers:
        if row.coded:
            larger = f"file {100 * (size[name] / size[''] - 1):+.1f} %"
            note = f"{note}, {larger}" if note else larger
        ratio = statistics.median(b.processor / a.processor for a, b in zip(spent[""], spent[name]))
        say("  " + name, spent[name], ratio, note)
        line = {
            "table": TABLE, "row": f"{row.name}, {name}", "ours": median(spent[""], "processor"),
            "beside": median(spent[name], "processor"), "ratio": ratio, "limit": 0,
            "ours_wall": median(spent[""], "wall"), "beside_wall": median(spent[name], "wall"),
            "ours_mib": median(spent[""], "memory"), "beside_mib": median(spent[name], "memory"),
            "turns": turns, "note": note,
        }
        if row.coded:
            line |= {"ours_bytes": size[""], "beside_bytes": size[name]}
        append_row(files, line)


def main():
    parser = argparse.ArgumentParser(description="measures tonekit-convert beside other programs")
    parser.add_argument("converter")
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--json")
    parser.add_argument("--turns", type=int, default=5)
    parser.add_argument("--seconds", type=int, default=600)
    parser.add_argument("--files", type=int, default=300)
    parser.add_argument("--filter", default="")
    options = parser.parse_args()
    files = [options.json] if options.json else []
    if options.keep:
        files.append(kept_file("programs"))
    print(f"{TABLE}, {options.seconds} s of 16-bit stereo, on {processor()}")
    print(f"{'':44} {'processor':>11} {'wall':>11} {'memory':>11} {'ratio':>8}")
    with tempfile.TemporaryDirectory(prefix="tonekit-programs-") as folder:
        try:
            for row in rows(os.path.abspath(options.converter), folder, options.seconds, options.files):
                if options.filter in row.name:
                    report(row, options.turns, files)
        except (OSError, RuntimeError) as error:
            print(f"measure_programs: {error}", file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
