"""library.py: the finished library called from Python, for what only it does: dither, mixes, limiter, bodies."""

import ctypes

import numpy as np

LETTERS = "ALMNPRSV"
INTEGER, FLOAT = 0, 1  # format codes


class Library:
    def __init__(self, path):
        self.handle = ctypes.CDLL(path)

    def _function(self, name, result, *arguments):
        function = self.handle[name]
        function.restype, function.argtypes = result, arguments
        return function

    def _body(self, name, letter):
        """NAME.LETTER where the library has such a body, else NAME, whose code all letters share."""
        suffixed = f"{name}.{letter}"
        return suffixed if letter and hasattr(self.handle, suffixed) else name

    def set_dither(self, enable, mode):
        self._function("SetDitherParameters", None, ctypes.c_uint32, ctypes.c_uint32)(enable, mode)

    def set_filter(self, mode, aliasing):
        self._function("SetSampleRateConverterParameters2", None, ctypes.c_uint32, ctypes.c_uint8)(mode, aliasing)

    def convert(self, samples, source, target, *, dither=False, limiter=False, span=24, body=""):
        """Converts bytes-like samples. Source and target are (format, bits, channels, rate); body is a letter, or
        empty for the body that the library selected. Returns the bytes that come out."""
        unsigned = ctypes.c_uint32
        block = (ctypes.c_void_p, ctypes.POINTER(ctypes.c_void_p), ctypes.POINTER(unsigned), ctypes.POINTER(unsigned))
        init = self._function(
            self._body("SRC4_Init", body), ctypes.c_void_p, *[unsigned] * 8, ctypes.c_bool, ctypes.c_bool, unsigned, unsigned
        )
        write = self._function(self._body("SRC4_Write", body), None, ctypes.c_void_p, ctypes.c_void_p, unsigned)
        read = self._function(self._body("SRC4_Read", body), unsigned, *block)
        flush = self._function(self._body("SRC4_Flush", body), unsigned, *block)
        deinit = self._function(self._body("SRC4_Deinit", body), None, ctypes.c_void_p)

        data = np.ascontiguousarray(samples)
        _, bits, channels, _ = source
        frames = data.nbytes // (bits // 8 * channels)
        handle = init(*source, *target, dither, limiter, 0, span)
        out, out_frames, out_bytes = ctypes.c_void_p(), unsigned(), unsigned()
        produced = []
        write(handle, data.ctypes.data_as(ctypes.c_void_p), frames)
        for take in (read, flush):
            while take(handle, ctypes.byref(out), ctypes.byref(out_frames), ctypes.byref(out_bytes)):
                produced.append(ctypes.string_at(out.value, out_bytes.value))
        deinit(handle)
        return b"".join(produced)


def packed24(data):
    """The values of packed 24-bit samples as doubles of full scale 1.0."""
    bytes3 = np.frombuffer(data, dtype=np.uint8).reshape(-1, 3).astype(np.int32)
    values = bytes3[:, 0] | bytes3[:, 1] << 8 | bytes3[:, 2] << 16
    return (values - ((values & 0x800000) << 1)) / 8388608.0
