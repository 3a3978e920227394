"""The page's pieces of code run, one after another, and give what the page says."""

import re
import shutil

import av
import cv2
import numpy as np
import pytest
from conftest import ROOT, numbers

import kv_algo


@pytest.fixture(scope="module")
def page(tmp_path_factory):
    folder = tmp_path_factory.mktemp("page")
    shutil.copy(ROOT / "assets/seeding-720x576.y4m", folder / "photo.y4m")
    pieces = re.findall(r"^```python\n(.*?)^```$", (ROOT / "docs/python.md").read_text(), re.S | re.M)
    assert len(pieces) >= 5
    names = {}
    with pytest.MonkeyPatch.context() as patch:
        patch.chdir(folder)
        for piece in pieces:
            exec(compile(piece, "docs/python.md", "exec"), names)
    names["folder"] = folder
    return names


def test_the_disc_is_tracked(page):
    path = page["path"]
    assert len(path) >= 13
    for i, (x, y) in enumerate(path):
        assert abs(x - (280 - 15 * i)) <= 1 and abs(y - 136) <= 1
    again = list(kv_algo.read(page["folder"] / "pan.y4m"))
    assert len(again) == 25
    np.testing.assert_array_equal(again[3].to("uyvy"), page["frames"][3])


def test_the_key(page):
    key, changed, keyed = page["key"], page["changed"], page["keyed"]
    assert key[280, 280] > 20 and key[100, 100] == 0
    for y, x, mask in ((280, 280, 255), (100, 100, 0)):
        luma = int(changed[y, x, 1])
        weight = min(max(mask + 128 - luma, 0), 255) // 2
        assert keyed[y, x, 1] == 128 + ((luma - 128) * weight >> 7)


def test_every_function_is_on_the_page():
    text = (ROOT / "docs/python.md").read_text()
    for name in kv_algo.__all__:
        if name[0].islower() and name not in ("library_path",):
            assert f"`{name}`" in text or f"kv_algo.{name}" in text, name


def test_pyav(page):
    for width in (64, 50):
        frame = av.VideoFrame(width, 36, "yuv422p")
        planes = page["planes_of"](frame)
        for i, plane in enumerate(planes):
            assert plane.shape == (36, width if i == 0 else width // 2)
        pixels = numbers((36, width, 3))
        kv_algo.convert(pixels, "bgr24", "i422", out=planes)
        np.testing.assert_array_equal(kv_algo.convert(planes, "i422", "bgr24"),
                                      kv_algo.convert(kv_algo.convert(pixels, "bgr24", "i422"), "i422", "bgr24"))
        # The frame itself was written, not a copy.
        assert np.frombuffer(frame.planes[0], np.uint8)[0] == planes[0][0, 0] == \
            kv_algo.convert(pixels, "bgr24", "i422")[0][0, 0]


def test_opencv():
    uyvy = numbers((36, 64, 2)) // 2 + 64
    uyvy[..., 0] = 128
    ours, theirs = kv_algo.convert(uyvy, "uyvy", "bgr24"), cv2.cvtColor(uyvy, cv2.COLOR_YUV2BGR_UYVY)
    assert np.abs(ours.astype(int) - theirs).max() <= 2
    bgr = cv2.resize(ours, (32, 18))
    cv2.rectangle(ours, (2, 2), (9, 9), (0, 0, 255))
    assert kv_algo.convert(bgr, "bgr24", "uyvy").shape == (18, 32, 2)
    part = cv2.blur(ours, (3, 3))[4:20, 8:24]
    assert kv_algo.convert(part, "bgr24", "gray8").shape == (16, 16)
