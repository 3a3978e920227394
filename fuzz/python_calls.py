#!/usr/bin/env python3
"""Calls the functions of the Python package with arguments at random, on arrays whose neighbours are watched.

usage: fuzz/python_calls.py [SECONDS] [--seed N] [--call N]

  SECONDS   how long (default 10)
  --seed N  what the calls are made of (default 1)
  --call N  that call alone, and what its arguments are

A call answers, or raises one of the package's documented exceptions with a text; a refusal writes nothing, and nobody
writes beside the rows of `out`. A call that answers is made again on contiguous copies and on another number of threads,
and has to answer the same. script/fuzz runs this with the library as AddressSanitizer has it, which sees what is read
outside of an array, too.
"""

import argparse
import contextlib
import mmap
import os
import random
import sys
import time

import numpy as np

import kv_algo as kv

PACKED = ("uyvy", "yuy2")
SEARCHED = (*PACKED, "bgr24", "bgra32", "bgrx32")
MEASURED = (*PACKED, "yuv411p", "i422", "gray8")
FORMATS = (*MEASURED, "uyvya", "yuy2a", "rgb24", "bgr24", "bgra32", "rgba32", "bgrx32", "rgbx32", "rgb555", "rgb565")
WRONG = (None, -1, 0, 1, 2, 255, 256, 1 << 20, 1 << 31, 1 << 63, 1 << 70, -(1 << 70), 1 << 2000, True, 0.5, float("nan"), float("inf"),
         -float("inf"), "3", "", "x" * 100, b"x", "\0", "\ud800", [], (), {}, [1], (1, 2), (1, 2, 3), (None,) * 4, (0, 0, 1 << 40, 1),
         ((1, 2), (3,)), 1j, object(), int, np.int64(3), np.uint8(255), np.float64("nan"), np.array(3), np.zeros(0), np.zeros((2, 2)),
         np.zeros((3, 4, 2), np.uint8), np.array(["a"]), memoryview(b"abcd"), bytearray(8))
REFUSALS = (TypeError, ValueError, MemoryError, kv.Error)


class Plane:
    """An array in a block of memory, rows apart and upside down at times."""

    def __init__(self, maker, shape, dtype=np.uint8):
        pick, size = maker.pick, np.dtype(dtype).itemsize
        row = int(np.prod(shape[1:])) * size
        stride = row + pick.choice((0, 0, 1, 2, 8, 37))
        before, after = pick.choice(((0, 0), (0, 0), (16, 16), (3, 5)))
        self.memory = maker.numbers.integers(0, 256, before + (shape[0] - 1) * stride + row + after, np.uint8)
        upside_down = pick.random() < 0.25
        start = before + (shape[0] - 1) * stride if upside_down else before
        inner = (int(np.prod(shape[2:])) * size, size)[-len(shape[1:]):]
        self.layout = {"shape": shape, "dtype": dtype, "offset": start, "strides": (-stride if upside_down else stride, *inner)}
        self.array = np.ndarray(buffer=self.memory, **self.layout)
        self.before = self.memory.copy()

    def beside(self):
        """Which bytes belong to no row."""
        inside = np.zeros(self.memory.size, np.uint8)
        np.ndarray(buffer=inside, **self.layout)[...] = 255 if self.layout["dtype"] == np.uint8 else 65535
        return inside == 0


