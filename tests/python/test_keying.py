"""mask_levels and composite beside NumPy."""

import numpy as np
import pytest
from conftest import numbers

import kv_algo


def weighted(a, b, m):
    return (a.astype(int) * m + b.astype(int) * (255 - m.astype(int)) + 127) // 255


def test_levels_beside_numpy():
    mask = np.arange(256, dtype=np.uint8).reshape(16, 16)
    for low, high, invert in ((0, 255, False), (130, 255, True), (40, 60, False), (99, 100, True)):
        part = np.clip(mask.astype(int) - low, 0, high - low)
        part = high - low - part if invert else part
        expected = (510 * part + high - low) // (2 * (high - low))
        np.testing.assert_array_equal(kv_algo.mask_levels(mask, low=low, high=high, invert=invert), expected)
    bright = kv_algo.mask_levels(mask, gamma=2)
    np.testing.assert_array_equal(bright, np.floor(255 * np.sqrt(mask / 255) + 0.5))
    assert kv_algo.mask_levels(mask, gamma=2, out=mask) is mask
    np.testing.assert_array_equal(mask, bright)


def test_composition_of_packed_pairs():
    a, b, m = numbers((8, 22, 2)), numbers((8, 22, 2), 2), numbers((8, 22), 3)
    chroma = np.repeat((m[:, 0::2].astype(int) + m[:, 1::2] + 1) // 2, 2, axis=1)
    expected = np.stack([weighted(a[..., 0], b[..., 0], chroma), weighted(a[..., 1], b[..., 1], m)], axis=-1)
    np.testing.assert_array_equal(kv_algo.composite(a, b, m), expected)
    np.testing.assert_array_equal(
        kv_algo.composite(a[..., ::-1].copy(), b[..., ::-1].copy(), m, format="yuy2"), expected[..., ::-1])
    assert kv_algo.composite(a, b, m, out=b) is b
    np.testing.assert_array_equal(b, expected)


def test_composition_of_planes_of_odd_width():
    a = numbers((6, 9)), numbers((6, 5), 2), numbers((6, 5), 3)
    b = numbers((6, 9), 4), numbers((6, 5), 5), numbers((6, 5), 6)
    m = numbers((6, 9), 7)
    wide = np.concatenate([m, m[:, -1:]], axis=1).astype(int)
    pairs = (wide[:, 0::2] + wide[:, 1::2] + 1) // 2
    result = kv_algo.composite(a, b, m, format="i422")
    for got, one, other, weight in zip(result, a, b, (m, pairs, pairs)):
        np.testing.assert_array_equal(got, weighted(one, other, weight))


@pytest.mark.parametrize("wrong, text", [
    ({"low": 255}, "low is 255; it must be 0 to 254"), ({"low": 9, "high": 9}, "high is 9; it must be 10 to 255"),
    ({"gamma": 0}, "gamma is 0; it must be 0.1 to 10")])
def test_wrong_levels(wrong, text):
    with pytest.raises(ValueError, match=text):
        kv_algo.mask_levels(numbers((2, 4)), **wrong)


def test_wrong_composition():
    a, m = numbers((4, 8, 2)), numbers((4, 8), 2)
    with pytest.raises(ValueError, match="^mask is 8 x 2 pixels, foreground 8 x 4"):
        kv_algo.composite(a, a, m[:2])
    with pytest.raises(kv_algo.BadArgument, match="takes whole pairs"):
        kv_algo.composite(a, a, m, region=(1, 0, 4, 4))
