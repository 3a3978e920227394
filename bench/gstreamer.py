#!/usr/bin/env python3
"""Times the elements of the plug-in kvalgo beside GStreamer's own, and makes the table of docs/performance.md anew.

    bench/gstreamer.py BUILD docs/performance.md [--frames N] [--repetitions N] [--print]

One frame is made once and goes N times through the element; runs of the contenders are interleaved, medians count. With --print
the table goes to the terminal and the page stays as it is.
"""
import argparse
import os
import re
import statistics
import subprocess
import sys
import tempfile

SIZE = "width=1920,height=1080,framerate=25/1"
MARKS = ("<!-- gstreamer -->\n", "<!-- end of gstreamer -->")
# What is done, from, to, and who does it: an element with {threads}.
ROWS = [
    ("UYVY to BGRx", "UYVY", "BGRx", ["kvconvert threads={threads}", "videoconvert n-threads={threads}"]),
    ("UYVY to BGR", "UYVY", "BGR", ["kvconvert threads={threads}", "videoconvert n-threads={threads}"]),
    ("BGRx to UYVY", "BGRx", "UYVY", ["kvconvert threads={threads}", "videoconvert n-threads={threads}"]),
    ("BGR to UYVY", "BGR", "UYVY", ["kvconvert threads={threads}", "videoconvert n-threads={threads}"]),
    ("blur of luma, 9 x 9", "I420", "I420", ["kvboxfilter window=9 threads={threads}"]),
    ("blur, sigma 2.6, of 4:4:4 with alpha, the one format that it takes", "AYUV", "AYUV", ["gaussianblur sigma=2.6"]),
    ("blur, 9 x 9", "BGR", "BGR", ["cvsmooth type=blur kernel-width=9 kernel-height=9"]),
]


def exists(element):
    return subprocess.run(["gst-inspect-1.0", "--exists", "--atleast-version=0.0", element.split()[0]],
                          check=False).returncode == 0


def milliseconds(source, to, element, frames):
    """Of one frame, in a pipeline that does nothing else."""
    pipeline = (f"videotestsrc num-buffers=1 pattern=smpte ! video/x-raw,format={source},{SIZE} "
                f"! imagefreeze num-buffers={frames} ! {element} ! video/x-raw,format={to} ! fakesink sync=false")
    result = subprocess.run(["gst-launch-1.0", *pipeline.split()], check=True, capture_output=True, text=True)
    hours, minutes, seconds = re.search(r"Execution ended after (\d+):(\d+):([\d.]+)", result.stdout).groups()
    return (int(hours) * 3600 + int(minutes) * 60 + float(seconds)) * 1000 / frames


def table(frames, repetitions):
    lines = ["| 1920x1080 | threads | ms a frame |", "|---|---|---|"]
    for name, source, to, elements in ROWS:
        for threads in sorted({1, min(4, os.cpu_count() or 1)}):
            contenders = [one.format(threads=threads) for one in elements if exists(one)]
            if threads > 1:
                contenders = [one for one in contenders if "threads=" in one]
            times = {one: [] for one in contenders}
            for _ in range(repetitions):
                for one in contenders:
                    times[one].append(milliseconds(source, to, one, frames))
            if times:
                measured = ", ".join(f"`{one.split()[0]}` {statistics.median(times[one]):.2f}" for one in contenders)
                lines.append(f"| {name} | {threads} | {measured} |")
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("page")
    parser.add_argument("--frames", type=int, default=500)
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--print", action="store_true")
    options = parser.parse_args()
    os.environ["GST_PLUGIN_PATH"] = os.path.abspath(os.path.join(options.build, "bin", "gstreamer-1.0"))
    with tempfile.TemporaryDirectory() as folder:
        os.environ["GST_REGISTRY"] = os.path.join(folder, "registry.bin")
        if not exists("kvconvert"):
            sys.exit(f"{options.build} has no plug-in for GStreamer; script/bootstrap bench installs what its build needs")
        figures = table(options.frames, options.repetitions)
    if options.print:
        print(figures, end="")
        return
    with open(options.page, encoding="utf-8") as page:
        text = page.read()
    if MARKS[0] not in text or MARKS[1] not in text:
        sys.exit(f"{options.page} has no place for the table: {MARKS[0].strip()}")
    before, rest = text.split(MARKS[0])
    with open(options.page, "w", encoding="utf-8") as page:
        page.write(before + MARKS[0] + figures + MARKS[1] + rest.split(MARKS[1])[1])


if __name__ == "__main__":
    main()
