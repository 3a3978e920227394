"""Views of arrays as frames of the C interface: shapes, dtypes and strides are checked here, nothing is copied."""

from __future__ import annotations

import ctypes
import struct
from typing import Any, NamedTuple, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _library
from ._checks import choice, integer

Bytes = npt.NDArray[np.uint8]
#: An array, or something that NumPy can view without a copy; a tuple of them where a format has several planes.
Plane = Any
Planes = Union[Plane, Sequence[Plane]]
#: What a function answers: an array, or a tuple of planes.
Result = Any

MOST_PIXELS_OF_SIDE = 1 << 20
_uint8: np.dtype[Any] = np.dtype(np.uint8)
_uint16: np.dtype[Any] = np.dtype(np.uint16)
_frame_size = ctypes.sizeof(_library.Frame)
# The fields up to the strides; those after them are 0, the defaults.
_pack = struct.Struct(f"=Iiii4Q4q{_frame_size - 80}x").pack


class Format(NamedTuple):
    """How a pixel format looks as arrays."""

    code: int
    name: str
    kind: str  # packed, alpha, planar, grey, bitmap, words
    channels: int = 1
    shape: Tuple[str, ...] = ("height", "width")


_pairs = ("height", "width + width % 2", "2")
_all = (
    Format(1, "uyvy", "packed", 2, _pairs),
    Format(2, "yuy2", "packed", 2, _pairs),
    Format(3, "uyvya", "alpha"),
    Format(4, "yuy2a", "alpha"),
    Format(5, "yuv411p", "planar"),
    Format(6, "i422", "planar"),
    Format(7, "gray8", "grey"),
    Format(8, "bgr24", "bitmap", 3, ("height", "width", "3")),
    Format(9, "rgb24", "bitmap", 3, ("height", "width", "3")),
    Format(10, "bgra32", "bitmap", 4, ("height", "width", "4")),
    Format(11, "rgba32", "bitmap", 4, ("height", "width", "4")),
    Format(12, "bgrx32", "bitmap", 4, ("height", "width", "4")),
    Format(13, "rgbx32", "bitmap", 4, ("height", "width", "4")),
    Format(14, "rgb555", "words"),
    Format(15, "rgb565", "words"),
)
FORMATS = {one.name: one for one in _all}
_codes = {one.name: one.code for one in _all}
GREY = FORMATS["gray8"]
PACKED = ("uyvy", "yuy2")

FIELDS = {"progressive": 0, "top": 1, "bottom": 2}
MATRICES = {"bt601": 1, "bt709": 2, "bt2020": 3}
RANGES = {"limited": 1, "full": 2}
CHROMAS = {"left": 1, "centre": 2}


def format_of(name: str, value: Any, allowed: Sequence[str] | None = None) -> Format:
    """The format that a word names."""
    choice(name, value, _codes if allowed is None else {one: _codes[one] for one in allowed})
    return FORMATS[value]


class View:
    """A frame and the arrays whose memory it is."""

    __slots__ = ("frame", "arrays", "width", "height", "format", "name")

    def __init__(self, name: str, frame: _library.Frame, arrays: tuple[npt.NDArray[Any], ...], form: Format) -> None:
        self.frame = frame
        self.arrays = arrays
        self.width: int = frame.width
        self.height: int = frame.height
        self.format = form
        self.name = name

    def ref(self) -> Any:
        """What a function of the library takes."""
        return ctypes.byref(self.frame)


def view(name: str, value: Planes, form: Format, width: int | None = None, *, writable: bool = False) -> View:
    """The frame that an array is; `name` is that of the argument."""
    if form.kind in ("alpha", "planar"):
        return _view_planes(name, value, form, width, writable)
    array = _array(name, value, _uint16 if form.kind == "words" else _uint8, writable)
    if form.kind == "packed":
        columns = _packed_width(name, array, form, width)
    else:
        _check_shape(name, array, form)
        columns = _fixed_width(array.shape[1], width)
    return _frame(name, (array,), form, columns)


