"""Slices, flipped rows and buffers of others, without a copy; and what would need one."""

import numpy as np
import pytest
from conftest import numbers

import kv_algo

SHAPES = {"uyvy": (2,), "gray8": (), "bgr24": (3,), "rgba32": (4,), "rgb565": ()}


def layouts(shape, dtype):
    """Arrays of one shape in different memory, guard values around each."""
    rows, columns, *channels = shape

    def framed(make):
        whole = np.full((2 * rows + 4, columns + 10, *channels), 77, dtype)
        return whole, make(whole)

    yield "slice", *framed(lambda whole: whole[2 : 2 + rows, 4 : 4 + columns])
    yield "flipped", *framed(lambda whole: whole[2 : 2 + rows, 4 : 4 + columns][::-1])
    yield "field", *framed(lambda whole: whole[2 : 2 + 2 * rows : 2, 4 : 4 + columns])
    yield "flipped field", *framed(lambda whole: whole[3 : 3 + 2 * rows : 2, 4 : 4 + columns][::-1])
    memory = np.full(rows * columns * 4 * np.dtype(dtype).itemsize + 99, 77, np.uint8)
    size = rows * columns * int(np.prod(channels, dtype=int)) * np.dtype(dtype).itemsize
    yield "odd address", memory, memory[3 : 3 + size].view(np.uint8)[:size].view(dtype).reshape(shape)


@pytest.mark.parametrize("src", SHAPES)
@pytest.mark.parametrize("dst", SHAPES)
def test_strides_of_both_sides(src, dst):
    shape = (17, 34)
    from_type, to_type = ((np.uint16 if name == "rgb565" else np.uint8) for name in (src, dst))
    pixels = numbers(shape + SHAPES[src], dtype=from_type) & (0xFFFF if from_type == np.uint16 else 255)
    plain = kv_algo.convert(pixels, src, dst)
    for name, _, a in layouts(shape + SHAPES[src], from_type):
        a[...] = pixels
        for other, whole, out in layouts(shape + SHAPES[dst], to_type):
            untouched = whole.copy()
            assert kv_algo.convert(a, src, dst, out=out) is out, (name, other)
            np.testing.assert_array_equal(out, plain)
            np.testing.assert_array_equal(a, pixels)
            # All else stays: put back what was written and compare.
            out[...] = 77 if to_type == np.uint8 or other != "odd address" else 0x4D4D
            np.testing.assert_array_equal(whole, untouched)


def test_odd_width():
    packed = numbers((5, 8, 2))
    odd = kv_algo.convert(packed, "uyvy", "rgb24", width=7)
    assert odd.shape == (5, 7, 3)
    np.testing.assert_array_equal(kv_algo.convert(packed, "uyvy", "gray8", width=7).shape, (5, 7))
    back = kv_algo.convert(odd, "rgb24", "uyvy")
    assert back.shape == (5, 8, 2)
    planes = kv_algo.convert(packed, "uyvy", "i422", width=7)
    assert [plane.shape for plane in planes] == [(5, 7), (5, 4), (5, 4)]


def test_samples_are_where_the_formats_say():
    planes = numbers((6, 10)), numbers((6, 5), 2), numbers((6, 5), 3)
    uyvy = kv_algo.convert(planes, "i422", "uyvy")
    np.testing.assert_array_equal(uyvy[..., 1], planes[0])
    np.testing.assert_array_equal(uyvy[:, 0::2, 0], planes[1])
    np.testing.assert_array_equal(uyvy[:, 1::2, 0], planes[2])
    np.testing.assert_array_equal(kv_algo.convert(uyvy, "uyvy", "yuy2"), uyvy[..., ::-1])
    for plane, again in zip(planes, kv_algo.convert(uyvy, "uyvy", "i422")):
        np.testing.assert_array_equal(again, plane)
    rgb = numbers((6, 10, 3))
    np.testing.assert_array_equal(kv_algo.convert(rgb, "rgb24", "bgr24"), rgb[..., ::-1])


def test_alpha_is_a_plane():
    rgba = numbers((4, 6, 4))
    packed, alpha = kv_algo.convert(rgba, "rgba32", "yuy2a")
    assert packed.shape == (4, 6, 2)
    np.testing.assert_array_equal(alpha, rgba[..., 3])
    again = kv_algo.convert((packed, alpha), "yuy2a", "rgba32")
    np.testing.assert_array_equal(again[..., 3], rgba[..., 3])


