"""Points that are followed through a clip."""

from __future__ import annotations

import ctypes
from typing import Any, Iterable, Iterator, List, NamedTuple, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _context, _library
from ._checks import choice, integer, number, pair
from ._errors import error_of
from ._frames import FIELDS, MOST_PIXELS_OF_SIDE, Planes, View, format_of, view
from ._library import library
from ._video import VideoFrame

Point = Tuple[float, float]
Points = Union[Point, Sequence[Point], "npt.NDArray[Any]"]
_formats = ("uyvy", "yuy2", "bgr24", "bgra32", "bgrx32")
_most_points = 1000000
_most_frames = (1 << 31) - 1
_never, _every, _on_score = 0, 1, 2


class TrackedPoint(NamedTuple):
    """Where a point is in a frame."""

    #: Pixels; of a lost point, where it last was.
    x: float
    y: float
    #: Mean absolute difference at the place found, 0 to 255; 0 is equal.
    score: float
    is_lost: bool


def track(frames: Iterable[Union[Planes, VideoFrame]], at: Points, *, half: Union[int, Tuple[int, int]] = 16,
          range: Union[int, Tuple[int, int]] = 16, levels: int = 3,
          update: Union[str, int, Tuple[str, float]] = "never", max_score: float | None = None, format: str = "uyvy",
          width: int | None = None, field_order: str = "progressive") -> Iterator[Tuple[TrackedPoint, ...]]:
    """Follows points through the frames of a clip, to a part of a pixel.

    Parameters
    ----------
    frames : iterable of arrays or of VideoFrame
        Of one size and format: packed 4:2:2 (luma is compared) or ``(height, width, 3 or 4)`` (green is). A
        `VideoFrame` has its own format, width and field order; one of planes is packed.
    at : (float, float) or sequence of them
        x, y of a point, or of several, in the first frame.
    half : int or (int, int)
        Half-width and half-height of the part that is compared, pixels.
    range : int or (int, int)
        How far to search to every side of where the last motion leads, pixels.
    levels : int
        Levels of the search between pixels, of steps 1/2, 1/4, 1/8, …; 0 to 8, 0: whole pixels.
    update : "never", "always", int or ("on-score", float)
        When the compared part is taken anew, which drifts: after this number of frames, or after a score above this.
    max_score : float, optional
        A point whose score is above it is lost, 0 to 255; None: never.
    format : {"uyvy", "yuy2", "bgr24", "bgra32", "bgrx32"}
        Of arrays.
    width : int, optional
        Pixels of a row of an array, where it is odd.
    field_order : {"progressive", "top", "bottom"}
        Of arrays. Of frames with fields the first one is searched.

    Yields
    ------
    tuple of TrackedPoint
        One for each point of ``at``, in its order; for each frame. The first frame's points are those of ``at``. A
        point that is lost is sought again around where it last was.

    Raises
    ------
    SizeMismatch
        Frames of another size than the first one, or not three pixels larger than the part that is compared.

    Examples
    --------
    >>> import numpy as np, kv_algo
    >>> a = np.random.default_rng(1).integers(0, 256, (64, 64, 2), np.uint8)
    >>> clip = [np.roll(a, (i, -2 * i), axis=(0, 1)) for i in (0, 1, 2)]
    >>> [(point.x, point.y, point.score) for point, in kv_algo.track(clip, (30, 30), half=5, range=4)]
    [(30.0, 30.0, 0.0), (28.0, 31.0, 0.0), (26.0, 32.0, 0.0)]
    """
    form = format_of("format", format, _formats)
    fields = choice("field_order", field_order, FIELDS)
    points = _points(at)
    options = _library.TrackOptions()
    library.kv_track_options_init(ctypes.byref(options))
    options.half_width, options.half_height = (integer("half", one, 0, MOST_PIXELS_OF_SIDE)
                                               for one in pair("half", half))
    options.range_x, options.range_y = (integer("range", one, 0, MOST_PIXELS_OF_SIDE) for one in pair("range", range))
    options.levels = integer("levels", levels, 0, 8)
    _set_update(options, update)
    if max_score is not None:
        options.max_score = number("max_score", max_score, 0, 255)
    if isinstance(frames, (str, bytes)) or not hasattr(frames, "__iter__"):
        raise TypeError(f"frames is a {type(frames).__name__}; it must be an iterable of frames")

    def views() -> Iterator[View]:
        for index, frame in enumerate(frames):
            name = f"frames[{index}]"
            if isinstance(frame, VideoFrame):
                packed = frame.format if frame.format in _formats else "uyvy"
                planes = frame.planes if frame.format == packed else frame.to(packed)
                one = view(name, planes, format_of("format", packed, _formats), frame.width)
                one.frame.field_order = choice("field_order", frame.field_order, FIELDS)
            else:
                one = view(name, frame, form, width)
                one.frame.field_order = fields
            yield one

    return _track(views(), points, options)


def _track(views: Iterator[View], points: npt.NDArray[np.float64],
           options: _library.TrackOptions) -> Iterator[Tuple[TrackedPoint, ...]]:
    count = len(points)
    handle = ctypes.c_void_p()
    status = library.kv_track_new(points.ctypes.data, count, ctypes.byref(options), ctypes.byref(handle))
    if status != 0:
        raise error_of(status, _library.last_error())
    try:
        matches = (_library.Match * count)()
        for match in matches:
            library.kv_match_init(ctypes.byref(match))
        for index, frame in enumerate(views):
            if index == 0:
                for i, (x, y) in enumerate(points):
                    if x > frame.width - 1 or y > frame.height - 1:
                        raise ValueError(f"at[{i}] is ({x:g}, {y:g}); {frame.name} is {frame.width} x {frame.height} "
                                         "pixels")
            _context.run(library.kv_track_next, handle, frame.ref(), matches, count)
            yield tuple([TrackedPoint(match.x, match.y, match.score, not match.is_found) for match in matches])
    finally:
        library.kv_track_free(handle)


def _points(at: Any) -> npt.NDArray[np.float64]:
    wrong = f"at is {at!r:.60}; it must be (x, y) or a sequence of them"
    if not isinstance(at, (tuple, list, np.ndarray)) or len(at) == 0:
        raise TypeError(wrong)
    several: List[Any] = list(at)
    if not isinstance(several[0], (tuple, list, np.ndarray)):
        several = [several]
    if any(not isinstance(one, (tuple, list, np.ndarray)) or len(one) != 2 for one in several):
        raise TypeError(wrong)
    if len(several) > _most_points:
        raise ValueError(f"at has {len(several)} points; it must have 1 to {_most_points}")
    return np.array([[number(f"at[{i}]", value, 0, MOST_PIXELS_OF_SIDE - 1) for value in one]
                     for i, one in enumerate(several)], np.float64)


def _set_update(options: _library.TrackOptions, update: Any) -> None:
    if isinstance(update, str):
        if update not in ("never", "always"):
            raise ValueError(f'update is "{update:.60}"; it must be "never", "always", a number of frames or '
                             '("on-score", score)')
        options.update = _never if update == "never" else _every
    elif isinstance(update, tuple):
        if len(update) != 2 or update[0] != "on-score":
            raise ValueError(f'update is {update!r:.60}; it must be ("on-score", score)')
        options.update, options.update_score = _on_score, number("update[1]", update[1], 0, 255)
    else:
        options.update, options.update_frames = _every, integer("update", update, 1, _most_frames)
