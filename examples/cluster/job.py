#!/usr/bin/env python3
"""The job: a long clip in the colours of high definition, its luma softened, and the path of its camera.

A frame needs itself and the one before it, so any part of a clip can be made anywhere:

    job.py one CLIP OUT                      the whole clip in this process: OUT/whole.y4m and OUT/path.csv
    job.py part CLIP OUT --chunk N --index I frames I * N to I * N + N - 1, into OUT/part-I.y4m and OUT/part-I.csv
    job.py path OUT                          OUT/path.csv from all OUT/part-*.csv
    job.py count CLIP --chunk N              how many parts there are
"""

import argparse
import os
from pathlib import Path
from statistics import median

import kv_algo

WINDOW = 9
HALF, RANGE = 16, 16


def frames_in(clip):
    """Frames of a Y4M file whose frames have no parameters."""
    with open(clip, "rb") as file:
        header = len(file.readline())
        frame = next(kv_algo.read(clip))
        size = len(b"FRAME\n") + sum(plane.nbytes for plane in frame.planes)
        return (os.path.getsize(clip) - header) // size


def parts_of(clip, chunk):
    """How many parts of `chunk` frames a clip has."""
    return -(-frames_in(clip) // chunk)


def graded(frame):
    """The frame with BT.709's matrix, its luma softened."""
    luma, *chroma = frame.to("i422", matrix="bt601", dst_matrix="bt709")
    planes = (kv_algo.box_filter(luma, WINDOW), *chroma)
    return kv_algo.VideoFrame(planes, "i422", frame.width, frame.height, frame.index, frame.field_order, "bt709",
                              frame.range, frame.chroma, frame.rate, frame.aspect)


def motion(before, frame):
    """How far the picture moved, x and y in pixels: the median of nine points."""
    points = [(frame.width * x // 4, frame.height * y // 4) for y in (1, 2, 3) for x in (1, 2, 3)]
    _, found = kv_algo.track((before, frame), points, half=HALF, range=RANGE, levels=2)
    moves = [(point.x - x, point.y - y) for point, (x, y) in zip(found, points)]
    return median(x for x, _ in moves), median(y for _, y in moves)


def make(clip, first, count, video):
    """Writes the frames of a part and answers (index, x, y) of each."""
    moves = []

    def frames():
        before = None
        for frame in kv_algo.read(clip, first=max(first - 1, 0), count=count + (first > 0)):
            if frame.index >= first:
                moves.append((frame.index, *((0.0, 0.0) if before is None else motion(before, frame))))
                yield graded(frame)
            before = frame

    # Under its name there is either nothing or the whole part, however often it is made and wherever that ends.
    unfinished = f"{video}.{os.uname().nodename}.{os.getpid()}"
    kv_algo.write(unfinished, frames())
    os.replace(unfinished, video)
    return moves


def part(clip, out, chunk, index):
    """One part of the clip; the same files whenever it is made again."""
    name = Path(out) / f"part-{index:05}"
    return make(clip, index * chunk, chunk, f"{name}.y4m")


def write_moves(moves, table):
    """A line `index,x,y` for each frame."""
    unfinished = f"{table}.{os.uname().nodename}.{os.getpid()}"
    Path(unfinished).write_text("".join(f"{index},{x!r},{y!r}\n" for index, x, y in moves))
    os.replace(unfinished, table)


def write_path(moves, table):
    """Sums the moves up to the place of the picture in each frame; every frame is there once."""
    if [index for index, _, _ in moves] != list(range(len(moves))):
        raise ValueError("frames are missing, or there twice")
    place, path = (0.0, 0.0), []
    for index, x, y in moves:
        place = place[0] + x, place[1] + y
        path.append((index, *place))
    write_moves(path, table)


def read_moves(table):
    """What write_moves wrote."""
    lines = (line.split(",") for line in Path(table).read_text().splitlines())
    return [(int(index), float(x), float(y)) for index, x, y in lines]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("action", choices=("one", "part", "path", "count"))
    parser.add_argument("files", nargs="+", help="CLIP OUT, or one of them")
    parser.add_argument("--chunk", type=int, default=50, help="frames of a part (default: 50)")
    parser.add_argument("--index", type=int, default=0, help="which part")
    given = parser.parse_args()
    if given.action == "count":
        print(parts_of(given.files[0], given.chunk))
        return
    out = Path(given.files[-1])
    out.mkdir(parents=True, exist_ok=True)
    if given.action == "one":
        clip = given.files[0]
        write_path(make(clip, 0, frames_in(clip), out / "whole.y4m"), out / "path.csv")
    elif given.action == "part":
        moves = part(given.files[0], out, given.chunk, given.index)
        write_moves(moves, out / f"part-{given.index:05}.csv")
    else:
        write_path([move for table in sorted(out.glob("part-*.csv")) for move in read_moves(table)], out / "path.csv")


if __name__ == "__main__":
    main()
