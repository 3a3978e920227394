"""difference_stats beside NumPy."""

import math

import numpy as np
import pytest
from conftest import numbers

import kv_algo


@pytest.mark.parametrize("format, luma", [("uyvy", 1), ("yuy2", 0)])
def test_beside_numpy(format, luma):
    a, b = numbers((9, 14, 2)), numbers((9, 14, 2), 2)
    apart = np.abs(a[2:7, 3:12, luma].astype(int) - b[2:7, 3:12, luma])
    stats = kv_algo.difference_stats(a, b, threshold=50, format=format, region=(3, 2, 9, 5))
    assert stats == (pytest.approx(apart.mean()), apart.max(), pytest.approx(10 * math.log10(65025 / (apart**2).mean())),
                     pytest.approx((apart > 50).mean()), 45)


def test_equal_pictures():
    grey = numbers((4, 4))
    assert kv_algo.difference_stats(grey, grey, format="gray8") == (0, 0, math.inf, 0, 16)


def test_wrong_threshold():
    with pytest.raises(ValueError, match="^threshold is 256; it must be 0 to 255"):
        kv_algo.difference_stats(numbers((4, 4)), numbers((4, 4)), threshold=256, format="gray8")
