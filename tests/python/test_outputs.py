"""The one list of hashes holds here too: every line that an operation on arrays can do, from the files of the lines
before it. A line's file is taken apart, its picture computed here, and what the file would be is hashed."""

import ctypes
import shlex

import numpy as np
import pytest
from conftest import ROOT

import kv_algo


def fnv(data):
    """FNV-1a, 64 bits."""
    value = 0xCBF29CE484222325
    for byte in data:
        value = (value ^ byte) * 0x100000001B3 & 0xFFFFFFFFFFFFFFFF
    return value


def lines():
    found = []
    for line in (ROOT / "tests/host/output_hashes.txt").read_text().splitlines():
        if line and line[0] != "#":
            value, name, arguments = line.split(None, 2)
            found.append((int(value, 16), name, shlex.split(arguments.replace("PHOTO", PHOTO))))
    return found


PHOTO = str(ROOT / "assets/seeding-720x576.y4m")
LINES = lines()


def y4m(path):
    """All frames of a Y4M file as planes."""
    data = path.read_bytes()
    head, _, rest = data.partition(b"\n")
    tags = head.split()
    width, height = (int(next(tag[1:] for tag in tags if tag[:1] == one)) for one in (b"W", b"H"))
    frames = []
    pairs = (width + 1) // 2
    while rest:
        _, _, rest = rest.partition(b"\n")
        pixels = np.frombuffer(rest[: (width + 2 * pairs) * height], np.uint8)
        rest = rest[pixels.size :]
        luma, cb, cr = np.split(pixels, [width * height, (width + pairs) * height])
        frames.append((luma.reshape(height, width), cb.reshape(height, pairs), cr.reshape(height, pairs)))
    return frames


def packed(path, frame=0):
    """A frame of a Y4M file as YUY2, and its width."""
    planes = y4m(path)[frame]
    return kv_algo.convert(planes, "i422", "yuy2"), planes[0].shape[1]


def grey(path):
    data = path.read_bytes()
    magic, width, height, most, pixels = data.split(None, 4)[0:4] + [data]
    assert magic == b"P5" and most == b"255"
    return np.frombuffer(pixels[-int(width) * int(height) :], np.uint8).reshape(int(height), int(width))


def payload_of(frames):
    return b"".join(b"FRAME\n" + b"".join(plane.tobytes() for plane in planes) for planes in frames)


def planes_of(yuy2, width):
    return kv_algo.convert(yuy2, "yuy2", "i422", width=width)


@pytest.fixture(scope="module")
def folder(tmp_path_factory, kv):
    """All files of the list, as kv writes them."""
    place = tmp_path_factory.mktemp("outputs")
    for _, _, arguments in LINES:
        kv(*arguments, cwd=place)
    return place


def widened(a):
    """Columns up to the next multiple of four."""
    return np.pad(a, ((0, 0), (0, -a.shape[1] % 4)) + ((0, 0),) * (a.ndim - 2))


def rectangle(text):
    return tuple(int(one) for one in text.split(","))


