#!/usr/bin/python3
"""Times calls of the Python package beside OpenCV's, and writes the table of docs/performance.md.

usage: python_calls.py [PAGE]; without PAGE the table goes to the terminal. Run by script/bench python.
"""

import os
import re
import statistics
import sys
import time
from pathlib import Path

import cv2
import numpy as np

import kv_algo

WIDTH, HEIGHT = 1920, 1080
REPETITIONS = 31


def interleaved(calls):
    """The median time of each of several calls in milliseconds, taken in turns."""
    times = [[] for _ in calls]
    for call in calls:
        call()
    for _ in range(REPETITIONS):
        for call, found in zip(calls, times):
            begin = time.perf_counter()
            call()
            found.append(time.perf_counter() - begin)
    return [statistics.median(found) * 1e3 for found in times]


def work():
    """What is done, by us and by OpenCV, into memory that is there."""
    random = np.random.default_rng(1)
    uyvy, grey, bgr, bgra = (random.integers(0, 256, (HEIGHT, WIDTH, *channels), np.uint8)
                             for channels in ((2,), (), (3,), (4,)))
    out = [np.empty_like(one) for one in (grey, bgr, bgra)]
    convert, colours = kv_algo.convert, {"matrix": "bt601", "resample": "nearest"}
    yield ("`convert` UYVY to BGR24", lambda: convert(uyvy, "uyvy", "bgr24", out=out[1], **colours),
           lambda: cv2.cvtColor(uyvy, cv2.COLOR_YUV2BGR_UYVY, dst=out[1]))
    yield ("`convert` UYVY to BGRA32", lambda: convert(uyvy, "uyvy", "bgra32", out=out[2], **colours),
           lambda: cv2.cvtColor(uyvy, cv2.COLOR_YUV2BGRA_UYVY, dst=out[2]))
    yield ("`convert` BGR24 to grey", lambda: convert(bgr, "bgr24", "gray8", out=out[0], **colours),
           lambda: cv2.cvtColor(bgr, cv2.COLOR_BGR2GRAY, dst=out[0]))
    for k in (3, 9, 31):
        yield (f"`box_filter` {k}", lambda k=k: kv_algo.box_filter(grey, k, out=out[0]),
               lambda k=k: cv2.blur(grey, (k, k), dst=out[0]))


def small_calls():
    """Microseconds of whole calls on a few pixels: more than what Python adds to the C call."""
    uyvy, grey = np.zeros((2, 2, 2), np.uint8), np.zeros((2, 2), np.uint8)
    bgr, out = np.zeros((2, 2, 3), np.uint8), np.zeros_like(grey)
    for name, call in (("`convert`", lambda: kv_algo.convert(uyvy, "uyvy", "bgr24", out=bgr)),
                       ("`box_filter`", lambda: kv_algo.box_filter(grey, 3, out=out)),
                       ("`difference`", lambda: kv_algo.difference(uyvy, uyvy, out=out))):
        times = []
        for _ in range(REPETITIONS):
            begin = time.perf_counter()
            for _ in range(500):
                call()
            times.append((time.perf_counter() - begin) / 500)
        yield name, statistics.median(times) * 1e6


def table():
    """Everything, as Markdown."""
    threads = os.cpu_count()
    lines = [f"OpenCV {cv2.__version__}, Python {sys.version.split()[0]}, NumPy {np.__version__}; {WIDTH}x{HEIGHT}, "
             f"milliseconds, medians of {REPETITIONS} calls in turns.", "",
             f"| call | kv_algo, 1 thread | OpenCV, 1 thread | kv_algo, {threads} | OpenCV, {threads} |",
             "|---|---|---|---|---|"]
    for name, ours, theirs in work():
        found = []
        for number in (1, threads):
            cv2.setNumThreads(number)
            with kv_algo.Context(threads=number):
                found += interleaved((ours, theirs))
        lines.append(f"| {name} | " + " | ".join(f"{one:.3f}" for one in found) + " |")
    small = ", ".join(f"{name} {microseconds:.1f} µs" for name, microseconds in small_calls())
    return "\n".join([*lines, "", f"Whole calls on 2x2 pixels: {small}."])


def main():
    found = table()
    if len(sys.argv) < 2:
        print(found)
        return
    page = Path(sys.argv[1])
    text, count = re.subn(r"(<!-- python -->\n).*?(<!-- end of python -->)", lambda one: one[1] + found + "\n" + one[2],
                          page.read_text(), flags=re.S)
    if count != 1:
        raise SystemExit(f"python_calls.py: {page} has no place for the table")
    page.write_text(text)


if __name__ == "__main__":
    main()
