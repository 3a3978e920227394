"""The C interface: where it is, its structs and its functions."""

from __future__ import annotations

import ctypes
import os
import sysconfig
from ctypes import CFUNCTYPE, POINTER, Structure, c_char, c_char_p, c_double, c_int32, c_int64, c_size_t, c_uint32
from ctypes import c_void_p
from pathlib import Path
from typing import Any

ABI = 1
Poll = CFUNCTYPE(c_int32, c_void_p)


class Frame(Structure):
    """kv_frame."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("format", c_int32),
        ("width", c_int32),
        ("height", c_int32),
        ("planes", c_void_p * 4),
        ("strides", c_int64 * 4),
        ("field_order", c_int32),
        ("row_parity", c_int32),
        ("matrix", c_int32),
        ("range", c_int32),
        ("chroma", c_int32),
        ("reserved", c_int32 * 5),
        ("memory", c_void_p),
    ]


class ContextOptions(Structure):
    """kv_context_options."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("threads", c_int32),
        ("member", c_char_p),
        ("run", c_void_p),
        ("run_user", c_void_p),
        ("reserved", c_int64 * 4),
    ]


class Call(Structure):
    """kv_call."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("threads", c_int32),
        ("member", c_char_p),
        ("poll", Poll),
        ("poll_user", c_void_p),
        ("reserved", c_int64 * 4),
    ]


class Member(Structure):
    """kv_member."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("is_usable", c_int32),
        ("priority", c_uint32),
        ("name", c_char * 28),
        ("level", c_char * 32),
        ("reason", c_char * 160),
    ]


class ConvertOptions(Structure):
    """kv_convert_options."""

    _fields_ = [("struct_size", c_uint32), ("resample", c_int32), ("reserved", c_int64 * 4)]


class Stats(Structure):
    """kv_stats."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("maximum", c_int32),
        ("samples", c_int64),
        ("mean", c_double),
        ("psnr", c_double),
        ("share", c_double),
        ("reserved", c_int64 * 4),
    ]


class LevelsOptions(Structure):
    """kv_levels_options."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("low", c_int32),
        ("high", c_int32),
        ("is_inverted", c_int32),
        ("gamma", c_double),
        ("reserved", c_int64 * 4),
    ]


class PanOptions(Structure):
    """kv_pan_options."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("direction", c_int32),
        ("steps", c_int32),
        ("step", c_int32),
        ("half_line", c_int32),
        ("reserved32", c_int32),
        ("reserved", c_int64 * 4),
    ]


class ScoreMap(Structure):
    """kv_score_map."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("reserved32", c_uint32),
        ("scores", c_void_p),
        ("capacity", c_size_t),
        ("columns", c_size_t),
        ("rows", c_size_t),
        ("left", c_double),
        ("top", c_double),
        ("step_x", c_double),
        ("step_y", c_double),
        ("reserved", c_int64 * 4),
    ]


class FindOptions(Structure):
    """kv_find_options."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("reserved32", c_uint32),
        ("x", c_double),
        ("y", c_double),
        ("around_x", c_double),
        ("around_y", c_double),
        ("half_width", c_int32),
        ("half_height", c_int32),
        ("range_x", c_double),
        ("range_y", c_double),
        ("step_x", c_double),
        ("step_y", c_double),
        ("levels", c_int32),
        ("reserved32b", c_int32),
        ("map", POINTER(ScoreMap)),
        ("reserved", c_int64 * 4),
    ]


class Match(Structure):
    """kv_match."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("is_found", c_int32),
        ("x", c_double),
        ("y", c_double),
        ("score", c_double),
        ("reserved", c_int64 * 2),
    ]


class TrackOptions(Structure):
    """kv_track_options."""

    _fields_ = [
        ("struct_size", c_uint32),
        ("half_width", c_int32),
        ("half_height", c_int32),
        ("range_x", c_int32),
        ("range_y", c_int32),
        ("levels", c_int32),
        ("update", c_int32),
        ("update_frames", c_int32),
        ("update_score", c_double),
        ("max_score", c_double),
        ("reserved", c_int64 * 4),
    ]


