#!/usr/bin/env python3
"""measure_quality.py: measures the quality of the converter and its peers, and writes docs/quality.

Usage: measure_quality.py BUILD_FOLDER OUTPUT_FOLDER [PART ...]

Ends with the table of the worst figures of each quality and filter, and with status 1 if one of them is more than 1 dB
worse than the stored one (OUTPUT_FOLDER/worst_figures.json).
"""

import datetime
import json
import os
import platform
import re
import subprocess
import sys
import time

import ends_picture
import figures
import worst
from converters import Converters
from library import Library


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        facts = dict(re.findall(r"^([\w ]+?)\s*: (.*)$", file.read().split("\n\n")[0], re.MULTILINE))
    name = f"{facts['vendor_id']} {facts['model name']} family {facts['cpu family']} model {facts['model']}"
    return re.sub(r"\((R|TM)\)", "", name), facts["vendor_id"]


def version_of(package):
    done = subprocess.run(
        ["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True, check=False
    )
    return done.stdout if done.returncode == 0 else None


def machine(build):
    name, make = processor()
    packages = ["libsoxr0", "libsamplerate0", "libswresample4", "libzita-resampler1", "libspeexdsp1", "sox", "libc6"]
    commit = subprocess.run(["git", "rev-parse", "HEAD"], capture_output=True, text=True, check=False).stdout.strip()
    return {
        "processor": name,
        "make": make,
        "system": platform.platform(),
        "python": platform.python_version(),
        "packages": {package: version_of(package) for package in packages},
        "commit": commit,
        "date": datetime.date.today().isoformat(),
        "command": f"make quality (measure_quality.py {os.path.basename(build)} docs/quality)",
    }


class Writer:
    """Writes a file as soon as its part is measured, and says how long that took."""

    def __init__(self, folder, wanted):
        self.folder, self.wanted = folder, wanted

    def __call__(self, name, measure):
        path = os.path.join(self.folder, name + ".json")
        if self.wanted and not any(name.startswith(part) for part in self.wanted):
            with open(path, encoding="utf-8") as file:
                return json.load(file)
        start = time.monotonic()
        data = measure()
        with open(path, "w", encoding="utf-8") as file:
            json.dump(data, file, separators=(",", ":"))
            file.write("\n")
        print(f"{name}: {time.monotonic() - start:.0f} s", flush=True)
        return data


def measure_all(build, folder, wanted):
    converters = Converters(os.path.join(build, "bin", "convert_signals"))
    library = Library(os.path.join(os.path.abspath(build), "libtonekit.so"))
    names, chosen = converters.names, [name for name in figures.CHOSEN if name in converters.names]
    plain = [name for name in names if not name.startswith("tonekit ") or name.endswith(" normal")]
    write = Writer(folder, wanted)
    write("machine", lambda: machine(build))
    tone_files = [
        write(f"tones-{pair[0]}-{pair[1]}", lambda pair=pair: figures.tones(converters, *pair, names))
        for pair in figures.PAIRS
    ]
    write("shapes", lambda: figures.shapes(converters, names))
    write("lengths", lambda: figures.lengths(converters, chosen))
    ends = write("ends", lambda: figures.ends(converters, chosen))
    with open(os.path.join(os.path.dirname(folder), "ends.svg"), "w", encoding="utf-8") as file:
        file.write(ends_picture.draw(ends))
    write("round_trips", lambda: figures.round_trips(converters, plain))
    write("dither", lambda: figures.dither(library))
    write("downmix", lambda: figures.downmix(library))
    write("bodies", lambda: figures.bodies(library, converters.letters()))
    write("spectrograms", lambda: figures.spectrograms(converters, plain, os.path.join(folder, "spectrograms")))
    write("sounds", lambda: figures.sounds(converters, library, os.path.join(folder, "sounds")))
    write("speed", lambda: figures.speeds(converters, plain))
    return worst.worst_figures(tone_files)


def main():
    if len(sys.argv) < 3:
        print(__doc__.split("\n\n")[1], file=sys.stderr)
        return 2
    build, target, wanted = sys.argv[1], sys.argv[2], sys.argv[3:]
    folder = os.path.join(target, re.sub(r"[^a-z0-9]+", "-", processor()[0].lower()).strip("-"))
    os.makedirs(folder, exist_ok=True)
    found = measure_all(build, folder, wanted)
    print(worst.table(found))
    stored_path = os.path.join(target, "worst_figures.json")
    if not os.path.exists(stored_path):
        with open(stored_path, "w", encoding="utf-8") as file:
            json.dump(found, file, indent=1)
            file.write("\n")
        print(f"stored as {stored_path}")
        return 0
    with open(stored_path, encoding="utf-8") as file:
        lines = worst.regressions(json.load(file), found)
    for line in lines:
        print(f"worse than stored: {line}", file=sys.stderr)
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main())