def test_matrices_beside_double_precision():
    rgb = numbers((8, 64, 3))
    for name, red, blue in (("bt601", 0.299, 0.114), ("bt709", 0.2126, 0.0722), ("bt2020", 0.2627, 0.0593)):
        luma = rgb @ np.array([red, 1 - red - blue, blue])
        for range, scaled in (("limited", 16 + luma * 219 / 255), ("full", luma)):
            uyvy = kv_algo.convert(rgb, "rgb24", "uyvy", matrix=name, range=range)
            assert np.abs(uyvy[..., 1] - scaled).max() <= 1, (name, range)


def test_colours_of_both_sides():
    uyvy = numbers((8, 64, 2)) // 2 + 64
    same = kv_algo.convert(uyvy, "uyvy", "yuy2", matrix="bt601", range="full")
    np.testing.assert_array_equal(same, uyvy[..., ::-1])
    other = kv_algo.convert(uyvy, "uyvy", "yuy2", matrix="bt601", dst_matrix="bt709", dst_range="full")
    assert not np.array_equal(other, same)


def test_buffers_of_others():
    memory = bytearray(numbers(6 * 4).tobytes())
    grey = memoryview(memory).cast("B", (4, 6))
    plain = np.frombuffer(memory, np.uint8).reshape(4, 6)
    np.testing.assert_array_equal(kv_algo.box_filter(grey, 3), kv_algo.box_filter(plain, 3))
    out = bytearray(24)
    kv_algo.box_filter(grey, 3, out=memoryview(out).cast("B", (4, 6)))
    assert bytes(out) == kv_algo.box_filter(plain, 3).tobytes()


def test_in_place_where_it_is_allowed():
    a, b, mask = numbers((8, 16, 2)), numbers((8, 16, 2), 2), numbers((8, 16), 3)
    plain = kv_algo.blend(a, b, mask)
    assert kv_algo.blend(a, b, mask, out=a) is a
    np.testing.assert_array_equal(a, plain)
    with pytest.raises(kv_algo.BadArgument, match="overlaps"):
        kv_algo.convert(b, "uyvy", "yuy2", out=b)


def test_a_blend_beside_numpy_leaves_its_arguments_and_the_ends_of_rows():
    for width in (4, 8, 9, 10, 11, 3):
        a, b = numbers((3, width + width % 2, 2)), numbers((3, width + width % 2, 2), 2)
        mask, kept = numbers((3, width), 3), a.copy()
        mixed = kv_algo.blend(a, b, mask, width=width) if width >= 4 else None
        if mixed is None:
            with pytest.raises(kv_algo.Error, match="multiples of four"):
                kv_algo.blend(a, b, mask, width=width)
            continue
        np.testing.assert_array_equal(a, kept)
        whole = width // 4 * 4
        over, under = a[:, :whole, 1].astype(int), b[:, :whole, 1].astype(int)
        weight = np.clip(mask[:, :whole] + under - over, 0, 255) // 2
        assert np.abs(mixed[:, :whole, 1] - (over * weight + under * (128 - weight)) / 128).max() <= 1
        np.testing.assert_array_equal(mixed[:, whole:], a[:, whole:])


