"""converters.py: our converter and its peers, run through the program convert_signals."""

import struct
import subprocess

import numpy as np


class Failure(Exception):
    """A converter that doesn't take the rates, or broke off."""


class Converters:
    def __init__(self, program):
        self.program = program
        self.names = self._run(["list"]).decode().splitlines()

    def _run(self, arguments, data=b""):
        done = subprocess.run([self.program, *arguments], input=data, capture_output=True, check=False)
        if done.returncode != 0:
            raise Failure(done.stderr.decode(errors="replace").strip() or f"status {done.returncode}")
        return done.stdout

    def letters(self):
        """The letters of the bodies that this processor can run."""
        return self._run(["letters"]).decode().split()

    def convert(self, name, from_rate, to_rate, streams):
        """Converts streams of one length, each from a fresh state; returns a list of arrays."""
        data = np.ascontiguousarray(streams, dtype="<f8")
        out = self._run(["convert", name, str(from_rate), str(to_rate), str(data.shape[-1])], data.tobytes())
        results, place = [], 0
        while place < len(out):
            (count,) = struct.unpack_from("<Q", out, place)
            results.append(np.frombuffer(out, dtype="<f8", count=count, offset=place + 8))
            place += 8 + 8 * count
        if len(results) != data.size // data.shape[-1]:
            raise Failure(f"{len(results)} streams came back")
        return results

    def speed(self, name, from_rate, to_rate):
        """Seconds of stereo that one second of processor time converts."""
        return float(self._run(["speed", name, str(from_rate), str(to_rate)]))
