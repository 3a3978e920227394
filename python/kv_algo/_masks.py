"""Differences, means, masks and what is blended by them."""

from __future__ import annotations

from . import _context
from ._checks import integer
from ._frames import GREY, PACKED, Planes, Result, destination, format_of, same_size, view
from ._library import library
from ._regions import RegionLike, handle, region_of


def difference(a: Planes, b: Planes, *, format: str = "uyvy", region: RegionLike = None, width: int | None = None,
               out: Planes | None = None) -> Result:
    """The absolute difference of the luma of two pictures.

    Parameters
    ----------
    a, b : (height, width + width % 2, 2) array of uint8
        Packed 4:2:2 of one format and size.
    format : {"uyvy", "yuy2"}
    region : Region or (left, top, width, height), optional
        What is written; None: all.
    width : int, optional
        Pixels of a row, where it is odd.
    out : (height, width) array of uint8, optional
        Other pixels stay as they were; in new memory they are 0.

    Returns
    -------
    (height, width) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a, b = np.full((1, 2, 2), 100, np.uint8), np.full((1, 2, 2), 130, np.uint8)
    >>> kv_algo.difference(a, b).tolist()
    [[30, 30]]
    """
    form = format_of("format", format, PACKED)
    first, second = view("a", a, form, width), view("b", b, form, width)
    same_size(first, second)
    result, to = destination(out, GREY, first)
    where = region_of("region", region, to)
    _context.run(library.kv_difference, first.ref(), second.ref(), to.ref(), handle(where))
    return result


def average(a: Planes, b: Planes, *, a_region: RegionLike = None, b_region: RegionLike = None,
            region: RegionLike = None, out: Planes | None = None) -> Result:
    """Two grey pictures, each valid in its region: their mean where both are, a copy of the one that is, else 0.

    Parameters
    ----------
    a, b : (height, width) array of uint8
    a_region, b_region : Region or (left, top, width, height), optional
        Where ``a`` and ``b`` are valid; None: everywhere.
    region : Region or (left, top, width, height), optional
        What is written; None: all.
    out : (height, width) array of uint8, optional

    Returns
    -------
    (height, width) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a, b = np.full((1, 4), 10, np.uint8), np.full((1, 4), 20, np.uint8)
    >>> kv_algo.average(a, b, a_region=(0, 0, 2, 1), b_region=(1, 0, 2, 1)).tolist()
    [[10, 15, 20, 0]]
    """
    first, second = view("a", a, GREY), view("b", b, GREY)
    same_size(first, second)
    result, to = destination(out, GREY, first)
    of_a, of_b = region_of("a_region", a_region, first), region_of("b_region", b_region, second)
    where = region_of("region", region, to)
    _context.run(library.kv_average, first.ref(), handle(of_a), second.ref(), handle(of_b), to.ref(), handle(where))
    return result


def box_filter(a: Planes, k: int, region: RegionLike = None, *, out: Planes | None = None) -> Result:
    """The mean over a window of ``k`` x ``k`` pixels.

    Parameters
    ----------
    a : (height, width) array of uint8
    k : int
        1 to 255.
    region : Region or (left, top, width, height), optional
        What is written, and whose pixels the means are of; None: all.
    out : (height, width) array of uint8, optional

    Returns
    -------
    (height, width) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> kv_algo.box_filter(np.array([[0, 90, 0]], np.uint8), 3).tolist()
    [[45, 30, 45]]
    """
    window = integer("k", k, 1, 255)
    source = view("a", a, GREY)
    result, to = destination(out, GREY, source)
    where = region_of("region", region, to)
    _context.run(library.kv_box_filter, source.ref(), to.ref(), handle(where), window)
    return result


