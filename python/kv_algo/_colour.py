"""Conversions and copies."""

from __future__ import annotations

import ctypes

from . import _context, _library
from ._checks import choice, integer
from ._frames import CHROMAS, MATRICES, PACKED, RANGES, Planes, Result, View, destination, format_of, view
from ._library import library
from ._regions import RegionLike, handle, region_of

_resamples = {"linear": 0, "nearest": 1}
_convert_size = ctypes.sizeof(_library.ConvertOptions)
_exact = ("uyvy", "yuy2", "uyvya", "yuy2a", "yuv411p", "gray8", "bgr24", "bgra32", "rgb555", "rgb565")


def _colours(frame: View, prefix: str, matrix: str | None, range: str | None, chroma: str | None) -> None:
    if matrix is not None:
        frame.frame.matrix = choice(prefix + "matrix", matrix, MATRICES)
    if range is not None:
        frame.frame.range = choice(prefix + "range", range, RANGES)
    if chroma is not None:
        frame.frame.chroma = choice(prefix + "chroma", chroma, CHROMAS)


def convert(a: Planes, src: str, dst: str, *, matrix: str | None = None, range: str | None = None,
            chroma: str | None = None, dst_matrix: str | None = None, dst_range: str | None = None,
            dst_chroma: str | None = None, resample: str = "linear", width: int | None = None,
            out: Planes | None = None) -> Result:
    """Any pixel format into any other of the same size; every pixel of any width is written.

    Parameters
    ----------
    a : array or tuple of arrays
        Packed 4:2:2 ``(height, width + width % 2, 2)``, bitmaps ``(height, width, 3 or 4)``, grey ``(height, width)``,
        all uint8; ``"rgb555"`` and ``"rgb565"`` ``(height, width)`` uint16; planar a tuple ``(luma, Cb, Cr)``, with
        alpha ``(packed, alpha)``. The pixels of a row are contiguous; rows may have any distance, also a negative one.
    src, dst : str
        ``"uyvy"``, ``"yuy2"``, ``"uyvya"``, ``"yuy2a"``, ``"i422"``, ``"yuv411p"``, ``"gray8"``, ``"bgr24"``,
        ``"rgb24"``, ``"bgra32"``, ``"rgba32"``, ``"bgrx32"``, ``"rgbx32"``, ``"rgb555"``, ``"rgb565"``.
    matrix : {"bt601", "bt709", "bt2020"}, optional
        Of the YUV side; None: BT.601 up to 576 rows, BT.709 above.
    range : {"limited", "full"}, optional
        Of the YUV side; None: limited. Bitmaps and grey are always full range.
    chroma : {"left", "centre"}, optional
        Where the chroma of a pair of pixels is; None: left.
    dst_matrix, dst_range, dst_chroma : str, optional
        Of ``dst``; None: as ``matrix``, ``range`` and ``chroma``. Between two YUV formats of equal colours samples are
        copied.
    resample : {"linear", "nearest"}
        How chroma moves between the positions of samples and of pixels.
    width : int, optional
        Pixels of a row, where packed 4:2:2 has an odd width.
    out : array or tuple of arrays, optional
        Where the result goes; it must not overlap ``a``.

    Returns
    -------
    array or tuple of arrays
        ``out``, or new memory.

    Raises
    ------
    TypeError
        An argument of another type or dtype.
    ValueError
        An argument of another shape, with strides that would need a copy, or of no known value.
    kv_algo.Error
        What the library refuses, such as overlapping arrays.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> white = np.full((2, 4, 3), 255, np.uint8)
    >>> kv_algo.convert(white, "rgb24", "uyvy", matrix="bt709")[0]
    array([[128, 235],
           [128, 235],
           [128, 235],
           [128, 235]], dtype=uint8)
    """
    from_format = format_of("src", src)
    to_format = format_of("dst", dst)
    options = _library.ConvertOptions(_convert_size, choice("resample", resample, _resamples))
    source = view("a", a, from_format, width)
    _colours(source, "", matrix, range, chroma)
    result, to = destination(out, to_format, source, zeros=False)
    _colours(to, "", matrix, range, chroma)
    _colours(to, "dst_", dst_matrix, dst_range, dst_chroma)
    if to_format.kind == "packed" and to.width % 2 != 0 and out is None:
        result[:, -1, :] = 0
    _context.run(library.kv_convert, source.ref(), to.ref(), ctypes.byref(options))
    return result


def copy(a: Planes, src: str, dst: str, *, row_parity: int = 0, out_row_parity: int = 0, width: int | None = None,
         out: Planes | None = None) -> Result:
    """The family's exact copies, with their own rounding and their unwritten last pixels.

    Parameters
    ----------
    a : array or tuple of arrays
        As for `convert`.
    src, dst : str
        Formats; a pair that an installed member offers.
    row_parity, out_row_parity : int
        0 or 1: the parity of the field that the first row belongs to. Where they differ the picture moves by a row.
    width, out
        As for `convert`. What is not written stays as it was, and is 0 in new memory.

    Returns
    -------
    array or tuple of arrays

    Raises
    ------
    kv_algo.Unsupported
        No member offers the pair; `convert` converts any.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> pair = np.array([[[128, 16], [130, 17]]], np.uint8)
    >>> kv_algo.copy(pair, "uyvy", "yuy2").tolist()
    [[[16, 128], [17, 130]]]
    """
    from_format = format_of("src", src, _exact)
    to_format = format_of("dst", dst, _exact)
    source = view("a", a, from_format, width)
    source.frame.row_parity = integer("row_parity", row_parity, 0, 1)
    result, to = destination(out, to_format, source)
    to.frame.row_parity = integer("out_row_parity", out_row_parity, 0, 1)
    _context.run(library.kv_copy, source.ref(), to.ref())
    return result


def copy_region(a: Planes, out: Planes, region: RegionLike = None, out_region: RegionLike = None, *,
                src: str = "uyvy", dst: str = "uyvy", width: int | None = None, out_width: int | None = None) -> Result:
    """The pixels of a region into an equally shaped region of another picture.

    Parameters
    ----------
    a : array or tuple of arrays
        Packed 4:2:2 or ``"yuv411p"``.
    out : array
        Packed 4:2:2; its other pixels stay as they were.
    region, out_region : Region or (left, top, width, height), optional
        Of ``a`` and of ``out``; None: all of it.
    src, dst : str
        Formats.
    width, out_width : int, optional
        Pixels of a row, where it is odd.

    Returns
    -------
    array
        ``out``.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a, b = np.full((2, 4, 2), 7, np.uint8), np.zeros((2, 4, 2), np.uint8)
    >>> kv_algo.copy_region(a, b, (0, 0, 2, 1), (2, 1, 2, 1))[1].tolist()
    [[0, 0], [0, 0], [7, 7], [7, 7]]
    """
    source = view("a", a, format_of("src", src, (*PACKED, "yuv411p")), width)
    to = view("out", out, format_of("dst", dst, PACKED), out_width, writable=True)
    from_region = region_of("region", region, source)
    to_region = region_of("out_region", out_region, to)
    _context.run(library.kv_copy_region, source.ref(), handle(from_region), to.ref(), handle(to_region))
    return out
