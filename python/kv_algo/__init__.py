"""Image processing for packed YUV 4:2:2 video, on NumPy arrays.

Every function takes arrays as views, positive and negative row strides included, and computes in the library libkv_c;
nothing is copied on the way. `Context` and `set_threads` choose the number of threads: 1 unless they say otherwise.
"""

from ._colour import convert, copy, copy_region
from ._context import Context, set_threads
from ._errors import BadArgument, Error, NoMember, OutOfMemory, SizeMismatch, Stopped, Unsupported
from ._fields import change_parity, pan
from ._keying import composite, mask_levels
from ._library import library as _loaded
from ._library import library_path
from ._masks import alpha_from_color, alpha_from_difference, average, blend, box_filter, difference
from ._members import Member, members
from ._regions import Region
from ._search import Match, ScoreMap, clip_polygon, find, find_subpixel
from ._selftest import Check, selftest
from ._stats import DifferenceStats, difference_stats
from ._track import TrackedPoint, track
from ._video import VideoFrame, read, write

__version__: str = _loaded.kv_version_string().decode()

__all__ = [
    "BadArgument", "Check", "Context", "DifferenceStats", "Error", "Match", "Member", "NoMember", "OutOfMemory", "Region", "ScoreMap",
    "SizeMismatch", "Stopped", "TrackedPoint", "Unsupported", "VideoFrame", "alpha_from_color", "alpha_from_difference", "average", "blend",
    "box_filter", "change_parity", "clip_polygon", "composite", "convert", "copy", "copy_region", "difference",
    "difference_stats", "find", "find_subpixel", "library_path", "mask_levels", "members", "pan", "read", "selftest", "set_threads", "track",
    "write",
]