def blend(foreground: Planes, background: Planes, mask: Planes, *, region: RegionLike = None, format: str = "uyvy",
          width: int | None = None, out: Planes | None = None) -> Result:
    """A picture over another: where ``mask`` is 255 there is ``foreground``, where it is 0 ``background``.

    The weight of ``foreground`` is raised by the luma of ``background`` and lowered by its own:
    ``clip(mask + Y_background - Y_foreground, 0, 255) // 2`` of 128.

    Parameters
    ----------
    foreground, background : (height, width + width % 2, 2) array of uint8
        Packed 4:2:2 of one format and size.
    mask : (height, width) array of uint8
    region : Region or (left, top, width, height), optional
        What is written; every run is a multiple of four pixels. None: the whole frame, or of a width that is no
        multiple of four all but its last pixels.
    format : {"uyvy", "yuy2"}
    width : int, optional
    out : (height, width + width % 2, 2) array of uint8, optional
        May be ``foreground`` or ``background``. None: a copy of ``foreground``.

    Returns
    -------
    (height, width + width % 2, 2) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> front, back = np.full((1, 4, 2), 50, np.uint8), np.full((1, 4, 2), 200, np.uint8)
    >>> kv_algo.blend(front, back, np.array([[0, 0, 255, 255]], np.uint8))[0, :, 1].tolist()
    [112, 112, 51, 51]
    """
    form = format_of("format", format, PACKED)
    front, back = view("foreground", foreground, form, width), view("background", background, form, width)
    same_size(front, back)
    by = view("mask", mask, GREY)
    same_size(front, by)
    if out is None:
        out = front.arrays[0].copy()
    result, to = destination(out, form, front)
    if region is None and front.width % 4 != 0 and front.width > 4:
        region = (0, 0, front.width // 4 * 4, front.height)
    where = region_of("region", region, to)
    _context.run(library.kv_blend, front.ref(), back.ref(), by.ref(), to.ref(), handle(where))
    return result


def alpha_from_color(a: Planes, b: Planes, k: int, *, region: RegionLike = None, format: str = "uyvy",
                     width: int | None = None, out: Planes | None = None) -> Result:
    """A mask, 255 where two pictures have the same colour, smoothed.

    Parameters
    ----------
    a, b : (height, width + width % 2, 2) array of uint8
        Packed 4:2:2 of one format and size.
    k : int
        Window of the smoothing, 1 to 255.
    region, format, width, out
        As for `difference`.

    Returns
    -------
    (height, width) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a = np.full((2, 8, 2), 128, np.uint8)
    >>> int(kv_algo.alpha_from_color(a, a, 1).min())
    255
    """
    form = format_of("format", format, PACKED)
    window = integer("k", k, 1, 255)
    first, second = view("a", a, form, width), view("b", b, form, width)
    same_size(first, second)
    result, to = destination(out, GREY, first)
    where = region_of("region", region, to)
    _context.run(library.kv_alpha_from_color, first.ref(), second.ref(), to.ref(), handle(where), window)
    return result


def alpha_from_difference(a: Planes, b: Planes, k: int, *, gain: int = 1, region: RegionLike = None,
                          out: Planes | None = None) -> Result:
    """A mask ``(a - b) * gain + 128``, 0 to 255, smoothed.

    Parameters
    ----------
    a, b : (height, width) array of uint8
    k : int
        Window of the smoothing, 1 to 255.
    gain : int
        0 to 65536.
    region : Region or (left, top, width, height), optional
        What is written; None: all.
    out : (height, width) array of uint8, optional
        May be ``a`` or ``b``.

    Returns
    -------
    (height, width) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a, b = np.full((1, 2), 12, np.uint8), np.full((1, 2), 10, np.uint8)
    >>> kv_algo.alpha_from_difference(a, b, 1, gain=3).tolist()
    [[134, 134]]
    """
    window = integer("k", k, 1, 255)
    factor = integer("gain", gain, 0, 65536)
    first, second = view("a", a, GREY), view("b", b, GREY)
    same_size(first, second)
    result, to = destination(out, GREY, first)
    where = region_of("region", region, to)
    _context.run(library.kv_alpha_from_difference, first.ref(), second.ref(), to.ref(), handle(where), factor, window)
    return result
