"""Video in and out, beside the program kv."""

import io
import os
from pathlib import Path

import numpy as np
import pytest
from conftest import ROOT, numbers

import kv_algo

PHOTO = ROOT / "assets/seeding-720x576.y4m"


def frames(count=3, width=6, height=4, **more):
    return [kv_algo.VideoFrame(kv_algo.convert(numbers((height, width + width % 2, 2), i), "uyvy", "i422", width=width),
                               "i422", width, height, i, **more) for i in range(count)]


@pytest.mark.parametrize("more", [{}, {"field_order": "top", "range": "full", "chroma": "centre"},
                                  {"field_order": "bottom", "range": "limited", "chroma": "left", "rate": (30000, 1001),
                                   "aspect": (16, 15)}])
@pytest.mark.parametrize("width", [6, 7])
def test_there_and_back(tmp_path, more, width):
    written = frames(width=width, **more)
    assert kv_algo.write(tmp_path / "a.y4m", written) == 3
    again = list(kv_algo.read(tmp_path / "a.y4m"))
    assert len(again) == 3
    for one, other in zip(written, again):
        for a, b in zip(one.planes, other.planes):
            np.testing.assert_array_equal(a, b)
        for name in ("width", "height", "index", "field_order", "range", "chroma", "rate", "aspect"):
            assert getattr(one, name) == getattr(other, name)


@pytest.mark.parametrize("width", [6, 7])
@pytest.mark.parametrize("format", ["uyvy", "yuy2"])
def test_raw_is_what_kv_reads(tmp_path, kv, width, format):
    kv_algo.write(tmp_path / "a.y4m", frames(width=width))
    assert kv_algo.write(tmp_path / f"a.{format}", frames(width=width)) == 3
    kv("convert", f"a.{format}", "b.y4m", "--size", f"{width}x4", cwd=tmp_path)
    for one, other, raw in zip(kv_algo.read(tmp_path / "a.y4m"), kv_algo.read(tmp_path / "b.y4m"),
                               kv_algo.read(tmp_path / f"a.{format}", size=(width, 4))):
        for a, b, c in zip(one.planes, other.planes, raw.to("i422")):
            np.testing.assert_array_equal(a, b)
            np.testing.assert_array_equal(a, c)


def test_photograph(tmp_path, kv):
    frame, = kv_algo.read(PHOTO)
    assert (frame.width, frame.height, frame.range, frame.chroma) == (720, 576, "limited", None)
    kv("convert", PHOTO, "a.ppm", cwd=tmp_path)
    assert frame.to("rgb24").tobytes() == (tmp_path / "a.ppm").read_bytes()[-720 * 576 * 3 :]
    assert kv_algo.write(tmp_path / "b.y4m", [frame]) == 1
    assert (tmp_path / "b.y4m").read_bytes()[-720 * 576 * 2 :] == PHOTO.read_bytes()[-720 * 576 * 2 :]


def test_other_files_come_through_kv(tmp_path, kv):
    kv("convert", PHOTO, "a.png", cwd=tmp_path)
    kv("convert", "a.png", "b.y4m", cwd=tmp_path)
    program = str(Path(os.environ["KV_ALGO_LIBRARY"]).parent / "kv")
    (one,), (other,) = kv_algo.read(tmp_path / "a.png", program=program), kv_algo.read(tmp_path / "b.y4m")
    for a, b in zip(one.planes, other.planes):
        np.testing.assert_array_equal(a, b)
    (tmp_path / "c.png").write_bytes(b"no picture")
    with pytest.raises(ValueError, match="c.png"):
        list(kv_algo.read(tmp_path / "c.png", program=program))
    with pytest.raises(FileNotFoundError, match="the program kv-of-nobody, which is not there"):
        kv_algo.read(tmp_path / "a.png", program="kv-of-nobody")


def test_one_frame_of_many_ends_the_program(tmp_path, kv):
    kv_algo.write(tmp_path / "a.y4m", frames(40, 320, 240))
    os.rename(tmp_path / "a.y4m", tmp_path / "a.video")
    program = str(Path(os.environ["KV_ALGO_LIBRARY"]).parent / "kv")
    video = kv_algo.read(tmp_path / "a.video", program=program)
    assert next(video).index == 0
    video.close()


