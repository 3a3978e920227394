"""Wrong arguments: type and text of every refusal, and nothing is written."""

import numpy as np
import pytest
from conftest import numbers

import kv_algo as kv

U = numbers((8, 16, 2))
V = numbers((8, 16, 2), 2)
G = numbers((8, 16))
H = numbers((8, 16), 2)
B = numbers((8, 16, 3))
P = (numbers((8, 16)), numbers((8, 8)), numbers((8, 8)))
READ_ONLY = np.zeros((8, 16), np.uint8)
READ_ONLY.flags.writeable = False
WOVEN = np.lib.stride_tricks.as_strided(np.zeros(400, np.uint8), (8, 16), (7, 1))


def box(*arguments, **named):
    return lambda: kv.box_filter(*arguments, **named)


def convert(*arguments, **named):
    return lambda: kv.convert(*arguments, **named)


def pan(*arguments, **named):
    return lambda: kv.pan(*arguments, **named)


def find(*arguments, **named):
    return lambda: kv.find(*arguments, **named)


def fine(*arguments, **named):
    return lambda: kv.find_subpixel(*arguments, **named)


CASES = [
    # What is no array.
    *[(box(wrong, 3), TypeError, rf"^a is a {kind}; it must be a NumPy array")
      for wrong, kind in (([1], "list"), ((1,), "tuple"), ("a", "str"), (b"a", "bytes"), (1, "int"), (1.5, "float"),
                          (None, "NoneType"), (object(), "object"), ({}, "dict"), (set(), "set"))],
    # dtypes.
    *[(box(G.astype(dtype), 3), TypeError, rf"^a has dtype {np.dtype(dtype)}; it must be uint8$")
      for dtype in (np.int8, np.uint16, np.int16, np.int32, np.int64, np.float32, np.float64, bool, complex)],
    *[(convert(G.astype(dtype), "rgb565", "bgr24"), TypeError, rf"^a has dtype {np.dtype(dtype)}; it must be uint16$")
      for dtype in (np.uint8, np.int16, np.uint32, np.float32)],
    (box(G.astype(">u2"), 3), TypeError, "^a has dtype >u2; it must be uint8$"),
    (convert(G.astype(">u2"), "rgb565", "bgr24"), TypeError, "^a has dtype >u2; it must be uint16$"),
    # Shapes.
    *[(box(np.zeros(shape, np.uint8), 3), ValueError, r"^a has shape \(.*\); gray8 takes \(height, width\), none of them 0")
      for shape in ((), (8,), (8, 8, 1), (8, 8, 3), (2, 2, 2, 2), (0, 8), (8, 0))],
    *[(convert(np.zeros(shape, np.uint8), "bgr24", "uyvy"), ValueError,
       r"^a has shape \(.*\); bgr24 takes \(height, width, 3\)")
      for shape in ((8,), (8, 8), (8, 8, 4), (8, 8, 2), (3, 8, 8), (8, 0, 3), (1, 8, 8, 3))],
    *[(convert(np.zeros(shape, np.uint8), "rgba32", "uyvy"), ValueError,
       r"^a has shape \(.*\); rgba32 takes \(height, width, 4\)")
      for shape in ((8, 8, 3), (8, 8), (4, 8, 8))],
    *[(convert(np.zeros(shape, np.uint8), "uyvy", "bgr24"), ValueError,
       r"^a has shape \(.*\); uyvy takes \(height, width \+ width % 2, 2\)")
      for shape in ((8, 8), (8, 8, 3), (8, 32), (2, 8, 8), (0, 8, 2))],
    *[(convert(np.zeros((8, odd, 2), np.uint8), "yuy2", "bgr24"), ValueError,
       rf"^a has shape \(8, {odd}, 2\); a row of yuy2 holds whole pairs .* \(width={odd} tells an odd one\)$")
      for odd in (1, 3, 7)],
    # Widths.
    *[(convert(U, "uyvy", "bgr24", width=wrong), ValueError,
       rf"^width is {wrong}; a has shape \(8, 16, 2\), its width is 15 or 16$") for wrong in (1, 14, 17, 18, 32)],
    *[(convert(U, "uyvy", "bgr24", width=wrong), ValueError, rf"^width is {wrong}; it must be 1 to 1048576$")
      for wrong in (0, -1, -16, 1 << 20 | 1, 1 << 40)],
    *[(convert(U, "uyvy", "bgr24", width=wrong), TypeError, "^width is a .*; it must be an int")
      for wrong in ("16", 16.0, [16], True)],
    (convert(B, "bgr24", "uyvy", width=15), ValueError, "^width is 15; the array has 16 columns$"),
    # Strides.
    *[(box(a, 3), ValueError, r"^a has strides \(.*\); the pixels of a row must be contiguous .*ascontiguousarray")
      for a in (numbers((8, 32))[:, ::2], G[:, ::-1], numbers((16, 8)).T, np.asfortranarray(G), B[..., 0])],
    *[(convert(a, "uyvy", "bgr24"), ValueError, r"^a has strides \(.*\); the pixels of a row must be contiguous")
      for a in (U[:, ::-1], U[..., ::-1], numbers((8, 32, 2))[:, ::2], numbers((8, 16, 3))[..., :2],
                numbers((2, 8, 16)).transpose(1, 2, 0))],
    (box(WOVEN, 3), ValueError, r"^a has strides \(7, 1\); its rows overlap, each takes 16 bytes"),
    (box(np.broadcast_to(G[0], (8, 16)), 3), ValueError, r"^a has strides \(0, 1\); its rows overlap"),
    # Words.
    *[(convert(U, wrong, "bgr24"), ValueError, rf'^src is "{wrong}"; it must be one of uyvy, yuy2,')
      for wrong in ("", "UYVY", "uyvy ", "nv12", "yuv422p", "rgb", "x" * 40)],
    *[(convert(U, "uyvy", wrong), ValueError, rf'^dst is "{wrong}"; it must be one of uyvy, yuy2,')
      for wrong in ("", "BGR24", "gray", "grey")],
    *[(convert(U, wrong, "bgr24"), TypeError, "^src is a .*; it must be a str") for wrong in (1, None, b"uyvy", 2.0)],
    *[(convert(U, "uyvy", "bgr24", **{name: wrong}), ValueError, rf'^{name} is "{wrong}"; it must be one of {right}')
      for name, wrong, right in (("matrix", "601", "bt601, bt709, bt2020"), ("matrix", "", "bt601"),
                                 ("range", "studio", "limited, full"), ("range", "Full", "limited"),
                                 ("chroma", "center", "left, centre"), ("chroma", "top", "left"),
                                 ("resample", "cubic", "linear, nearest"), ("dst_matrix", "709", "bt601"),
                                 ("dst_range", "x", "limited"), ("dst_chroma", "x", "left"))],
    *[(convert(U, "uyvy", "bgr24", **{name: 1}), TypeError, rf"^{name} is a int; it must be a str")
      for name in ("matrix", "range", "chroma", "resample", "dst_matrix", "dst_range", "dst_chroma")],
    (lambda: kv.difference(B, B, format="bgr24"), ValueError, '^format is "bgr24"; it must be one of uyvy, yuy2$'),
    (lambda: kv.copy(B, "rgb24", "uyvy"), ValueError, '^src is "rgb24"; it must be one of uyvy'),
    (lambda: kv.copy(P, "i422", "uyvy"), ValueError, '^src is "i422"; it must be one of'),
    (lambda: kv.change_parity(U, field_order="even"), ValueError, '^field_order is "even"'),
    (lambda: kv.change_parity(U, method="bob"), ValueError, '^method is "bob"; it must be one of line, field, blend'),
    (pan(U, (8, 8), direction="north"), ValueError, '^direction is "north"; it must be one of right, left'),
    (find(G, G, (5, 5), format="gray8"), ValueError, '^format is "gray8"'),
    # Planes.
    (convert(U, "i422", "uyvy"), TypeError, "^a is a ndarray; i422 takes a tuple of 3 arrays, luma, Cb and Cr$"),
    (convert(U, "uyvya", "bgra32"), TypeError, "^a is a ndarray; uyvya takes a tuple of 2 arrays, packed and alpha$"),
    (convert(P[:2], "i422", "uyvy"), ValueError, "^a has 2 planes; i422 takes 3"),
    (convert((U,), "yuy2a", "uyvy"), ValueError, "^a has 1 planes; yuy2a takes 2"),
    (convert((P[0], P[1], P[0]), "i422", "uyvy"), ValueError,
     r"^a\[2\] has shape \(8, 16\); for 16 x 8 pixels of i422 it must be \(8, 8\)$"),
    (convert((P[0], P[1], None), "i422", "uyvy"), TypeError, r"^a\[2\] is a NoneType"),
    (convert((P[0], P[1].astype(float), P[2]), "i422", "uyvy"), TypeError, r"^a\[1\] has dtype float64"),
    (convert((P[0], numbers((8, 16))[:, ::2], P[2]), "i422", "uyvy"), ValueError, r"^a\[1\] has strides \(16, 2\)"),
    (convert((U, G[:4]), "uyvya", "bgra32"), ValueError, r"^a\[0\] has 8 rows, a\[1\] 4; they must be equal$"),
    (convert((U, G[:, :8]), "uyvya", "bgra32"), ValueError, r"^width is 8; a\[0\] has shape"),
    # Destinations.
    (box(G, 3, out=READ_ONLY), ValueError, "^out is read-only; it must be writable$"),
    (box(G, 3, out=np.zeros((8, 15), np.uint8)), ValueError, "^out is 15 x 8 pixels, a 16 x 8; they must be equal$"),
    (box(G, 3, out=np.zeros((9, 16), np.uint8)), ValueError, "^out is 16 x 9 pixels"),
    (box(G, 3, out=np.zeros((8, 16), np.float32)), TypeError, "^out has dtype float32; it must be uint8$"),
    (box(G, 3, out=[1]), TypeError, "^out is a list"),
    (convert(U, "uyvy", "bgr24", out=np.zeros((8, 16, 4), np.uint8)), ValueError, "^out has shape"),
    (convert(B, "bgr24", "uyvy", out=np.zeros((8, 18, 2), np.uint8)), ValueError,
     r"^out has shape \(8, 18, 2\); for 16 x 8 pixels of uyvy it must be \(8, 16, 2\)$"),
    (convert(U, "uyvy", "i422", out=U.copy()), TypeError, "^out is a ndarray; i422 takes a tuple"),
    (box(G, 3, out=G), kv.BadArgument, "overlaps"),
    (convert(U, "uyvy", "yuy2", out=U), kv.BadArgument, "overlaps"),
    # Sizes of several.
    (lambda: kv.difference(U, V[:4]), ValueError, "^b is 16 x 4 pixels, a 16 x 8; they must be equal$"),
    (lambda: kv.average(G, H[:, :8]), ValueError, "^b is 8 x 8 pixels, a 16 x 8"),
    (lambda: kv.blend(U, V[:4], G), ValueError, "^background is 16 x 4 pixels, foreground 16 x 8"),
    (lambda: kv.blend(U, V, G[:4]), ValueError, "^mask is 16 x 4 pixels, foreground 16 x 8"),
    (lambda: kv.alpha_from_color(U, V[:, :8], 3), ValueError, "^b is 8 x 8"),
    (lambda: kv.alpha_from_difference(G, H[:2], 3), ValueError, "^b is 16 x 2"),
    # Windows and numbers.
    *[(box(G, wrong), ValueError, rf"^k is {wrong}; it must be 1 to 255$") for wrong in (0, -1, 256, 1 << 70)],
    *[(box(G, wrong), TypeError, "^k is a .*; it must be an int, 1 to 255$") for wrong in (3.0, "3", None, True, [3])],
    (lambda: kv.alpha_from_color(U, V, 0), ValueError, "^k is 0"),
    (lambda: kv.alpha_from_difference(G, H, 1, gain=-1), ValueError, "^gain is -1; it must be 0 to 65536$"),
    (lambda: kv.alpha_from_difference(G, H, 1, gain=65537), ValueError, "^gain is 65537"),
    (lambda: kv.alpha_from_difference(G, H, 1, gain=1.5), TypeError, "^gain is a float"),
    (lambda: kv.copy(U, "uyvy", "yuy2", row_parity=2), ValueError, "^row_parity is 2; it must be 0 to 1$"),
    (lambda: kv.copy(U, "uyvy", "yuy2", out_row_parity=-1), ValueError, "^out_row_parity is -1"),
    # Regions.
    *[(box(G, 3, wrong), ValueError, r"^region is \(.*\); left, top, width, height must be inside out, which is 16 x 8$")
      for wrong in ((-1, 0, 4, 4), (0, -1, 4, 4), (0, 0, 17, 8), (0, 0, 16, 9), (15, 0, 2, 2), (0, 0, 0, 4), (0, 0, 4, 0),
                    (0, 0, -4, 4), (1 << 30, 0, 1, 1))],
    *[(box(G, 3, wrong), ValueError, rf"^region has {len(wrong)} numbers; it must have 4") for wrong in ((), (1,), (1,) * 5)],
    *[(box(G, 3, wrong), TypeError, "^region is a .*; it must be a Region") for wrong in (1, "0,0,1,1", {}, 1.5)],
    (box(G, 3, (0, 0, 1.5, 1)), TypeError, r"^region\[2\] is a float"),
    (box(G, 3, kv.Region(0, 0, 17, 1)), kv.BadArgument, "reach outside"),
    (lambda: kv.Region(0, 0, 0, 1), kv.BadArgument, "width"),
    (lambda: kv.Region(0.0, 0, 1, 1), TypeError, "^left is a float"),
    (lambda: kv.Region.runs(0, [0, 1], [1]), ValueError, "^firsts has 2 rows, lasts 1; they must be equal$"),
    (lambda: kv.Region.runs(0, [0.5], [1]), TypeError, "^firsts has dtype float64; it must be integers$"),
    (lambda: kv.Region.runs(0, [], []), TypeError, "^firsts has dtype float64"),
    (lambda: kv.Region.runs(0, [[0]], [[1]]), ValueError, r"^firsts has shape \(1, 1\)"),
    (lambda: kv.Region.runs(0, [0], [1 << 40]), ValueError, "^lasts reaches from 1099511627776"),
    (lambda: kv.Region.polygon([(0, 0), (1, 1)]), ValueError, r"^points has shape \(2, 2\); it must be \(n, 2\)"),
    (lambda: kv.Region.polygon([(0, 0, 0)] * 3), ValueError, r"^points has shape \(3, 3\)"),
    (lambda: kv.Region.polygon([("a", "b")] * 3), TypeError, "^points has dtype"),
    (lambda: kv.Region.polygon([(0, 0), (1, float("nan")), (1, 1)]), ValueError, "^points has a coordinate"),
    (lambda: kv.Region.polygon([(0, 0), (0.1, 0), (0, 0.1)]), kv.BadArgument, "no centre of a pixel"),
    (lambda: kv.blend(U, V, G, region=(0, 0, 6, 4)), kv.Error, "multiples of four"),
    (lambda: kv.copy_region(U, V.copy(), (0, 0, 4, 4), (0, 0, 4, 5)), kv.SizeMismatch, "must be equal"),
    (lambda: kv.change_parity(U, method="blend", region=kv.Region.polygon([(0, 0), (8, 0), (0, 8)])), kv.Error, "rectangle"),
    # Pans.
    (pan(U), TypeError, r"^size is None; without out it must be \(width, height\)$"),
    (pan(U, 8), TypeError, r"^size is 8; it must be \(width, height\)$"),
    (pan(U, (8, 8, 8)), TypeError, r"^size is \(8, 8, 8\)"),
    (pan(U, (0, 8)), ValueError, r"^size\[0\] is 0"),
    (pan(U, (8, 9)), ValueError, "^out is 8 x 9 pixels; the viewport must fit in a, which is 16 x 8$"),
    (pan(U, (8, 8), steps=0), ValueError, "^steps is 0"),
    (pan(U, (8, 8), steps=3, step=3), ValueError, "^step is 3; it must be 0 to 2$"),
    (pan(U, (8, 8), half_line=1), TypeError, "^half_line is a int; it must be True or False$"),
    (pan(U, (8, 4), out=np.zeros((4, 6, 2), np.uint8)), ValueError, r"^size is \(8, 4\); out is 6 x 4$"),
    # Searches.
    (find(U, U, 5), TypeError, r"^at is 5; it must be \(x, y\)$"),
    (find(U, U, (5, 5, 5)), TypeError, r"^at is \(5, 5, 5\)"),
    (find(U, U, (16, 5)), ValueError, r"^at\[0\] is 16; it must be 0 to 15$"),
    (find(U, U, (5, -1)), ValueError, r"^at\[1\] is -1"),
    (find(U, U, ("a", 5)), TypeError, r"^at\[0\] is a str"),
    (find(U, U, (5.5, 5)), ValueError, "^at has 5.5; find takes whole numbers, find_subpixel others$"),
    (find(U, U, (5, 5), range=1.5), ValueError, "^range has 1.5"),
    (find(U, U, (5, 5), range=-1), ValueError, "^range is -1"),
    (find(U, U, (5, 5), half=(1, 2, 3)), ValueError, "^half has 3 values; it must have 2$"),
    (find(U, U, (5, 5), half=-1), ValueError, "^half is -1"),
    (find(U, U, (5, 5), half=1.5), TypeError, "^half is a float"),
    (find(U, U, (5, 5), map=1), TypeError, "^map is a int"),
    (find(U, U, (5, 5), around=(float("inf"), 0)), ValueError, r"^around\[0\] is inf"),
    (find(U, U[:4], (5, 3), half=2), kv.SizeMismatch, "must be at least"),
    (fine(U, U, (5, 5), half=1, range=1, step=0), ValueError, "^step is 0"),
    (fine(U, U, (5, 5), half=1, range=1, step=1.5), ValueError, "^step is 1.5"),
    (fine(U, U, (5, 5), half=1, range=1, step="1"), TypeError, "^step is '1'"),
    (fine(U, U, (5, 5), half=1, range=1, levels=17), ValueError, "^levels is 17; it must be 1 to 16$"),
    (fine(U, U, (5, 5), half=1, range=1, levels=0), ValueError, "^levels is 0"),
    # Clipping and contexts.
    (lambda: kv.clip_polygon([(0, 0)], 0, 0, 1, 1), ValueError, "^points has shape"),
    (lambda: kv.clip_polygon([(0, 0), (1, 0), (1, 1)], 2, 0, 1, 1), ValueError, "^right is 1; it must be 2 to"),
    (lambda: kv.clip_polygon([(0, 0), (1, 0), (1, 1)], 0, float("nan"), 1, 1), ValueError, "^top is nan"),
    (lambda: kv.clip_polygon([(0, 0), (1, 0), (1, 1)], 0, 1 << 2000, 1, 1), ValueError, "^top is out of range; it must be "),
    (lambda: kv.mask_levels(G, gamma=1 << 2000), ValueError, "^gamma is out of range"),
    (lambda: kv.Context(threads=257), ValueError, "^threads is 257; it must be 0 to 256$"),
    (lambda: kv.Context(threads=-1), ValueError, "^threads is -1"),
    (lambda: kv.Context(threads="2"), TypeError, "^threads is a str"),
    (lambda: kv.Context(member=1), TypeError, "^member is a int; it must be a str or None$"),
    (lambda: kv.Context(member="kv_algoNone"), kv.NoMember, '"kv_algoNone"; there is no usable member of this name'),
    (lambda: kv.set_threads(1000), ValueError, "^threads is 1000"),
]


def test_there_are_enough():
    assert len(CASES) >= 150


@pytest.mark.parametrize("case", CASES, ids=range(len(CASES)))
def test_refusal(case):
    call, kind, text = case
    before = [array.copy() for array in (U, V, G, H, B)]
    with pytest.raises(kind, match=text) as raised:
        call()
    if kind in (TypeError, ValueError):
        assert type(raised.value) is kind
    for array, copy in zip((U, V, G, H, B), before):
        np.testing.assert_array_equal(array, copy)


def test_exceptions_are_caught_by_the_names_of_python():
    for one, kind, code in ((kv.BadArgument, ValueError, 1), (kv.Unsupported, ValueError, 2), (kv.SizeMismatch, ValueError, 3),
                            (kv.OutOfMemory, MemoryError, 4), (kv.Stopped, kv.Error, 5), (kv.NoMember, kv.Error, 6)):
        assert issubclass(one, kind) and issubclass(one, kv.Error) and one("text").code == code
    assert not issubclass(kv.Stopped, (ValueError, MemoryError)) and not issubclass(kv.NoMember, ValueError)