class Picture:
    """What a function takes as a frame."""

    def __init__(self, maker, name, width, height):
        even = width + width % 2
        shapes = {"gray8": [(height, width)], "i422": [(height, width), *[(height, even // 2)] * 2]}
        shapes["yuv411p"] = shapes["i422"]
        if name in PACKED:
            planes = [(height, even, 2)]
        elif name.endswith("a") and name[:4] in PACKED:
            planes = [(height, even, 2), (height, width)]
        elif name in ("rgb555", "rgb565"):
            planes = [(height, width)]
        else:
            planes = shapes.get(name) or [(height, width, int(name[-2:]) // 8)]
        kind = np.uint16 if name.startswith("rgb5") else np.uint8
        self.planes = [Plane(maker, shape, kind) for shape in planes]
        self.is_read_only = maker.pick.random() < 0.02
        for plane in self.planes:
            plane.array.flags.writeable = not self.is_read_only

    def __repr__(self):
        return str([(plane.layout["shape"], plane.layout["strides"]) for plane in self.planes])

    def value(self):
        arrays = tuple(plane.array for plane in self.planes)
        return arrays[0] if len(arrays) == 1 else arrays

    def copy(self):
        """The same pixels as they were, contiguous."""
        arrays = tuple(np.ndarray(buffer=plane.before, **plane.layout).copy() for plane in self.planes)
        return arrays[0] if len(arrays) == 1 else arrays


class Maker:
    """Arguments of one call."""

    def __init__(self, seed, index):
        self.pick = random.Random(f"{seed} {index}")
        self.numbers = np.random.default_rng([seed, index])
        self.width, self.height = self.pick.randint(1, 40), self.pick.randint(1, 20)

    def often(self, value, other=None):
        return value if self.pick.random() < 0.7 else other

    def picture(self, name):
        width = self.width if self.pick.random() < 0.97 else self.pick.randint(1, 40)
        height = self.height if self.pick.random() < 0.97 else self.pick.randint(1, 20)
        return Picture(self, name, width, height)

    def box(self):
        left, top = self.pick.randint(0, self.width - 1), self.pick.randint(0, self.height - 1)
        width, height = self.pick.randint(1, self.width - left), self.pick.randint(1, self.height - top)
        return left, top, max(width // 4 * 4, 1), height

    def region(self):
        kind = self.pick.randint(0, 5)
        try:
            if kind == 1:
                return kv.Region(*self.box())
            if kind == 2:
                return kv.Region.polygon([(self.pick.uniform(-1, self.width + 1), self.pick.uniform(-1, self.height + 1)) for _ in range(3)])
            if kind == 3:
                firsts = [self.pick.randint(0, self.width - 1) for _ in range(self.height)]
                return kv.Region.runs(0, firsts, [self.pick.randint(first - 1, self.width - 1) for first in firsts])
        except kv.BadArgument:
            return None
        return self.box() if kind == 4 else None

    def sizes(self, name, *arguments):
        """The width where it is odd, and what is to be written."""
        return {argument: self.width for argument in arguments if name in PACKED and self.width % 2 != 0}

    def words(self, **choices):
        return {name: self.pick.choice(words) for name, words in choices.items() if self.pick.random() < 0.6}

    def point(self):
        whole = self.pick.random() < 0.6
        x, y = self.pick.uniform(0, self.width - 1), self.pick.uniform(0, self.height - 1)
        return (int(x), int(y)) if whole else (x, y)


def convert(m):
    source, to = m.pick.choice(FORMATS), m.pick.choice(FORMATS)
    matrix, span, chroma = ("bt601", "bt709", "bt2020"), ("limited", "full"), ("left", "centre")
    return kv.convert, [m.picture(source), source, to], m.words(
        matrix=matrix, range=span, chroma=chroma, dst_matrix=matrix, dst_range=span, dst_chroma=chroma, resample=("linear", "nearest"),
    ) | m.sizes(source, "width") | {"out": m.often(None, m.picture(to))}


def copy(m):
    source = m.pick.choice(FORMATS[:7])
    to = m.often(source, m.pick.choice(FORMATS[:7]))
    return kv.copy, [m.picture(source), source, to], m.words(row_parity=(0, 1), out_row_parity=(0, 1)) | m.sizes(source, "width") | {
        "out": m.often(None, m.picture(to))}


def copy_region(m):
    form = m.pick.choice(PACKED)
    region = m.region()
    return kv.copy_region, [m.picture(form), m.picture(form), region, m.often(region, m.region())], {"src": form, "dst": form} | m.sizes(
        form, "width", "out_width")


def change_parity(m):
    form, method = m.pick.choice(PACKED), m.pick.choice(("line", "field", "blend"))
    return kv.change_parity, [m.picture(form)], m.words(field_order=("top", "bottom", "progressive"), row_parity=(0, 1)) | m.sizes(
        form, "width") | {"method": method, "format": form, "region": m.often(None, m.box()), "out": m.often(None, m.picture(form))}


def pan(m):
    form, steps = m.pick.choice(PACKED), m.pick.randint(1, 5)
    # The still is the larger one.
    seen = (max(m.width // 2, 1), m.pick.randint(1, m.height))
    return kv.pan, [m.picture(form), seen], m.words(
        direction=("right", "left", "down", "up"), half_line=(False, True)) | m.sizes(form, "width") | {
        "steps": steps, "step": m.pick.randint(0, steps - 1), "format": form, "region": m.often(None, m.box())}


def two(function, grey=False, window=False, formats=PACKED, out=True, **more):
    def make(m):
        form = "gray8" if grey else m.pick.choice(formats)
        arguments = [m.picture(form), m.picture(form)] + ([m.pick.randint(1, 30)] if window else [])
        chosen = {"region": m.often(None, m.region())} | {name: m.pick.randint(*span) for name, span in more.items()}
        if not grey:
            chosen |= {"format": form} | m.sizes(form, "width")
        if out:
            chosen["out"] = m.often(None, m.picture("gray8"))
        return function, arguments, chosen

    make.__name__ = function.__name__
    return make


def average(m):
    return kv.average, [m.picture("gray8"), m.picture("gray8")], {
        "a_region": m.region(), "b_region": m.region(), "region": m.region(), "out": m.often(None, m.picture("gray8"))}


def box_filter(m):
    return kv.box_filter, [m.picture("gray8"), m.pick.randint(1, 60), m.region()], {"out": m.often(None, m.picture("gray8"))}


def mask_levels(m):
    low = m.pick.randint(0, 254)
    a = m.picture("gray8")
    return kv.mask_levels, [a], m.words(invert=(True, False), gamma=(1, 0.3, 2.2)) | {
        "low": low, "high": m.pick.randint(low + 1, 255), "region": m.region(), "out": m.pick.choice((None, a, m.picture("gray8")))}


def over(function, formats):
    def make(m):
        form = m.pick.choice(formats)
        front, back = m.picture(form), m.picture(form)
        return function, [front, back, m.picture("gray8")], {"format": form, "region": m.often(None, m.region())} | m.sizes(form, "width") | {
            "out": m.pick.choice((None, None, front, back, m.picture(form)))}

    make.__name__ = function.__name__
    return make


def search(function, **more):
    def make(m):
        form = m.pick.choice(SEARCHED)
        chosen = m.words(map=(True, False), around=(m.point(), None)) | {name: m.pick.choice(values) for name, values in more.items()}
        return function, [m.picture(form), m.picture(form), m.point()], chosen | m.sizes(form, "width", "searched_width") | {
            "format": form, "half": m.pick.choice((0, 1, 3, (2, 1))), "range": m.pick.choice((0, 1, 5, (3, 2)))}

    make.__name__ = function.__name__
    return make


def follow(at, first, second, **options):
    """All that `track` yields of two frames."""
    return list(kv.track([first, second], at, **options))


def track(m):
    form = m.pick.choice(SEARCHED)
    return follow, [m.often(m.point(), [m.point(), m.point()]), m.picture(form), m.picture(form)], m.words(
        levels=(0, 1, 3), update=("never", "always", 2, ("on-score", 5.0)), max_score=(None, 3), field_order=("progressive", "top", "bottom"),
    ) | m.sizes(form, "width") | {"format": form, "half": m.pick.choice((0, 1, 2, (2, 1))), "range": m.pick.choice((0, 2, (3, 2)))}


def clip_polygon(m):
    points = [(m.pick.uniform(-9, 50), m.pick.uniform(-9, 50)) for _ in range(m.pick.randint(2, 9))]
    return kv.clip_polygon, [points, *[m.pick.uniform(-3, 20) for _ in range(2)], *[m.pick.uniform(15, 60) for _ in range(2)]], {}


def opened(threads, member):
    """A context, as it is opened."""
    kv.Context(threads=threads, member=member).close()


def context(m):
    return opened, [m.pick.randint(0, 5), m.pick.choice((None, "kv_algoC", "kv_algoSSE2", "kv_algoNone"))], {}


def runs(m):
    count = m.pick.randint(0, 5)
    return kv.Region.runs, [m.pick.randint(-3, 9), [m.pick.randint(-5, 5) for _ in range(count)], [m.pick.randint(-7, 9) for _ in range(count)]], {}


def rectangle(m):
    return kv.Region, list(m.box()), {}


def polygon(m):
    return kv.Region.polygon, [[(m.pick.uniform(-9, 50), m.pick.uniform(-9, 50)) for _ in range(m.pick.randint(2, 6))]], {}


MAKERS = (
    convert, copy, copy_region, change_parity, pan, average, box_filter, mask_levels, track, clip_polygon, context, runs, rectangle, polygon,
    two(kv.difference), two(kv.difference_stats, formats=MEASURED, out=False, threshold=(0, 255)),
    two(kv.alpha_from_color, window=True), two(kv.alpha_from_difference, grey=True, window=True, gain=(0, 9)),
    over(kv.blend, PACKED), over(kv.composite, (*PACKED, "yuv411p", "i422")), search(kv.find),
    search(kv.find_subpixel, step=(0.5, 1, (0.25, 0.5)), levels=(1, 2, 3)),
)


def equal(one, other):
    """Of answers: arrays, tuples of them, numbers; regions have nothing to compare."""
    if isinstance(one, np.ndarray):
        return one.shape == other.shape and bool(np.array_equal(one, other, equal_nan=one.dtype.kind == "f"))
    if isinstance(one, (tuple, list)):
        return len(one) == len(other) and all(map(equal, one, other))
    return isinstance(one, kv.Region) or one == other or (one != one and other != other)


def one_call(seed, index, say=None):
    """Makes a call; the name of its kind and whether it was taken. AssertionError: what must not be."""
    m = Maker(seed, index)
    make = MAKERS[index % len(MAKERS)]
    function, arguments, options = make(m)
    if m.pick.random() < 0.35:
        at = m.pick.randrange(len(arguments) + len(options))
        if at < len(arguments):
            arguments[at] = m.pick.choice(WRONG)
        else:
            options[list(options)[at - len(arguments)]] = m.pick.choice(WRONG)
    values = [*arguments, *options.values()]
    pictures = list({id(one): one for one in values if isinstance(one, Picture)}.values())
    out = arguments[1] if make is copy_region else options.get("out")
    if say:
        say(function, arguments, options)

    def made(of, threads):
        with kv.Context(threads=threads):
            # An argument that is given twice stays one.
            same = {id(one): of(one) for one in pictures}
            return function(*[same.get(id(one), one) for one in arguments],
                            **{name: same.get(id(one), one) for name, one in options.items()})

    refusal = answer = None
    try:
        answer = made(Picture.value, 1)
    except REFUSALS as error:
        refusal = error
    for picture in pictures:
        for plane in picture.planes:
            is_written = picture is out and refusal is None
            watched = plane.beside() if is_written else slice(None)
            assert np.array_equal(plane.memory[watched], plane.before[watched]), f"{make.__name__}: bytes that are nobody's were written"
    if refusal is not None:
        assert str(refusal), f"{make.__name__}: {type(refusal).__name__} without a text"
        assert getattr(refusal, "code", 1) in ((1, 2, 3, 4, 6) if make is context else (1, 2, 3, 4)), repr(refusal)
        return make.__name__, False
    again = made(Picture.copy, 3)
    assert equal(answer, again), f"{make.__name__}: another answer of contiguous arrays, on three threads"
    return make.__name__, True


def batch(seed, first, until, where):
    """Calls of a process of its own, so that a crash has a number; the number of the next one."""
    child = os.fork()
    if child == 0:
        index = first
        try:
            while index < first + 2000 and time.monotonic() < until:
                where[:8] = index.to_bytes(8, "little")
                one_call(seed, index)
                index += 1
            where[:8] = index.to_bytes(8, "little")
            os._exit(0)
        except BaseException:
            import traceback
            traceback.print_exc()
            os._exit(1)
    status = os.waitpid(child, 0)[1]
    index = int.from_bytes(where[:8], "little")
    if status != 0:
        sys.exit(f"call {index} FAILED: fuzz/python_calls.py --seed {seed} --call {index}")
    return index


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("seconds", nargs="?", type=float, default=10)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--call", type=int)
    options = parser.parse_args()
    if options.call is not None:
        print(one_call(options.seed, options.call, print))
        return
    index, until, where = 0, time.monotonic() + options.seconds, mmap.mmap(-1, 8)
    while time.monotonic() < until:
        index = batch(options.seed, index, until, where)
    print(f"python: {index} calls")


if __name__ == "__main__":
    with contextlib.suppress(BrokenPipeError):
        main()
