"""Scaling of pictures, as covers need it."""

from __future__ import annotations

import numpy as np
import numpy.typing as npt

from . import _core
from ._samples import whole

__all__ = ["FILTERS", "resize"]

FILTERS = (
    "quadratic",
    "box",
    "catmull-rom",
    "cosine",
    "cubic6",
    "bspline",
    "hermite",
    "lanczos3",
    "lanczos8",
    "mitchell",
    "quadratic-interpolating",
    "quadratic-expanded",
    "triangle",
)
"""The filters by name: quadratic B-spline, box, Catmull-Rom, raised cosine, six-point cubic, cubic B-spline, Hermite, Lanczos
with 3 and with 8 lobes, Mitchell, interpolating quadratic, quadratic B-spline multiplied out, triangle."""

_LARGEST = 4096


def resize(picture: npt.ArrayLike, width: int, height: int, filter: str = "lanczos3") -> npt.NDArray[np.uint8]:
    """Scales a picture.

    :param picture: uint8 of shape ``(height, width)``, or ``(height, width, n)`` with n of 1, 3 or 4 bytes a pixel, each of
        which is filtered by itself, alpha too
    :param width: of the result, 1 to 4096 pixels
    :param height: of the result, 1 to 4096 pixels
    :param filter: one of :data:`FILTERS`
    :return: a new array of the same number of dimensions
    :raises ValueError: where an argument is out of its range; TypeError: where it is of another type; MemoryError

    >>> import numpy as np
    >>> resize(np.zeros((1200, 1500, 3), np.uint8), 500, 400).shape
    (400, 500, 3)
    """
    array = np.asarray(picture)
    if array.dtype != np.uint8:
        raise TypeError(f"picture must be an array of uint8, not of {array.dtype}")
    if array.ndim not in (2, 3) or (array.ndim == 3 and array.shape[2] not in (1, 3, 4)):
        raise ValueError(f"picture must have the shape (height, width) or (height, width, 1, 3 or 4), not {array.shape}")
    if 0 in array.shape or max(array.shape) > 0x7FFFFFFF:
        raise ValueError(f"picture must have 1 to 2147483647 rows and columns, not shape {array.shape}")
    if not isinstance(filter, str) or filter not in FILTERS:
        raise ValueError(f"filter must be one of {', '.join(FILTERS)}, not {filter!r}")
    size = whole(width, "width"), whole(height, "height")
    for value, name in zip(size, ("width", "height")):
        if not 1 <= value <= _LARGEST:
            raise ValueError(f"{name} must be from 1 to {_LARGEST}, not {value}")
    grey = array.ndim == 2 or array.shape[2] == 1
    if grey:
        array = np.repeat(array.reshape(array.shape[0], array.shape[1], 1), 3, axis=2)
    result: npt.NDArray[np.uint8] = _core.resize(np.ascontiguousarray(array), *size, FILTERS.index(filter))
    if grey:
        result = np.ascontiguousarray(result[:, :, 0])
    return result.reshape(result.shape + (1,)) if grey and np.ndim(picture) == 3 else result