# What each function takes, from the header; all answer a kv_status but those in _answers.
_pointer = c_void_p
_functions: dict[str, list[Any]] = {
    "kv_context_options_init": [_pointer],
    "kv_context_new": [_pointer, _pointer],
    "kv_context_free": [_pointer],
    "kv_stop": [_pointer],
    "kv_call_init": [_pointer],
    "kv_members": [_pointer, c_size_t, _pointer],
    "kv_frame_init": [_pointer],
    "kv_region_rectangle": [c_int32, c_int32, c_int32, c_int32, _pointer],
    "kv_region_runs": [c_int32, c_int32, _pointer, _pointer, _pointer],
    "kv_region_polygon": [_pointer, c_size_t, _pointer],
    "kv_region_free": [_pointer],
    "kv_convert_options_init": [_pointer],
    "kv_convert": [_pointer, _pointer, _pointer, _pointer, _pointer],
    "kv_copy": [_pointer, _pointer, _pointer, _pointer],
    "kv_copy_region": [_pointer, _pointer, _pointer, _pointer, _pointer, _pointer],
    "kv_difference": [_pointer, _pointer, _pointer, _pointer, _pointer, _pointer],
    "kv_stats_init": [_pointer],
    "kv_difference_stats": [_pointer, _pointer, _pointer, _pointer, c_int32, _pointer, _pointer],
    "kv_average": [_pointer] * 8,
    "kv_box_filter": [_pointer, _pointer, _pointer, _pointer, c_int32, _pointer],
    "kv_blend": [_pointer] * 7,
    "kv_alpha_from_color": [_pointer, _pointer, _pointer, _pointer, _pointer, c_int32, _pointer],
    "kv_alpha_from_difference": [_pointer, _pointer, _pointer, _pointer, _pointer, c_int32, c_int32, _pointer],
    "kv_levels_options_init": [_pointer],
    "kv_mask_levels": [_pointer] * 6,
    "kv_composite": [_pointer] * 7,
    "kv_change_parity": [_pointer, _pointer, _pointer, _pointer, c_int32, _pointer],
    "kv_pan_options_init": [_pointer],
    "kv_pan": [_pointer] * 7,
    "kv_score_map_init": [_pointer],
    "kv_find_options_init": [_pointer],
    "kv_match_init": [_pointer],
    "kv_find": [_pointer] * 6,
    "kv_find_subpixel": [_pointer] * 6,
    "kv_track_options_init": [_pointer],
    "kv_track_new": [_pointer, c_size_t, _pointer, _pointer],
    "kv_track_free": [_pointer],
    "kv_track_next": [_pointer, _pointer, _pointer, _pointer, c_size_t, _pointer],
    "kv_clip_polygon": [_pointer, c_size_t, c_double, c_double, c_double, c_double, _pointer, c_size_t, _pointer,
                        _pointer, c_size_t, _pointer],
    "kv_last_error": [],
    "kv_abi_version": [],
    "kv_version_string": [],
}
_answers: dict[str, Any] = {
    "kv_last_error": c_char_p,
    "kv_version_string": c_char_p,
    "kv_context_free": None,
    "kv_region_free": None,
    "kv_track_free": None,
    **{name: None for name in _functions if name.endswith("_init")},
}


def _candidates() -> list[Path]:
    """Absolute paths, first choice first."""
    named = os.environ.get("KV_ALGO_LIBRARY")
    if named:
        return [Path(named).absolute()]
    package = Path(__file__).absolute().parent
    found = [package / "native" / "libkv_c.so.0"]
    # Installed by the system: <prefix>/lib/python3/dist-packages/kv_algo beside <prefix>/lib/<system>.
    if package.parent.name in ("dist-packages", "site-packages"):
        libraries = package.parents[2]
        system = sysconfig.get_config_var("MULTIARCH")
        if system:
            found.append(libraries / str(system) / "libkv_c.so.0")
        found.append(libraries / "libkv_c.so.0")
    return found


def _load() -> tuple[ctypes.CDLL, Path]:
    candidates = _candidates()
    for path in candidates:
        if not path.is_file():
            continue
        library = ctypes.CDLL(str(path))
        version = library.kv_abi_version()
        if version != ABI:
            raise ImportError(f"{path} has ABI version {version}; this package needs {ABI}")
        for name, arguments in _functions.items():
            function = getattr(library, name)
            function.argtypes = arguments
            function.restype = _answers.get(name, c_int32)
        return library, path
    tried = ", ".join(str(path) for path in candidates)
    raise ImportError(f"libkv_c.so.0 is not there; tried {tried}. KV_ALGO_LIBRARY may name its path")


library, library_path = _load()


def last_error() -> str:
    """The text of this thread's last failure."""
    text: bytes = library.kv_last_error()
    return text.decode("utf-8", "replace")
