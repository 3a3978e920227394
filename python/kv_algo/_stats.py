"""How two pictures differ, in numbers."""

from __future__ import annotations

import ctypes
from typing import NamedTuple

from . import _context, _library
from ._checks import integer
from ._frames import Planes, format_of, same_size, view
from ._library import library
from ._regions import RegionLike, handle, region_of

_stats_size = ctypes.sizeof(_library.Stats)
_measured = ("uyvy", "yuy2", "yuv411p", "i422", "gray8")


class DifferenceStats(NamedTuple):
    """Of the absolute differences of luma."""

    mean: float
    maximum: int
    psnr: float
    share: float
    samples: int


def difference_stats(a: Planes, b: Planes, *, threshold: int = 0, format: str = "uyvy", region: RegionLike = None,
                     width: int | None = None) -> DifferenceStats:
    """Mean and maximum of the difference of luma, PSNR, and the share of pixels above a threshold.

    Parameters
    ----------
    a, b : arrays of one format and size
    threshold : int
        0 to 255.
    format : {"uyvy", "yuy2", "yuv411p", "i422", "gray8"}
    region : Region or (left, top, width, height), optional
        What is compared; None: all.
    width : int, optional
        Pixels of a row, where it is odd.

    Returns
    -------
    DifferenceStats
        Its psnr is infinite where nothing differs.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a, b = np.full((1, 4), 10, np.uint8), np.array([[10, 12, 10, 16]], np.uint8)
    >>> kv_algo.difference_stats(a, b, threshold=2, format="gray8")[:2]
    (2.0, 6)
    """
    form = format_of("format", format, _measured)
    first, second = view("a", a, form, width), view("b", b, form, width)
    same_size(first, second)
    stats = _library.Stats(_stats_size)
    level = integer("threshold", threshold, 0, 255)
    where = region_of("region", region, first)
    _context.run(library.kv_difference_stats, first.ref(), second.ref(), handle(where), level, ctypes.byref(stats))
    return DifferenceStats(stats.mean, stats.maximum, stats.psnr, stats.share, stats.samples)
