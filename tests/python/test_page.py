"""The page's pieces of code run, one after another, and give what the page says."""

import json
import re
import shutil

import av
import cv2
import numpy as np
import pytest
from conftest import ROOT, numbers

import kv_algo


@pytest.fixture(scope="module")
def pieces():
    """The page's code."""
    found = re.findall(r"^```python\n(.*?)^```$", (ROOT / "docs/python.md").read_text(), re.S | re.M)
    assert len(found) >= 5
    return found


@pytest.fixture(scope="module")
def page(tmp_path_factory, pieces):
    folder = tmp_path_factory.mktemp("page")
    shutil.copy(ROOT / "assets/seeding-720x576.y4m", folder / "photo.y4m")
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
    mask, changed, keyed, scene = page["mask"], page["changed"], page["keyed"], page["scene"]
    # Inside the disc there is the disc, far from it grey.
    inside, outside = page["disc"] & (np.abs(changed[..., 1].astype(int) - scene[..., 1]) > 40), ~page["disc"]
    outside[210:350, 210:350] = False
    assert inside.sum() > 8000 and mask[inside].min() > 200 and mask[outside].max() == 0
    np.testing.assert_array_equal(keyed[outside], 128)
    weight = mask.astype(int)
    expected = (changed[..., 1] * weight + 128 * (255 - weight) + 127) // 255
    np.testing.assert_array_equal(keyed[..., 1], expected)


def test_the_notebook_is_the_page(pieces, tmp_path):
    """The same code, and it runs in a kernel."""
    import nbclient
    import nbformat

    notebook = nbformat.reads((ROOT / "docs/python.ipynb").read_text(), as_version=4)
    nbformat.validate(notebook)
    code = [cell for cell in notebook.cells if cell.cell_type == "code"]
    assert [cell.source for cell in code] == [piece.rstrip("\n") for piece in pieces]
    text = "\n\n".join(f"```python\n{cell.source}\n```" if cell.cell_type == "code" else cell.source
                       for cell in notebook.cells)
    assert text + "\n" == (ROOT / "docs/python.md").read_text(), "script/notebook makes it again"
    assert all(cell.outputs == [] and cell.execution_count is None for cell in code)
    shutil.copy(ROOT / "assets/seeding-720x576.y4m", tmp_path / "photo.y4m")
    code[-1].source += "\nlen(path), keyed.shape"
    nbclient.NotebookClient(notebook, timeout=100, kernel_name="python3",
                            resources={"metadata": {"path": str(tmp_path)}}).execute()
    count, shape = json.loads(code[-1].outputs[-1].data["text/plain"].replace("(", "[").replace(")", "]"))
    assert count >= 13 and shape == [576, 720, 2]


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
