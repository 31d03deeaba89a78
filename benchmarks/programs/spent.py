"""spent.py: what commands cost, and rows of measurements as lines of JSON, kept by the name of the processor."""

import json
import os
import re
import statistics
import time

RESULTS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "results")


def processor():
    """Make, name, family and model, as the benchmarks of the library name it."""
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        facts = dict(re.findall(r"^([\w ]+?)\s*: (.*)$", file.read().split("\n\n")[0], re.MULTILINE))
    name = f"{facts['vendor_id']} {facts['model name']} family {facts['cpu family']} model {facts['model']}"
    return re.sub(r"\((R|TM)\)", "", name)


def kept_file(kind):
    """The emptied file for rows of this kind in benchmarks/results."""
    name = re.sub("[^a-z0-9]+", "-", processor().lower()).strip("-")
    os.makedirs(RESULTS, exist_ok=True)
    path = os.path.join(RESULTS, f"{name}-{kind}.json")
    open(path, "w", encoding="utf-8").close()
    return path


def append_row(files, row):
    for path in files:
        with open(path, "a", encoding="utf-8") as file:
            file.write(json.dumps({"processor": processor()} | row) + "\n")


class Spent:
    """What commands cost, one after another: seconds of processor time, seconds, MiB at most.

    Memory is seen from that of this process on, some 10 MiB. `chunks`, if given, go into each command's standard input."""

    def __init__(self, commands, chunks=None):
        self.processor = self.memory = 0.0
        start = time.monotonic()
        for command in commands:
            self.run(command, chunks)
        self.wall = time.monotonic() - start

    def run(self, command, chunks):
        nowhere = os.open(os.devnull, os.O_RDWR)
        source, sink = os.pipe() if chunks else (nowhere, None)
        ends = [(os.POSIX_SPAWN_DUP2, source, 0)] + [(os.POSIX_SPAWN_DUP2, nowhere, end) for end in (1, 2)]
        child = os.posix_spawnp(command[0], command, os.environ, file_actions=ends)
        os.close(nowhere)
        if chunks:
            os.close(source)
            feed(sink, chunks)
        _, status, usage = os.wait4(child, 0)
        if status != 0:
            raise RuntimeError(f"failed: {' '.join(command)}")
        self.processor += usage.ru_utime + usage.ru_stime
        self.memory = max(self.memory, usage.ru_maxrss / 1024)


def feed(sink, chunks):
    """Writes it all, unless the reader ends before."""
    try:
        for chunk in chunks:
            while chunk:
                chunk = chunk[os.write(sink, chunk) :]
    except BrokenPipeError:
        pass
    finally:
        os.close(sink)


def median(spent, field):
    return statistics.median(getattr(one, field) for one in spent)