def test_mean_beside_numpy():
    """Rows are repeated above and below, columns to the sides are not; rounded down."""
    grey = numbers((20, 30))
    for k in (1, 2, 3, 4, 5, 8, 31):
        before, after = k // 2, k - k // 2 - 1
        rows = np.pad(grey.astype(int), ((before, after), (0, 0)), mode="edge")
        columns = np.lib.stride_tricks.sliding_window_view(rows, k, axis=0).sum(-1)
        mean = [columns[:, max(0, x - before) : x + after + 1] for x in range(30)]
        expected = np.stack([one.sum(-1) // (k * one.shape[1]) for one in mean], axis=1)
        np.testing.assert_array_equal(kv_algo.box_filter(grey, k), expected, str(k))


def test_difference_and_average_beside_numpy():
    a, b = numbers((9, 12, 2)), numbers((9, 12, 2), 2)
    expected = np.abs(a[..., 1].astype(int) - b[..., 1])
    np.testing.assert_array_equal(kv_algo.difference(a, b), expected)
    part = kv_algo.difference(a, b, region=(2, 1, 5, 4))
    np.testing.assert_array_equal(part[1:5, 2:7], expected[1:5, 2:7])
    assert part.sum() == expected[1:5, 2:7].sum()


def test_regions():
    grey = numbers((6, 8))
    runs = kv_algo.Region.runs(1, [0, 3, 2], [4, 2, 7])
    out = kv_algo.box_filter(grey, 1, runs)
    expected = np.zeros_like(grey)
    expected[1, 0:5], expected[3, 2:8] = grey[1, 0:5], grey[3, 2:8]
    np.testing.assert_array_equal(out, expected)
    square = kv_algo.Region.polygon([(1, 1), (5, 1), (5, 4), (1, 4)])
    np.testing.assert_array_equal(kv_algo.box_filter(grey, 3, square),
                                  kv_algo.box_filter(grey, 3, kv_algo.Region(1, 1, 4, 3)))


def test_copy_keeps_what_it_does_not_write():
    for src, dst in (("uyvy", "bgr24"), ("bgr24", "uyvy"), ("uyvy", "gray8")):
        a = numbers((4, 7, 3)) if src == "bgr24" else numbers((4, 8, 2))
        zeros = kv_algo.copy(a, src, dst, width=7)
        ones = kv_algo.copy(a, src, dst, width=7, out=np.full_like(zeros, 1))
        same = zeros == ones
        assert set(zeros[~same].ravel()) <= {0} and set(ones[~same].ravel()) <= {1}


def test_parity_moves_by_a_row():
    a = numbers((6, 8, 2))
    moved = kv_algo.copy(a, "uyvy", "uyvy", row_parity=0, out_row_parity=1)
    np.testing.assert_array_equal(moved[1:], a[:-1])


def test_members():
    found = kv_algo.members()
    usable = [one for one in found if one.is_usable]
    assert usable and all(one.reason == "" for one in usable)
    grey = numbers((16, 32))
    plain = kv_algo.box_filter(grey, 5)
    for one in usable:
        with kv_algo.Context(member=one.name):
            np.testing.assert_array_equal(kv_algo.box_filter(grey, 5), plain)


def test_search_without_positions():
    a = numbers((40, 40, 2))
    match = kv_algo.find(a, a, (20, 20), half=4, around=(200, 20), range=3)
    assert not match.is_found and np.isnan(match.x)


def test_search_is_around_the_feature():
    a = numbers((40, 40, 2))
    for search in (kv_algo.find, kv_algo.find_subpixel):
        match = search(a, np.roll(a, (2, -3), (0, 1)), (20, 24), half=4, range=4)
        assert (match.x, match.y, match.score) == (17, 26, 0)


def test_a_map_has_a_row_for_each_row_of_positions():
    a = numbers((40, 40, 2))
    match = kv_algo.find(a, np.roll(a, (1, -3), (0, 1)), (20, 24), half=4, range=(5, 2), map=True)
    assert match.map.scores.shape == (5, 11) and (match.map.left, match.map.top) == (15, 22)
    y, x = np.argwhere(match.map.scores == 0)[0]
    assert (match.map.left + x, match.map.top + y) == (match.x, match.y) == (17, 25)


def test_polygon_pieces():
    comb = [(0, 0), (10, 0), (10, 5), (8, 5), (8, 2), (2, 2), (2, 5), (0, 5)]
    pieces = kv_algo.clip_polygon(comb, 0, 3, 10, 5)
    assert len(pieces) == 2
    assert kv_algo.clip_polygon(comb, 20, 20, 30, 30) == []
    three = [(0, 0), (9, 0), (9, 5), (7, 5), (7, 2), (6, 2), (5, 5), (4, 2), (3, 2), (3, 5), (0, 5)]
    pieces = kv_algo.clip_polygon(three, 0, 3, 9, 5)
    assert sorted(len(piece) for piece in pieces) == [3, 4, 4]
    bounds = sorted((piece[:, 0].min(), piece[:, 0].max()) for piece in pieces)
    np.testing.assert_allclose(bounds, [(0, 3), (4 + 1 / 3, 5 + 2 / 3), (7, 9)])
