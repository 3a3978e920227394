#!/usr/bin/env python3
"""Times kv beside the program ffmpeg on files of both, and makes the table of docs/performance.md anew.

    bench/files.py BUILD docs/performance.md [--frames N] [--repetitions N] [--print]

Clips are made once; runs of the two are interleaved, medians count. With --print the table goes to the terminal and the page
stays as it is.
"""
import argparse
import os
import resource
import statistics
import subprocess
import tempfile
import time

MARKS = ("<!-- files -->\n", "<!-- end of files -->")
CLIPS = {
    "FFV1": ("ffv1.mkv", "-vf noise=alls=4 -c:v ffv1 -level 3 -slices 16 -pix_fmt yuv422p"),
    "MPEG-2 4:2:2": ("mpeg2.mxf", "-c:v mpeg2video -q:v 2 -pix_fmt yuv422p"),
}


def seconds(command):
    """Of the clock and of the processors."""
    before, start = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    subprocess.run(command, check=True, stdin=subprocess.DEVNULL)
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return time.monotonic() - start, used.ru_utime + used.ru_stime - before.ru_utime - before.ru_stime


def table(kv, frames, repetitions):
    lines = ["| 1920x1080 to Y4M | threads | clock, ms a frame: kv, ffmpeg | ratio | processor, ms a frame: kv, ffmpeg | ratio |",
             "|---|---|---|---|---|---|"]
    for name, (clip, options) in CLIPS.items():
        subprocess.run(f"ffmpeg -v error -y -f lavfi -i testsrc2=size=1920x1080:rate=25 -frames:v {frames} {options} {clip}".split(),
                       check=True, stdin=subprocess.DEVNULL)
        for threads in sorted({1, min(4, os.cpu_count() or 1)}):
            commands = [f"{kv} convert {clip} /dev/null --to-format y4m --threads {threads}".split(),
                        f"ffmpeg -v error -y -threads {threads} -i {clip} -f yuv4mpegpipe /dev/null".split()]
            runs = [[], []]
            for _ in range(repetitions):
                for times, command in zip(runs, commands):
                    times.append(seconds(command))
            cells = []
            for what in range(2):
                ours, theirs = (statistics.median(run[what] for run in times) * 1000 / frames for times in runs)
                cells.append(f"{ours:.1f}, {theirs:.1f} | {ours / theirs:.2f}")
            lines.append(f"| {name} | {threads} | {cells[0]} | {cells[1]} |")
    return "\n".join(lines) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build")
    parser.add_argument("page")
    parser.add_argument("--frames", type=int, default=100)
    parser.add_argument("--repetitions", type=int, default=7)
    parser.add_argument("--print", action="store_true")
    options = parser.parse_args()
    kv, page_name = os.path.abspath(os.path.join(options.build, "bin", "kv")), os.path.abspath(options.page)
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        figures = table(kv, options.frames, options.repetitions)
        os.chdir("/")
    if options.print:
        print(figures, end="")
        return
    with open(page_name, encoding="utf-8") as page:
        before, rest = page.read().split(MARKS[0])
    with open(page_name, "w", encoding="utf-8") as page:
        page.write(before + MARKS[0] + figures + MARKS[1] + rest.split(MARKS[1])[1])


if __name__ == "__main__":
    main()
