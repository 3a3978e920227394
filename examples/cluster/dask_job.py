#!/usr/bin/env python3
"""The job on the workers of a Dask scheduler, and its parts put together.

usage: dask_job.py SCHEDULER CLIP OUT [--chunk N]

Makes OUT/whole.y4m and OUT/path.csv. CLIP and OUT are in a folder that all workers see. A part whose worker dies is made
again by another.
"""

import argparse
from pathlib import Path

import dask.distributed
import job
import kv_algo


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("scheduler", help="address, such as tcp://10.0.0.1:8786")
    parser.add_argument("clip")
    parser.add_argument("out")
    parser.add_argument("--chunk", type=int, default=50, help="frames of a part (default: 50)")
    given = parser.parse_args()
    out = Path(given.out).absolute()
    out.mkdir(parents=True, exist_ok=True)
    clip = Path(given.clip).absolute()
    count = job.parts_of(clip, given.chunk)

    with dask.distributed.Client(given.scheduler) as client:
        client.upload_file(job.__file__)
        # pure=False: the result is files as well, and is not answered from an earlier run's memory.
        parts = client.map(lambda index: job.part(clip, out, given.chunk, index), range(count), pure=False)
        moves = [move for part in client.gather(parts) for move in part]

    job.write_path(moves, out / "path.csv")
    files = [out / f"part-{index:05}.y4m" for index in range(count)]
    kv_algo.write(out / "whole.y4m", (frame for file in files for frame in kv_algo.read(file)))
    # The parts, and what workers that died had begun.
    for file in out.glob("part-*"):
        file.unlink()


if __name__ == "__main__":
    main()
