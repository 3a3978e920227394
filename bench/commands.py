#!/usr/bin/env python3
"""Times commands of kv on clips beside the program ffmpeg, and makes the table of docs/performance.md anew.

    bench/commands.py BUILD docs/performance.md [--frames N] [--repetitions N] [--print]

Clips are in memory, runs of the two are interleaved, medians count. With --print the table goes to the terminal and the page
stays as it is.
"""
import glob
import os
import statistics
import subprocess
import time

import page

RAW = "-f rawvideo -pix_fmt uyvy422 -s 1920x1080 -r 25 -i a.uyvy"
SIZE = "--size 1920x1080"
# kv's arguments and ffmpeg's; what they write is called o.
JOBS = {
    "Y4M to UYVY": ("convert a.y4m o.uyvy", "-i a.y4m -f rawvideo -pix_fmt uyvy422 o.uyvy"),
    "UYVY to BMP files": (f"convert {SIZE} a.uyvy o-%04d.bmp", f"{RAW} o-%04d.bmp"),
    "UYVY to PPM files": (f"convert {SIZE} a.uyvy o-%04d.ppm", f"{RAW} o-%04d.ppm"),
    "box 5 on luma": ("filter a.y4m o.y4m --planes y --window 5", "-i a.y4m -vf boxblur=lr=2:cr=0 o.y4m"),
    "box 9 on luma": ("filter a.y4m o.y4m --planes y --window 9", "-i a.y4m -vf boxblur=lr=4:cr=0 o.y4m"),
    "box 31 on luma": ("filter a.y4m o.y4m --planes y --window 31", "-i a.y4m -vf boxblur=lr=15:cr=0 o.y4m"),
    "lines moved to the other parity": ("parity a.y4m o.y4m --method line --force", "-i a.y4m -vf setfield=tff,fieldorder=bff o.y4m"),
    "difference of two": ("diff a.y4m b.y4m o.y4m", "-i a.y4m -i b.y4m -filter_complex blend=all_mode=difference o.y4m"),
    "average of two": ("average a.y4m b.y4m o.y4m", "-i a.y4m -i b.y4m -filter_complex blend=all_mode=average o.y4m"),
    "one after the other": ("join a.y4m b.y4m -o o.y4m", "-i a.y4m -i b.y4m -filter_complex concat o.y4m"),
}
# 3840x2160, for memory alone.
LARGE = {"Y4M to UYVY": "convert l.y4m o.uyvy", "Y4M to BMP files": "convert l.y4m o-%04d.bmp",
         "box 5 on luma": "filter l.y4m o.y4m --planes y --window 5", "average of two": "average l.y4m l.y4m o.y4m"}
FIRST = {"convert": "convert - - --to-format uyvy", "filter": "filter - - --window 5", "parity": "parity - - --force"}


def run(command):
    """Seconds of the clock and of the processors, and MB at most."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdin=subprocess.DEVNULL)
    _, status, used = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    elapsed = time.monotonic() - start
    if process.returncode != 0:
        raise SystemExit(f"{' '.join(command)}: status {process.returncode}")
    for name in glob.glob("o.*") + glob.glob("o-*"):
        os.remove(name)
    return elapsed, used.ru_utime + used.ru_stime, used.ru_maxrss / 1024


def make_clips(frames):
    def make(name, source, options=""):
        subprocess.run(f"ffmpeg -v error -y {source} {options} {name}".split(), check=True, stdin=subprocess.DEVNULL)
    make("a.y4m", "-f lavfi -i testsrc2=size=1920x1080:rate=25", f"-frames:v {frames} -pix_fmt yuv422p")
    make("b.y4m", "-i a.y4m", "-vf negate")
    make("a.uyvy", "-i a.y4m", "-f rawvideo -pix_fmt uyvy422")
    make("l.y4m", "-f lavfi -i testsrc2=size=3840x2160:rate=25", "-frames:v 12 -pix_fmt yuv422p")


def table(kv, frames, repetitions):
    lines = ["| 1920x1080 | threads | clock, ms a frame: kv, ffmpeg | ratio | processor, ms a frame: kv, ffmpeg | ratio | kv, MB |",
             "|---|---|---|---|---|---|---|"]
    for name, (ours, theirs) in JOBS.items():
        for threads in sorted({1, min(4, os.cpu_count() or 1)}):
            commands = [f"{kv} {ours} --threads {threads}".split(),
                        f"ffmpeg -v error -y -threads {threads} -filter_threads {threads} "
                        f"-filter_complex_threads {threads} {theirs}".split()]
            runs = [[], []]
            for _ in range(repetitions):
                for times, command in zip(runs, commands):
                    times.append(run(command))
            cells = []
            for what in range(2):
                mine, other = (statistics.median(one[what] for one in times) * 1000 / frames for times in runs)
                cells.append(f"{mine:.1f}, {other:.1f} | {mine / other:.2f}")
            lines.append(f"| {name} | {threads} | {cells[0]} | {cells[1]} | {max(one[2] for one in runs[0]):.0f} |")
    memory = ", ".join(f"{name} {run(f'{kv} {command} --threads 4'.split())[2]:.0f}" for name, command in LARGE.items())
    lines += ["", f"Memory at 3840x2160 with 4 threads, MB: {memory}."]
    return "\n".join(lines) + "\n"


def first_bytes(kv, repetitions):
    """Of a pipe whose first frame of 720x576 is there."""
    frame = b"YUV4MPEG2 W720 H576 F25:1 It C422\nFRAME\n" + bytes(720 * 576 * 2)
    medians = []
    for name, command in FIRST.items():
        times = []
        for _ in range(3 * repetitions):
            start = time.monotonic()
            with subprocess.Popen(f"{kv} {command} --threads 1".split(), stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
                process.stdin.write(frame)
                process.stdin.flush()
                process.stdout.read(1)
                times.append(time.monotonic() - start)
                process.stdin.close()
                process.stdout.read()
        medians.append(f"{name} {1000 * statistics.median(times):.1f}")
    return f"\nFrom the start of the program to its first byte, a frame of 720x576 in a pipe, 1 thread, ms: {', '.join(medians)}.\n"


def main():
    options = page.arguments(__doc__, frames=60)
    kv = page.program(options, "kv")
    with page.scratch_folder("/dev/shm"):
        make_clips(options.frames)
        figures = table(kv, options.frames, options.repetitions) + first_bytes(kv, options.repetitions)
    page.put(options, "commands", figures)


if __name__ == "__main__":
    main()
