"""The structs and numbers of the package beside those of the header."""

import ctypes
import re

import pytest
from conftest import ROOT

from kv_algo import _fields, _frames, _library, _track

HEADER = re.sub(r"/\*.*?\*/", "", (ROOT / "capi/kv/kv.h").read_text(), flags=re.S)
STRUCTS = {
    "kv_frame": _library.Frame,
    "kv_context_options": _library.ContextOptions,
    "kv_call": _library.Call,
    "kv_member": _library.Member,
    "kv_convert_options": _library.ConvertOptions,
    "kv_stats": _library.Stats,
    "kv_levels_options": _library.LevelsOptions,
    "kv_pan_options": _library.PanOptions,
    "kv_score_map": _library.ScoreMap,
    "kv_find_options": _library.FindOptions,
    "kv_match": _library.Match,
    "kv_track_options": _library.TrackOptions,
}
TYPES = {"uint32_t": 4, "int32_t": 4, "int64_t": 8, "double": 8, "size_t": 8, "char": 1, "kv_executor": 8, "kv_poll": 8}


@pytest.mark.parametrize("name", STRUCTS)
def test_fields(name):
    body = re.search(r"typedef struct %s \{(.*?)\} %s;" % (name, name), HEADER, re.S).group(1)
    declared = []
    for line in filter(None, (one.strip() for one in body.split(";"))):
        kind, star, field, count = re.fullmatch(r"(?:const )?(\w+)(\*?) (\w+)(?:\[(\d+)\])?", line).groups()
        declared.append((field, (8 if star else TYPES[kind]) * int(count or 1)))
    struct = STRUCTS[name]
    assert [(field, getattr(struct, field).size) for field, _ in struct._fields_] == declared


@pytest.mark.parametrize("name", [one for one in STRUCTS if one != "kv_member"])
def test_sizes(name):
    struct = STRUCTS[name]()
    getattr(_library.library, name + "_init" if hasattr(_library.library, name + "_init") else "")(ctypes.byref(struct))
    assert struct.struct_size == ctypes.sizeof(struct)


def codes(prefix):
    return {name.lower(): int(value) for name, value in re.findall(r"\b%s(\w+) = (\d+)" % prefix, HEADER)}


def test_formats():
    assert {one.name: one.code for one in _frames.FORMATS.values()} == codes("KV_FORMAT_")


def test_words():
    assert {"default": 0, **_frames.MATRICES} == codes("KV_MATRIX_")
    assert {"default": 0, **_frames.RANGES} == codes("KV_RANGE_")
    assert {"default": 0, **_frames.CHROMAS} == codes("KV_CHROMA_")
    assert _fields._directions == codes("KV_PAN_")
    assert _fields._methods == codes("KV_PARITY_")
    assert {"never": _track._never, "every": _track._every, "on_score": _track._on_score} == codes("KV_TRACK_")
    fields = {"progressive": "progressive", "top": "top_first", "bottom": "bottom_first"}
    assert {fields[name]: code for name, code in _frames.FIELDS.items()} == codes("KV_FIELDS_")


def test_every_operation_is_there():
    import kv_algo

    operations = set(re.findall(r"KV_API kv_status kv_(\w+)\(kv_context\* context, const kv_frame\*", HEADER))
    assert operations and operations | {"track"} <= set(kv_algo.__all__)