class Pipe(io.BytesIO):
    """Bytes that can be read only once."""

    def seekable(self):
        return False

    def seek(self, *_):
        raise OSError("no seek")


@pytest.mark.parametrize("open_as", [io.BytesIO, Pipe])
@pytest.mark.parametrize("raw", [False, True])
def test_part_of_a_clip(tmp_path, open_as, raw):
    name = "a.uyvy" if raw else "a.y4m"
    kv_algo.write(tmp_path / name, frames(7))
    data = (tmp_path / name).read_bytes()
    more = {"format": "uyvy", "size": (6, 4)} if raw else {}
    whole = list(kv_algo.read(open_as(data), **more))
    assert len(whole) == 7
    for first, count in ((0, None), (3, None), (6, 1), (2, 3), (5, 9), (7, 1), (99, None), (3, 0)):
        part = list(kv_algo.read(open_as(data), first=first, count=count, **more))
        expected = whole[first:None if count is None else first + count]
        assert [one.index for one in part] == [one.index for one in expected]
        for one, other in zip(part, expected):
            np.testing.assert_array_equal(one.to("uyvy"), other.to("uyvy"))
    # What is after the part may be broken, what is before may not.
    assert len(list(kv_algo.read(open_as(data[:-1]), first=2, count=4, **more))) == 4
    with pytest.raises(ValueError, match="ends inside frame 6"):
        list(kv_algo.read(open_as(data[:-1]), first=6, **more))


@pytest.mark.parametrize("wrong, kind, text", [
    ({"first": -1}, ValueError, "^first is -1"), ({"count": -1}, ValueError, "^count is -1"),
    ({"first": 1.0}, TypeError, "^first is a float"), ({"count": "1"}, TypeError, "^count is a str")])
def test_wrong_parts(wrong, kind, text):
    with pytest.raises(kind, match=text):
        kv_algo.read(PHOTO, **wrong)


HEAD = b"YUV4MPEG2 W2 H1 F25:1 C422\n"
BAD = [
    (b"", "is not a Y4M file"),
    (b"RIFF", "is not a Y4M file"),
    (HEAD[:-1], "is not a Y4M file"),
    (b"YUV4MPEG2 H1 C422\n", "has no W from 1"),
    (b"YUV4MPEG2 W0 H1 C422\n", "has no W from 1"),
    (b"YUV4MPEG2 W2 H-1 C422\n", "has no H from 1"),
    (b"YUV4MPEG2 W2 H1\n", r"is 420, not 4:2:2 with 8 bits"),
    (b"YUV4MPEG2 W2 H1 C444\n", r"is 444, not 4:2:2"),
    (b"YUV4MPEG2 W2 H1 C422 F25\n", "F25 is not a ratio"),
    (HEAD + b"FRAM\n1234", "frame 0 does not begin with a line FRAME"),
    (HEAD + b"FRAME\n123", "ends inside frame 0: 3 bytes of 4"),
    (HEAD + b"FRAME\n1234FRAME\n", "ends inside frame 1: 0 bytes of 4"),
]


@pytest.mark.parametrize("data,text", BAD)
def test_broken_files(data, text):
    with pytest.raises(ValueError, match="^source.*" + text):
        list(kv_algo.read(io.BytesIO(data)))


def test_wrong_frames(tmp_path):
    with pytest.raises(TypeError, match=r"^frames\[0\] is a ndarray; it must be a VideoFrame$"):
        kv_algo.write(io.BytesIO(), [numbers((2, 2, 2))])
    with pytest.raises(ValueError, match=r"^frames\[1\] is 8 x 4, the first 6 x 4; they must be equal$"):
        kv_algo.write(io.BytesIO(), frames(1) + frames(1, 8))
    with pytest.raises(TypeError, match="^size is None; raw frames need"):
        kv_algo.write(tmp_path / "a.uyvy", frames(1))
        kv_algo.read(tmp_path / "a.uyvy")
    with pytest.raises(TypeError, match="^source is a int"):
        kv_algo.read(1)
    with pytest.raises(ValueError, match="ends inside frame 1"):
        list(kv_algo.read(io.BytesIO(bytes(40)), format="uyvy", size=(4, 4)))
