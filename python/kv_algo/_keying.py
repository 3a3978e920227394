"""Levels of masks, and composition under them."""

from __future__ import annotations

import ctypes

from . import _context, _library
from ._checks import flag, integer, number
from ._frames import GREY, Planes, Result, destination, format_of, same_size, view
from ._library import library
from ._regions import RegionLike, handle, region_of

_levels_size = ctypes.sizeof(_library.LevelsOptions)
_composed = ("uyvy", "yuy2", "yuv411p", "i422")


def mask_levels(a: Planes, *, low: int = 0, high: int = 255, gamma: float = 1, invert: bool = False,
                region: RegionLike = None, out: Planes | None = None) -> Result:
    """A mask with its levels spread: ``low`` and below become 0, ``high`` and above 255.

    The mask of `alpha_from_color` keys with ``low=130, invert=True``: 255 where the colours differ.

    Parameters
    ----------
    a : (height, width) array of uint8
    low : int
        0 to 254.
    high : int
        low + 1 to 255.
    gamma : float
        0.1 to 10; above 1 the levels in between become brighter. Applied last.
    invert : bool
    region : Region or (left, top, width, height), optional
        What is written; None: all.
    out : (height, width) array of uint8, optional
        May be ``a``.

    Returns
    -------
    (height, width) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> kv_algo.mask_levels(np.array([[255, 191, 130]], np.uint8), low=130, invert=True).tolist()
    [[0, 131, 255]]
    """
    options = _library.LevelsOptions(_levels_size, integer("low", low, 0, 254))
    options.high = integer("high", high, options.low + 1, 255)
    options.is_inverted = flag("invert", invert)
    options.gamma = number("gamma", gamma, 0.1, 10)
    source = view("a", a, GREY)
    result, to = destination(out, GREY, source)
    where = region_of("region", region, to)
    _context.run(library.kv_mask_levels, source.ref(), to.ref(), handle(where), ctypes.byref(options))
    return result


def composite(foreground: Planes, background: Planes, mask: Planes, *, format: str = "uyvy",
              region: RegionLike = None, width: int | None = None, out: Planes | None = None) -> Result:
    """``(foreground * mask + background * (255 - mask) + 127) // 255``, chroma by the mean of its pair's mask.

    Unlike that of `blend` the weight is the mask alone.

    Parameters
    ----------
    foreground, background : (height, width + width % 2, 2) array of uint8, or three planes
        Of one format and size.
    mask : (height, width) array of uint8
    format : {"uyvy", "yuy2", "yuv411p", "i422"}
    region : Region or (left, top, width, height), optional
        What is written, in whole pairs; None: all.
    width : int, optional
        Pixels of a row, where it is odd.
    out : as foreground, optional
        May be ``foreground`` or ``background``.

    Returns
    -------
    As foreground

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a, b = np.full((1, 2, 2), 200, np.uint8), np.full((1, 2, 2), 100, np.uint8)
    >>> kv_algo.composite(a, b, np.array([[255, 0]], np.uint8)).tolist()
    [[[150, 200], [150, 100]]]
    """
    form = format_of("format", format, _composed)
    over, under = view("foreground", foreground, form, width), view("background", background, form, width)
    weights = view("mask", mask, GREY)
    same_size(over, under)
    same_size(over, weights)
    result, to = destination(out, form, over)
    where = region_of("region", region, to)
    _context.run(library.kv_composite, over.ref(), under.ref(), weights.ref(), to.ref(), handle(where))
    return result
