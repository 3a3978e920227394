"""Template search and polygons."""

from __future__ import annotations

import ctypes
import math
from typing import Any, List, NamedTuple, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _context, _library
from ._checks import flag, integer, number, pair
from ._errors import error_of
from ._frames import MOST_PIXELS_OF_SIDE, Planes, format_of, view
from ._library import library
from ._regions import polygon_points

Numbers = Union[float, Tuple[float, float]]
_formats = ("uyvy", "yuy2", "bgr24", "bgra32", "bgrx32")
_farthest = float(1 << 24)


class ScoreMap(NamedTuple):
    """The score of every tested position; of `find_subpixel` those of the first level."""

    #: (rows, columns) array of float64: mean absolute differences, 0 to 255.
    scores: npt.NDArray[np.float64]
    #: The first position, in pixels of the searched picture.
    left: float
    top: float
    #: From one position to the next, in pixels.
    step_x: float
    step_y: float


class Match(NamedTuple):
    """What a search found; x, y and score are NaN where the range holds no position."""

    #: The feature in the searched picture, pixels.
    x: float
    y: float
    #: Mean absolute difference, 0 to 255; 0 is equal.
    score: float
    is_found: bool
    map: ScoreMap | None


def find(reference: Planes, searched: Planes, at: Tuple[float, float], *, around: Tuple[float, float] | None = None,
         half: Union[int, Tuple[int, int]] = 8, range: Numbers = 16, map: bool = False, format: str = "uyvy",
         width: int | None = None, searched_width: int | None = None) -> Match:
    """Where a small part of one picture is in another, on whole pixels.

    Parameters
    ----------
    reference, searched : array
        Of one format: packed 4:2:2 (luma is compared) or ``(height, width, 3 or 4)`` (green is).
    at : (int, int)
        x, y of the feature in ``reference``.
    around : (int, int), optional
        Centre of the search in ``searched``; None: ``at``.
    half : int or (int, int)
        Half-width and half-height of the part that is compared, pixels.
    range : int or (int, int)
        How far to search to every side, pixels.
    map : bool
        True: the result has the score of every position.
    format : {"uyvy", "yuy2", "bgr24", "bgra32", "bgrx32"}
    width, searched_width : int, optional
        Pixels of a row of ``reference`` and of ``searched``, where it is odd.

    Returns
    -------
    Match
        The best position, of equal ones the first in reading order.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a = np.random.default_rng(1).integers(0, 256, (64, 64, 2), np.uint8)
    >>> b = np.roll(a, (3, -4), axis=(0, 1))
    >>> kv_algo.find(a, b, (30, 30), half=5, range=8)[:3]
    (26.0, 33.0, 0.0)
    """
    return _find(library.kv_find, reference, searched, at, around, half, range, 0.5, 1, map, format, width,
                 searched_width)


def find_subpixel(reference: Planes, searched: Planes, at: Tuple[float, float], *,
                  around: Tuple[float, float] | None = None, half: Union[int, Tuple[int, int]] = 8,
                  range: Numbers = 16, step: Numbers = 0.5, levels: int = 1, map: bool = False, format: str = "uyvy",
                  width: int | None = None, searched_width: int | None = None) -> Match:
    """Where a small part of one picture is in another, between pixels, from coarse to fine.

    Parameters
    ----------
    reference, searched, at, around, half, range, map, format, width, searched_width
        As for `find`; positions and ranges may be between pixels.
    step : float or (float, float)
        Distance of the tested positions, above 0, at most 1 pixel.
    levels : int
        1 to 16; each level halves range and step.

    Returns
    -------
    Match
        Its score is that of the first level.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a = np.random.default_rng(1).integers(0, 256, (64, 64, 2), np.uint8)
    >>> match = kv_algo.find_subpixel(a, a, (30, 30), half=5, range=2, levels=2)
    >>> match.x, match.y
    (30.0, 30.0)
    """
    steps = pair("step", step)
    if not all(isinstance(one, (int, float, np.number)) for one in steps):
        raise TypeError(f"step is {step!r:.60}; it must be a number or two, above 0, at most 1")
    return _find(library.kv_find_subpixel, reference, searched, at, around, half, range, step,
                 integer("levels", levels, 1, 16), map, format, width, searched_width)


def _point(name: str, value: Any, low: float, highs: Tuple[float, float]) -> Tuple[float, float]:
    if not isinstance(value, (tuple, list, np.ndarray)) or len(value) != 2:
        raise TypeError(f"{name} is {value!r:.60}; it must be (x, y)")
    return number(f"{name}[0]", value[0], low, highs[0]), number(f"{name}[1]", value[1], low, highs[1])


