"""Field parity and pans."""

from __future__ import annotations

import ctypes
from typing import Tuple

from . import _context, _library
from ._checks import choice, flag, integer
from ._frames import FIELDS, MOST_PIXELS_OF_SIDE, PACKED, Planes, Result, destination, empty, format_of, view
from ._library import library
from ._regions import RegionLike, handle, region_of

_directions = {"right": 1, "left": 2, "down": 4, "up": 8}
_methods = {"line": 1, "field": 2, "blend": 0}
_pan_size = ctypes.sizeof(_library.PanOptions)


def change_parity(a: Planes, *, field_order: str = "top", row_parity: int = 0, method: str = "line",
                  region: RegionLike = None, format: str = "uyvy", width: int | None = None,
                  out: Planes | None = None) -> Result:
    """A picture of the other field parity.

    Parameters
    ----------
    a : array or tuple of arrays
        As for `convert`; ``"blend"`` takes packed 4:2:2.
    field_order : {"top", "bottom", "progressive"}
        Of ``a``; the result has the opposite one. ``"progressive"`` counts as ``"top"``.
    row_parity : int
        0 or 1: the parity of the field that the first row of ``a`` belongs to; ``"blend"`` looks at it.
    method : {"line", "field", "blend"}
        ``"line"``: a line down (from ``"top"``) or up, nothing is interpolated. ``"field"``: every line from its two
        neighbours, of the other field. ``"blend"``: half a line, by the mean of neighbouring lines.
    region : (left, top, width, height), optional
        A rectangle, for ``"blend"``; None: all but the last width % 4 pixels of averaged lines.
    format : str
        As for `convert`.
    width, out
        As for `convert`. What ``"blend"`` does not write is 0 in new memory.

    Returns
    -------
    array or tuple of arrays

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> lines = np.zeros((4, 4, 2), np.uint8)
    >>> lines[2] = 100
    >>> for method in ("line", "field", "blend"):
    ...     print(kv_algo.change_parity(lines, method=method)[:, 0, 1].tolist())
    [0, 0, 0, 100]
    [0, 50, 0, 100]
    [0, 0, 50, 50]
    """
    how = choice("method", method, _methods)
    form = format_of("format", format, PACKED if method == "blend" else None)
    if region is not None and method != "blend":
        raise ValueError(f'region is {region!r:.60}; method "{method}" takes whole pictures, "blend" rectangles')
    source = view("a", a, form, width)
    source.frame.field_order = choice("field_order", field_order, FIELDS)
    source.frame.row_parity = integer("row_parity", row_parity, 0, 1)
    result, to = destination(out, form, source)
    where = region_of("region", region, to)
    _context.run(library.kv_change_parity, source.ref(), to.ref(), handle(where), how)
    return result


def pan(a: Planes, size: Tuple[int, int] | None = None, *, direction: str = "right", steps: int = 1, step: int = 0,
        half_line: bool = False, region: RegionLike = None, out_region: RegionLike = None, format: str = "uyvy",
        width: int | None = None, out: Planes | None = None, out_width: int | None = None) -> Result:
    """One frame of a pan: a viewport that moves across a picture.

    Parameters
    ----------
    a : (height, width + width % 2, 2) array of uint8
        Packed 4:2:2.
    size : (int, int), optional
        Width and height of the result; None: those of ``out``.
    direction : {"right", "left", "down", "up"}
        Where the viewport moves.
    steps : int
        Frames of the pan, at least 1.
    step : int
        This frame, 0 to ``steps`` - 1.
    half_line : bool
        True: this frame is half a line further down, as for the other field.
    region : (left, top, width, height), optional
        What the viewport moves across: to the sides as high as ``out_region``, up and down as wide. None: centred.
    out_region : (left, top, width, height), optional
        What is written of the result; None: all.
    format : {"uyvy", "yuy2"}
    width, out_width : int, optional
        Pixels of a row of ``a`` and of ``out``, where it is odd.
    out : array, optional

    Returns
    -------
    (height, width + width % 2, 2) array of uint8

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> wide = np.repeat(np.arange(24, dtype=np.uint8).reshape(1, 12, 2), 4, axis=0)
    >>> [kv_algo.pan(wide, (8, 4), steps=3, step=i)[0, 0, 1] for i in range(3)]
    [1, 5, 9]
    """
    form = format_of("format", format, PACKED)
    source = view("a", a, form, width)
    options = _library.PanOptions(_pan_size, choice("direction", direction, _directions),
                                  integer("steps", steps, 1, 2**31 - 1))
    options.step = integer("step", step, 0, options.steps - 1)
    options.half_line = flag("half_line", half_line)
    if out is None:
        if size is None:
            raise TypeError("size is None; without out it must be (width, height)")
        if not isinstance(size, (tuple, list)) or len(size) != 2:
            raise TypeError(f"size is {size!r:.60}; it must be (width, height)")
        columns = integer("size[0]", size[0], 1, MOST_PIXELS_OF_SIDE)
        out = empty(form, columns, integer("size[1]", size[1], 1, MOST_PIXELS_OF_SIDE))
        to = view("out", out, form, columns)
    else:
        to = view("out", out, form, out_width, writable=True)
        if size is not None and tuple(size) != (to.width, to.height):
            raise ValueError(f"size is {tuple(size)}; out is {to.width} x {to.height}")
    where = region_of("out_region", out_region, to)
    if region is None and out_region is None:
        if to.width > source.width or to.height > source.height:
            raise ValueError(f"out is {to.width} x {to.height} pixels; the viewport must fit in a, which is "
                             f"{source.width} x {source.height}")
        if direction in ("right", "left"):
            region = (0, (source.height - to.height) // 2, source.width, to.height)
        else:
            region = ((source.width - to.width) // 2 // 2 * 2, 0, to.width, source.height)
    path = region_of("region", region, source)
    _context.run(library.kv_pan, source.ref(), handle(path), to.ref(), handle(where), ctypes.byref(options))
    return out
