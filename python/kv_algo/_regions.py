"""Pixels to work on."""

from __future__ import annotations

import ctypes
from typing import Any, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _library
from ._checks import integer
from ._errors import error_of
from ._frames import View
from ._library import library

_int32 = 2**31 - 1


class Region:
    """Pixels to work on: one run of columns for each row. It does not change, and any number of calls may use it.

    A function that takes a region takes ``(left, top, width, height)`` as well, and None for the whole frame.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> grey = np.full((4, 6), 9, np.uint8)
    >>> triangle = kv_algo.Region.polygon([(0, 0), (6, 0), (0, 4)])
    >>> kv_algo.box_filter(grey, 1, triangle)
    array([[9, 9, 9, 9, 9, 0],
           [9, 9, 9, 9, 0, 0],
           [9, 9, 0, 0, 0, 0],
           [9, 0, 0, 0, 0, 0]], dtype=uint8)
    """

    def __init__(self, left: int, top: int, width: int, height: int) -> None:
        self._handle = ctypes.c_void_p()
        values = [integer(name, value, -_int32 - 1, _int32)
                  for name, value in (("left", left), ("top", top), ("width", width), ("height", height))]
        self._make(library.kv_region_rectangle, *values)

    def _make(self, function: Any, *arguments: Any) -> None:
        status = function(*arguments, ctypes.byref(self._handle))
        if status != 0:
            raise error_of(status, _library.last_error())

    @classmethod
    def _other(cls, function: Any, *arguments: Any) -> Region:
        region = cls.__new__(cls)
        region._handle = ctypes.c_void_p()
        region._make(function, *arguments)
        return region

    @classmethod
    def runs(cls, top: int, firsts: Any, lasts: Any) -> Region:
        """Row ``top + i`` has the pixels ``firsts[i]`` to ``lasts[i]``; none where last is first - 1.

        Parameters
        ----------
        top : int
        firsts, lasts : (rows,) array of int
            Columns.
        """
        start = integer("top", top, -_int32 - 1, _int32)
        both = []
        for name, value in (("firsts", firsts), ("lasts", lasts)):
            array = np.asarray(value)
            if array.dtype.kind not in "iu":
                raise TypeError(f"{name} has dtype {array.dtype}; it must be integers")
            if array.ndim != 1 or array.size == 0:
                raise ValueError(f"{name} has shape {array.shape}; it must be (rows,), at least one")
            if int(array.min()) < -_int32 - 1 or int(array.max()) > _int32:
                raise ValueError(f"{name} reaches from {array.min()} to {array.max()}; columns have 32 bits")
            both.append(np.ascontiguousarray(array, dtype=np.int32))
        if both[0].size != both[1].size:
            raise ValueError(f"firsts has {both[0].size} rows, lasts {both[1].size}; they must be equal")
        return cls._other(library.kv_region_runs, start, both[0].size, both[0].ctypes.data, both[1].ctypes.data)

    @classmethod
    def polygon(cls, points: Any) -> Region:
        """The pixels whose centres are inside a polygon of one run in each row.

        Parameters
        ----------
        points : (n, 2) array of float
            Vertices x, y; at least 3. A centre on a left or top edge is inside.
        """
        array = polygon_points("points", points)
        return cls._other(library.kv_region_polygon, array.ctypes.data, len(array))

    def __del__(self) -> None:
        if getattr(self, "_handle", None):
            library.kv_region_free(self._handle)


RegionLike = Union[Region, Tuple[int, int, int, int], Sequence[int], None]


def polygon_points(name: str, points: Any) -> npt.NDArray[np.float64]:
    """Vertices as the library takes them."""
    array = np.asarray(points)
    if array.dtype.kind not in "iuf":
        raise TypeError(f"{name} has dtype {array.dtype}; it must be numbers")
    if array.ndim != 2 or array.shape[1] != 2 or len(array) < 3:
        raise ValueError(f"{name} has shape {array.shape}; it must be (n, 2), n at least 3")
    result = np.ascontiguousarray(array, dtype=np.float64)
    if not np.isfinite(result).all():
        raise ValueError(f"{name} has a coordinate that is not finite")
    return result


def region_of(name: str, value: RegionLike, frame: View) -> Region | None:
    """A region for a call; rectangles are checked against the frame."""
    if value is None or isinstance(value, Region):
        return value
    if not isinstance(value, (tuple, list)):
        raise TypeError(f"{name} is a {type(value).__name__}; it must be a Region, (left, top, width, height) or None")
    if len(value) != 4:
        raise ValueError(f"{name} has {len(value)} numbers; it must have 4: left, top, width, height")
    left, top, width, height = (integer(f"{name}[{i}]", one, -_int32 - 1, _int32) for i, one in enumerate(value))
    if left < 0 or top < 0 or width < 1 or height < 1 or left + width > frame.width or top + height > frame.height:
        raise ValueError(f"{name} is {tuple(value)}; left, top, width, height must be inside {frame.name}, which is "
                         f"{frame.width} x {frame.height}")
    return Region(left, top, width, height)


def handle(region: Region | None) -> Any:
    """What a function of the library takes."""
    return None if region is None else region._handle