def compute(arguments, folder):
    """The bytes after the header of the file that a line writes."""
    command, rest = arguments[0], arguments[1:]
    options = {}
    while len(rest) > 1 and rest[-2].startswith("--"):
        options[rest[-2]] = rest[-1]
        rest = rest[:-2]
    files = [folder / name for name in rest]
    region = rectangle(options["--region"]) if "--region" in options else None
    if command == "diff":
        (a, width), (b, _) = packed(files[0]), packed(files[1])
        return kv_algo.difference(a, b, format="yuy2", width=width, region=region).tobytes()
    if command == "average":
        return kv_algo.average(grey(files[0]), grey(files[1]), a_region=rectangle(options["--region-a"]),
                               b_region=rectangle(options["--region-b"])).tobytes()
    if command == "filter":
        source = grey(files[0])
        return kv_algo.box_filter(source, int(options["--window"]), region, out=source.copy()).tobytes()
    if command == "blend":
        (a, width), (b, _) = packed(files[0]), packed(files[1])
        # Like kv, on whole groups of four pixels.
        mixed = kv_algo.blend(widened(a), widened(b), widened(grey(files[2])), format="yuy2")[:, : a.shape[1]]
        return payload_of([planes_of(mixed, width)])
    if command == "alpha-color":
        (a, width), (b, _) = packed(files[0]), packed(files[1])
        return kv_algo.alpha_from_color(a, b, int(options["--window"]), format="yuy2", width=width).tobytes()
    if command == "alpha-prob":
        return kv_algo.alpha_from_difference(grey(files[0]), grey(files[1]), int(options["--window"]),
                                             gain=int(options["--gain"])).tobytes()
    if command == "copy-roi":
        (a, width), (b, out_width) = packed(files[0]), packed(files[1])
        left, top, columns, rows = rectangle(options["--from"])
        kv_algo.copy_region(a, b, (left, top, columns, rows), (*rectangle(options["--to"]), columns, rows), src="yuy2",
                            dst="yuy2", width=width, out_width=out_width)
        return payload_of([planes_of(b, out_width)])
    if command == "parity":
        done = []
        order = "top" if b" It" in files[0].read_bytes()[:80] else "progressive"
        for i in range(len(y4m(files[0]))):
            a, width = packed(files[0], i)
            whole = widened(a)
            out = whole.copy()
            kv_algo.change_parity(whole, method="blend", format="yuy2", region=region, field_order=order, out=out)
            done.append(planes_of(out[:, : a.shape[1]], width))
        return payload_of(done)
    if command == "pan":
        a, _ = packed(files[0])
        width, height = (int(one) for one in options["--size"].split("x"))
        steps = int(options["--frames"])
        done = [kv_algo.pan(a, (width, height), direction=options["--direction"], steps=steps, step=i, format="yuy2")
                for i in range(steps)]
        return payload_of([planes_of(one, width) for one in done])
    if command == "convert":
        planes = y4m(files[0])[0]
        colours = {}
        if "--matrix" in options:
            colours["matrix"] = "bt" + options["--matrix"]
        for name in ("range", "chroma", "resample"):
            if "--" + name in options:
                colours[name] = options["--" + name]
        depth = options.get("--depth", "24")
        kind = files[1].suffix
        dst = {".pgm": "gray8", ".ppm": "rgb24"}.get(kind) or {"24": "bgr24", "32": "bgra32", "16": "rgb565",
                                                               "15": "rgb555"}[depth]
        pixels = kv_algo.convert(planes, "i422", dst, **colours)
        return pixels[::-1].tobytes() if kind == ".bmp" else pixels.tobytes()
    raise AssertionError(command)


def is_covered(arguments):
    if "--exact-copy" in arguments or "--interlaced" in arguments or arguments[0] == "find":
        return False
    if arguments[0] == "convert":
        return arguments[1].endswith(".y4m") and arguments[2].rpartition(".")[2] in ("bmp", "pgm", "ppm")
    inputs = [one for one in arguments[1:] if "." in one and not one.startswith("--")]
    return all(one.endswith((".y4m", ".pgm")) for one in inputs)


COVERED = [line for line in LINES if is_covered(line[2])]


def test_the_list_covers_every_function():
    assert {line[2][0] for line in COVERED} == {
        "convert", "diff", "average", "filter", "blend", "alpha-color", "alpha-prob", "copy-roi", "parity", "pan"}
    assert len(COVERED) >= 20


@pytest.mark.parametrize("line", COVERED, ids=[line[1] for line in COVERED])
@pytest.mark.parametrize("threads", [1, 3])
def test_output(line, threads, folder):
    value, name, arguments = line
    written = (folder / name).read_bytes()
    with kv_algo.Context(threads=threads):
        computed = compute(arguments, folder)
    header = written[: written.index(b"FRAME\n")] if name.endswith(".y4m") else written[: -len(computed)]
    assert len(header) + len(computed) == len(written)
    if threads > 1:
        assert header + computed == written
    else:
        assert fnv(header + computed) == value


def test_scores(folder):
    """The maps of both searches, position by position."""
    a, width = packed(folder / "a.y4m")
    b, _ = packed(folder / "roi.y4m")
    common = dict(half=(12, 9), around=(160, 131), map=True, format="yuy2", width=width, searched_width=width)
    whole = kv_algo.find(a, b, (60, 50), range=(9, 7), **common)
    fine = kv_algo.find_subpixel(a, b, (60, 50), range=(3, 3), step=0.25, levels=3, **common)
    for name, match in (("map.csv", whole), ("fine.csv", fine)):
        rows = np.genfromtxt(folder / name, delimiter=",", names=True)
        scores = rows[rows.dtype.names[-1]]
        assert scores.size >= match.map.scores.size > 100
        np.testing.assert_allclose(scores[: match.map.scores.size], match.map.scores.ravel(), atol=1e-4)
    assert whole.is_found and whole.map.scores.min() == whole.score