def _find(function: Any, reference: Planes, searched: Planes, at: Any, around: Any, half: Any, range: Any, step: Any,
          levels: int, map: bool, format: str, width: int | None, searched_width: int | None) -> Match:
    form = format_of("format", format, _formats)
    first = view("reference", reference, form, width)
    second = view("searched", searched, form, searched_width)
    options = _library.FindOptions()
    library.kv_find_options_init(ctypes.byref(options))
    options.x, options.y = _point("at", at, 0, (first.width - 1, first.height - 1))
    options.around_x, options.around_y = ((options.x, options.y) if around is None else
                                          _point("around", around, -_farthest, (_farthest, _farthest)))
    options.half_width, options.half_height = (integer("half", one, 0, MOST_PIXELS_OF_SIDE)
                                               for one in pair("half", half))
    options.range_x, options.range_y = (number("range", one, 0, MOST_PIXELS_OF_SIDE) for one in pair("range", range))
    options.step_x, options.step_y = (number("step", one, 1e-6, 1) for one in pair("step", step))
    options.levels = levels
    if function is library.kv_find:
        for name, value in (("at", options.x), ("at", options.y), ("around", options.around_x),
                            ("around", options.around_y), ("range", options.range_x), ("range", options.range_y)):
            if not value.is_integer():
                raise ValueError(f"{name} has {value:g}; find takes whole numbers, find_subpixel others")
        options.step_x = options.step_y = 0.5
    scores = None
    answer = _library.ScoreMap()
    if flag("map", map):
        library.kv_score_map_init(ctypes.byref(answer))
        steps = (1.0, 1.0) if function is library.kv_find else (options.step_x, options.step_y)
        scores = np.zeros((2 * math.ceil(options.range_x / steps[0]) + 3) *
                          (2 * math.ceil(options.range_y / steps[1]) + 3))
        answer.scores, answer.capacity = scores.ctypes.data, scores.size
        options.map = ctypes.pointer(answer)
    match = _library.Match()
    library.kv_match_init(ctypes.byref(match))
    _context.run(function, first.ref(), second.ref(), ctypes.byref(options), ctypes.byref(match))
    found = None
    if scores is not None:
        found = ScoreMap(scores[:answer.columns * answer.rows].reshape(answer.rows, answer.columns), answer.left,
                         answer.top, answer.step_x, answer.step_y)
    if not match.is_found:
        return Match(math.nan, math.nan, math.nan, False, found)
    return Match(match.x, match.y, match.score, True, found)


def clip_polygon(points: Any, left: float, top: float, right: float, bottom: float) -> List[npt.NDArray[np.float64]]:
    """Clips a polygon to a rectangle.

    Parameters
    ----------
    points : (n, 2) array of float
        Vertices x, y; at least 3.
    left, top, right, bottom : float
        The rectangle.

    Returns
    -------
    list of (m, 2) arrays of float64
        The pieces; empty where nothing is inside.

    Examples
    --------
    >>> import kv_algo
    >>> [piece.tolist() for piece in kv_algo.clip_polygon([(0, 0), (4, 0), (4, 4), (0, 4)], 1, 1, 2, 3)]
    [[[1.0, 3.0], [1.0, 1.0], [2.0, 1.0], [2.0, 3.0]]]
    """
    array = polygon_points("points", points)
    first_x, first_y = number("left", left, -_farthest, _farthest), number("top", top, -_farthest, _farthest)
    sides = (first_x, first_y, number("right", right, first_x, _farthest), number("bottom", bottom, first_y, _farthest))
    vertex_count, piece_count = ctypes.c_size_t(), ctypes.c_size_t()
    room = 2 * len(array) + 8
    while True:
        vertices = np.zeros((room, 2))
        pieces = np.zeros(room, np.uintp)
        status = library.kv_clip_polygon(array.ctypes.data, len(array), *sides, vertices.ctypes.data, room,
                                         ctypes.byref(vertex_count), pieces.ctypes.data, room,
                                         ctypes.byref(piece_count))
        needed = max(vertex_count.value, piece_count.value)
        if status != 3 or needed <= room:
            break
        room = needed
    if status != 0:
        raise error_of(status, _library.last_error())
    ends = np.cumsum(pieces[:piece_count.value])[:-1]
    if piece_count.value == 0:
        return []
    return [piece.copy() for piece in np.split(vertices[:vertex_count.value], ends)]