def _view_planes(name: str, value: Planes, form: Format, width: int | None, writable: bool) -> View:
    count = 2 if form.kind == "alpha" else 3
    what = "packed and alpha" if count == 2 else "luma, Cb and Cr"
    if not isinstance(value, (tuple, list)):
        raise TypeError(f"{name} is a {type(value).__name__}; {form.name} takes a tuple of {count} arrays, {what}")
    if len(value) != count:
        raise ValueError(f"{name} has {len(value)} planes; {form.name} takes {count}, {what}")
    arrays = tuple(_array(f"{name}[{i}]", plane, _uint8, writable) for i, plane in enumerate(value))
    # Alpha and luma are the planes that know an odd width.
    full = arrays[1] if count == 2 else arrays[0]
    at = 1 if count == 2 else 0
    _check_shape(f"{name}[{at}]", full, form)
    columns = _fixed_width(full.shape[1], width)
    height = full.shape[0]
    if count == 2:
        _packed_width(f"{name}[0]", arrays[0], form, columns)
        if arrays[0].shape[0] != height:
            raise ValueError(f"{name}[0] has {arrays[0].shape[0]} rows, {name}[1] {height}; they must be equal")
    else:
        for i in (1, 2):
            right = (height, (columns + 1) // 2)
            if arrays[i].shape != right:
                raise ValueError(f"{name}[{i}] has shape {arrays[i].shape}; for {columns} x {height} pixels of "
                                 f"{form.name} it must be {right}")
            _check_strides(f"{name}[{i}]", arrays[i])
    return _frame(name, arrays, form, columns)


def _array(name: str, value: Any, dtype: np.dtype[Any], writable: bool) -> npt.NDArray[Any]:
    if isinstance(value, np.ndarray):
        array = value
    elif isinstance(value, (bytes, str, int, float, tuple, list)) or value is None:
        raise TypeError(f"{name} is a {type(value).__name__}; it must be a NumPy array or a buffer that NumPy can view")
    else:
        try:
            array = np.asarray(value if hasattr(value, "__array_interface__") else memoryview(value))
        except TypeError:
            raise TypeError(f"{name} is a {type(value).__name__}; it must be a NumPy array or a buffer that NumPy can "
                            "view") from None
    if array.dtype != dtype:
        raise TypeError(f"{name} has dtype {array.dtype}; it must be {dtype}")
    if writable and not array.flags.writeable:
        raise ValueError(f"{name} is read-only; it must be writable")
    return array


def _check_shape(name: str, array: npt.NDArray[Any], form: Format, wanted: tuple[str, ...] | None = None) -> None:
    shape = array.shape
    wanted = wanted or form.shape
    if len(shape) != len(wanted) or 0 in shape or (len(shape) == 3 and wanted[2] != str(shape[2])):
        raise ValueError(f"{name} has shape {shape}; {form.name} takes ({', '.join(wanted)}), none of them 0")
    _check_strides(name, array)


def _check_strides(name: str, array: npt.NDArray[Any]) -> None:
    shape, strides = array.shape, array.strides
    if max(shape) > MOST_PIXELS_OF_SIDE:
        raise ValueError(f"{name} has shape {shape}; width and height are at most {MOST_PIXELS_OF_SIDE}")
    if array.flags.c_contiguous:
        return
    row = array.itemsize
    for axis in range(len(shape) - 1, 0, -1):
        if strides[axis] != row and shape[axis] != 1:
            raise ValueError(f"{name} has strides {strides}; the pixels of a row must be contiguous (axis {axis}: "
                             f"{row}), np.ascontiguousarray makes a copy that is")
        row *= shape[axis]
    if shape[0] > 1 and abs(strides[0]) < row:
        raise ValueError(f"{name} has strides {strides}; its rows overlap, each takes {row} bytes; "
                         "np.ascontiguousarray makes a copy whose rows do not")


def _packed_width(name: str, array: npt.NDArray[Any], form: Format, width: int | None) -> int:
    _check_shape(name, array, form, _pairs)
    columns: int = array.shape[1]
    if columns % 2 != 0:
        raise ValueError(f"{name} has shape {array.shape}; a row of {form.name} holds whole pairs of pixels, the second "
                         f"number is even (width={columns} tells an odd one)")
    if width is None:
        return columns
    given = integer("width", width, 1, MOST_PIXELS_OF_SIDE)
    if given + given % 2 != columns:
        raise ValueError(f"width is {given}; {name} has shape {array.shape}, its width is {columns - 1} or {columns}")
    return given


def _fixed_width(columns: int, width: int | None) -> int:
    if width is not None and integer("width", width, 1, MOST_PIXELS_OF_SIDE) != columns:
        raise ValueError(f"width is {width}; the array has {columns} columns")
    return columns


def _frame(name: str, arrays: tuple[npt.NDArray[Any], ...], form: Format, width: int) -> View:
    height = arrays[0].shape[0]
    if len(arrays) == 1:
        array = arrays[0]
        packed = _pack(_frame_size, form.code, width, height, array.ctypes.data, 0, 0, 0, array.strides[0], 0, 0, 0)
    else:
        missing = (0,) * (4 - len(arrays))
        packed = _pack(_frame_size, form.code, width, height, *[array.ctypes.data for array in arrays], *missing,
                       *[array.strides[0] for array in arrays], *missing)
    frame = _library.Frame.from_buffer_copy(packed)
    return View(name, frame, arrays, form)


def empty(form: Format, width: int, height: int, *, zeros: bool = True) -> Result:
    """New memory for a frame, as the functions here take it."""
    make = np.zeros if zeros else np.empty
    even = width + width % 2
    if form.kind == "packed":
        return make((height, even, 2), np.uint8)
    if form.kind == "alpha":
        return make((height, even, 2), np.uint8), make((height, width), np.uint8)
    if form.kind == "planar":
        return (make((height, width), np.uint8), make((height, even // 2), np.uint8),
                make((height, even // 2), np.uint8))
    if form.kind == "bitmap":
        return make((height, width, form.channels), np.uint8)
    return make((height, width), np.uint16 if form.kind == "words" else np.uint8)


def destination(out: Planes | None, form: Format, like: View, *, zeros: bool = True) -> Tuple[Result, View]:
    """`out`, or new memory of the size of `like`, and its frame."""
    if out is None:
        out = empty(form, like.width, like.height, zeros=zeros)
    width = like.width if form.kind == "packed" else None
    try:
        to = view("out", out, form, width, writable=True)
    except ValueError as error:
        if "width is" in str(error)[:8]:
            wrong = np.shape(out)
            raise ValueError(f"out has shape {wrong}; for {like.width} x {like.height} pixels of {form.name} it must "
                             f"be {empty(form, like.width, like.height).shape}") from None
        raise
    same_size(like, to)
    return out, to


def same_size(a: View, b: View) -> None:
    """Fails unless two frames are of one size."""
    if (a.width, a.height) != (b.width, b.height):
        raise ValueError(f"{b.name} is {b.width} x {b.height} pixels, {a.name} {a.width} x {a.height}; "
                         "they must be equal")
