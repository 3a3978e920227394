#!/usr/bin/env python3
"""Times kv beside the program ffmpeg on files of both, and makes the table of docs/performance.md anew.

    bench/files.py BUILD docs/performance.md [--frames N] [--repetitions N] [--print]

Clips are made once; runs of the two are interleaved, medians count. With --print the table goes to the terminal and the page
stays as it is.
"""
import os
import resource
import statistics
import subprocess
import time

import page

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
    options = page.arguments(__doc__, frames=100)
    kv = page.program(options, "kv")
    with page.scratch_folder():
        figures = table(kv, options.frames, options.repetitions)
    page.put(options, "files", figures)


if __name__ == "__main__":
    main()
