"""Points through a clip: the numbers of kv track."""

import gc
import subprocess
import weakref

import numpy as np
import pytest
from conftest import numbers

import kv_algo


def moving(count, dx, dy, interlace="p"):
    """A pattern that moves between pixels; each field at its own time."""
    y, x = np.mgrid[:96.0, :128.0]
    frames = []
    for i in range(count):
        later = {"p": 0 * y, "t": y % 2, "b": 1 - y % 2}[interlace]
        u, v = x - dx * (i + later / 2), y - dy * (i + later / 2)
        luma = 128 + 45 * np.sin(u / 5.3) * np.cos(v / 6.1) + 35 * np.sin((u + 1.7 * v) / 9.7) + 20 * np.cos(
            (2.3 * u - v) / 13.9)
        frames.append(np.stack((np.full(luma.shape, 128), np.rint(luma)), -1).astype(np.uint8))
    return frames


def videos(frames, order):
    return [kv_algo.VideoFrame(frame, "uyvy", frame.shape[1], frame.shape[0], i, order)
            for i, frame in enumerate(frames)]


CASES = [
    ("p", (), {}),
    ("p", ("--half", "9x5", "--range", "7x8"), {"half": (9, 5), "range": (7, 8)}),
    ("p", ("--levels", "0"), {"levels": 0}),
    ("p", ("--levels", "6"), {"levels": 6}),
    ("p", ("--update", "always"), {"update": "always"}),
    ("p", ("--update", "2"), {"update": 2}),
    ("p", ("--update", "on-score", "0.4"), {"update": ("on-score", 0.4)}),
    ("p", ("--max-score", "0.1"), {"max_score": 0.1}),
    ("t", (), {}),
    ("b", ("--update", "always"), {"update": "always"}),
]


@pytest.mark.parametrize("interlace,options,named", CASES, ids=range(len(CASES)))
@pytest.mark.parametrize("points", [((60, 40),), ((60, 40), (30, 66), (2, 3))])
@pytest.mark.parametrize("threads", [1, 3])
def test_the_table(interlace, options, named, points, threads, tmp_path, program):
    order = {"p": "progressive", "t": "top", "b": "bottom"}[interlace]
    frames = moving(5, 2.3, -1.4, interlace)
    kv_algo.write(tmp_path / "clip.y4m", videos(frames, order))
    places = [word for x, y in points for word in ("--at", f"{x},{y}")]
    table = subprocess.run([program, "track", "clip.y4m", *places, *options], cwd=tmp_path, stdout=subprocess.PIPE,
                           text=True).stdout.splitlines()[1:]
    wanted = [line.rsplit(",", 1)[0] for line in table]
    with kv_algo.Context(threads=threads):
        for clip in (frames, videos(frames, order), kv_algo.read(tmp_path / "clip.y4m")):
            mine = []
            for number, found in enumerate(kv_algo.track(clip, points, field_order=order, **named)):
                for index, point in enumerate(found):
                    score = "lost" if point.is_lost else f"{point.score:.3f}"
                    mine.append(("" if len(points) == 1 else f"{index},") + f"{number},{point.x:.3f},{point.y:.3f},{score}")
            assert mine == wanted and len(mine) == 5 * len(points)


def test_some_points_were_lost_in_the_table():
    lost = [point.is_lost for point, in kv_algo.track(moving(5, 2.3, -1.4), (60, 40), max_score=0.1)]
    assert True in lost and False in lost


def test_bitmaps_are_compared_by_green():
    luma = [frame[..., 1] for frame in moving(4, 1.5, 0.5)]
    plain = list(kv_algo.track([np.stack((np.zeros_like(a), a), -1) for a in luma], (60, 40), levels=0))
    for format, channels in (("bgr24", 3), ("bgra32", 4), ("bgrx32", 4)):
        pixels = [numbers((96, 128, channels), i) for i in range(4)]
        for one, green in zip(pixels, luma):
            one[..., 1] = green
        assert list(kv_algo.track(pixels, (60, 40), levels=0, format=format)) == plain


def test_frames_are_taken_one_by_one_and_their_memory_may_be_used_again():
    clip, buffer, taken = moving(4, 2, 1), np.empty((96, 128, 2), np.uint8), []

    def same():
        for i, frame in enumerate(clip):
            taken.append(i)
            buffer[:] = frame
            yield buffer

    walk = kv_algo.track(same(), (60, 40))
    assert taken == []
    next(walk)
    assert taken == [0]
    assert [tuple(point for point in found) for found in walk] == list(kv_algo.track(clip, (60, 40)))[1:]


