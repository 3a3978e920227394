"""The three ways to the other field parity, beside NumPy."""

import numpy as np
import pytest
from conftest import numbers

import kv_algo


def shifted(plane, order):
    return np.concatenate([plane[1:], plane[-1:]]) if order == "bottom" else np.concatenate([plane[:1], plane[:-1]])


def interpolated(plane):
    rows = plane.astype(int)
    if len(rows) == 1:
        return rows
    above, below = np.concatenate([rows[1:2], rows[:-1]]), np.concatenate([rows[1:], rows[-2:-1]])
    return (above + below + 1) >> 1


@pytest.mark.parametrize("height", [1, 2, 7, 8])
@pytest.mark.parametrize("form, shape", [("uyvy", (10, 2)), ("gray8", (9,)), ("bgr24", (9, 3)), ("rgba32", (5, 4))])
def test_lines_and_fields(form, shape, height):
    a = numbers((height, *shape))
    for order in ("top", "bottom", "progressive"):
        moved = kv_algo.change_parity(a, field_order=order, format=form)
        np.testing.assert_array_equal(moved, shifted(a, order))
        out = np.empty_like(a)[::-1]
        assert kv_algo.change_parity(a, field_order=order, method="field", format=form, out=out) is out
        np.testing.assert_array_equal(out, interpolated(a))


def test_lines_of_planes_and_words():
    planes = numbers((6, 9)), numbers((6, 5), 2), numbers((6, 5), 3)
    for got, plane in zip(kv_algo.change_parity(planes, format="i422"), planes):
        np.testing.assert_array_equal(got, shifted(plane, "top"))
    words = numbers((6, 9), dtype=np.uint16)
    np.testing.assert_array_equal(kv_algo.change_parity(words, format="rgb565"), shifted(words, "top"))


def test_kv_writes_the_same(tmp_path, kv):
    """Both programs, both field orders, every method."""
    planes = numbers((12, 16)), numbers((12, 8), 2), numbers((12, 8), 3)
    for order in ("top", "bottom"):
        kv_algo.write(tmp_path / "a.y4m", [kv_algo.VideoFrame(planes, "i422", 16, 12, field_order=order)])
        packed = kv_algo.convert(planes, "i422", "yuy2")
        for method in ("line", "field", "blend"):
            kv("parity", "a.y4m", "b.y4m", "--method", method, cwd=tmp_path)
            written, = kv_algo.read(tmp_path / "b.y4m")
            ours = kv_algo.change_parity(packed, method=method, field_order=order, format="yuy2", out=packed.copy())
            np.testing.assert_array_equal(written.to("yuy2"), ours, f"{order} {method}")


@pytest.mark.parametrize("method", ["line", "field"])
def test_whole_pictures_alone(method):
    with pytest.raises(ValueError, match=rf'^region is \(0, 0, 4, 4\); method "{method}" takes whole pictures, "blend"'):
        kv_algo.change_parity(numbers((8, 16, 2)), method=method, region=(0, 0, 4, 4))
    with pytest.raises(ValueError, match='^format is "bgr24"; it must be one of uyvy, yuy2$'):
        kv_algo.change_parity(numbers((8, 16, 3)), method="blend", format="bgr24")


def test_blend_takes_the_row_of_the_other_field():
    """Whether that is the one above depends on which field the first row belongs to."""
    a = numbers((9, 12, 2))
    made = {(order, parity): kv_algo.change_parity(a, field_order=order, row_parity=parity, method="blend")
            for order in ("top", "bottom") for parity in (0, 1)}
    np.testing.assert_array_equal(made["top", 0], made["bottom", 1])
    np.testing.assert_array_equal(made["top", 1], made["bottom", 0])
    assert (made["top", 0] != made["top", 1]).any()