def test_an_odd_width_and_parts_of_a_pixel():
    clip = [frame[:, :128] for frame in moving(3, 1, 1)]
    found = list(kv_algo.track(clip, np.array([[60.25, 40.5]]), width=127))
    assert found[0] == ((60.25, 40.5, 0.0, False),)
    assert abs(found[2][0].x - 62.25) < 0.2 and abs(found[2][0].y - 42.5) < 0.2
    with pytest.raises(ValueError, match=r"^at\[0\] is \(127, 3\); frames\[0\] is 127 x 96 pixels$"):
        next(kv_algo.track(clip, (127, 3), width=127))


def test_no_frames_no_points():
    assert list(kv_algo.track([], (3, 3))) == []


def test_what_was_begun_and_left_is_freed():
    clip = moving(2, 1, 1)
    walk = kv_algo.track(clip, (60, 40))
    next(walk)
    seen = weakref.ref(walk)
    del walk
    gc.collect()
    assert seen() is None


U = numbers((40, 40, 2))
WRONG = [
    (lambda: kv_algo.track(5, (1, 1)), TypeError, "^frames is a int; it must be an iterable of frames$"),
    (lambda: kv_algo.track("clip.y4m", (1, 1)), TypeError, "^frames is a str"),
    *[(lambda at=at: kv_algo.track([U], at), TypeError, r"^at is .*; it must be \(x, y\) or a sequence of them$")
      for at in (None, 5, "ab", [], (1,), (1, 2, 3), [(1, 2), 3], [(1, 2, 3)])],
    (lambda: kv_algo.track([U], (-1, 2)), ValueError, r"^at\[0\] is -1; it must be 0 to"),
    (lambda: kv_algo.track([U], [(1, 2), ("a", 2)]), TypeError, r"^at\[1\] is a str"),
    (lambda: kv_algo.track([U], (float("nan"), 2)), ValueError, r"^at\[0\] is nan"),
    (lambda: kv_algo.track([U], (1, 1), half=-1), ValueError, "^half is -1"),
    (lambda: kv_algo.track([U], (1, 1), half=1.5), TypeError, "^half is a float"),
    (lambda: kv_algo.track([U], (1, 1), range=-1), ValueError, "^range is -1"),
    (lambda: kv_algo.track([U], (1, 1), range=(1, 2, 3)), ValueError, "^range has 3 values"),
    (lambda: kv_algo.track([U], (1, 1), levels=9), ValueError, "^levels is 9; it must be 0 to 8$"),
    (lambda: kv_algo.track([U], (1, 1), update="often"), ValueError, '^update is "often"; it must be "never"'),
    (lambda: kv_algo.track([U], (1, 1), update=("score", 1)), ValueError, r"^update is \('score', 1\)"),
    (lambda: kv_algo.track([U], (1, 1), update=("on-score", 256)), ValueError, r"^update\[1\] is 256"),
    (lambda: kv_algo.track([U], (1, 1), update=0), ValueError, "^update is 0; it must be 1 to"),
    (lambda: kv_algo.track([U], (1, 1), update=1.5), TypeError, "^update is a float"),
    (lambda: kv_algo.track([U], (1, 1), max_score=256), ValueError, "^max_score is 256"),
    (lambda: kv_algo.track([U], (1, 1), format="gray8"), ValueError, '^format is "gray8"'),
    (lambda: kv_algo.track([U], (1, 1), field_order="even"), ValueError, '^field_order is "even"'),
    (lambda: next(kv_algo.track([[1]], (1, 1))), TypeError, r"^frames\[0\] is a list"),
    (lambda: next(kv_algo.track([U.astype(float)], (1, 1))), TypeError, r"^frames\[0\] has dtype float64"),
    (lambda: next(kv_algo.track([U], (40, 1))), ValueError, r"^at\[0\] is \(40, 1\); frames\[0\] is 40 x 40 pixels$"),
    (lambda: next(kv_algo.track([U], (20, 20), half=20)), kv_algo.SizeMismatch, "must be at least"),
    (lambda: list(kv_algo.track([U, U[:38]], (20, 20))), kv_algo.SizeMismatch, "they must be equal"),
]


def test_the_spare_pixel_of_an_odd_width_is_outside():
    odd = [kv_algo.VideoFrame(frame, "uyvy", 127, 96, i) for i, frame in enumerate(moving(2, 1, 0))]
    assert len(list(kv_algo.track(odd, (126, 50), half=2, range=2))) == 2
    with pytest.raises(ValueError, match=r"^at\[0\] is \(127, 50\); frames\[0\] is 127 x 96 pixels$"):
        list(kv_algo.track(odd, (127, 50), half=2, range=2))


@pytest.mark.parametrize("case", WRONG, ids=range(len(WRONG)))
def test_refusal_of_track(case):
    call, kind, text = case
    with pytest.raises(kind, match=text):
        call()
