"""The job of examples/cluster, in parts and on workers of Dask that may die."""

import os
import signal
import subprocess
import sys
import time
from pathlib import Path

import pytest
from conftest import ROOT

import kv_algo

EXAMPLES = ROOT / "examples/cluster"
FRAMES, CHUNK = 45, 4
ENVIRONMENT = {**os.environ, "PYTHONDONTWRITEBYTECODE": "1", "OMP_NUM_THREADS": "1"}


def run(*arguments, **more):
    return subprocess.run([sys.executable, *map(str, arguments)], check=True, env=ENVIRONMENT, **more)


@pytest.fixture(scope="module")
def clip(tmp_path_factory):
    photo, = kv_algo.read(ROOT / "assets/seeding-720x576.y4m")
    scene = photo.to("uyvy")
    path = tmp_path_factory.mktemp("clip") / "clip.y4m"
    kv_algo.write(path, (kv_algo.VideoFrame(kv_algo.pan(scene, (360, 288), steps=FRAMES, step=i), "uyvy", 360, 288)
                         for i in range(FRAMES)))
    return path


@pytest.fixture(scope="module")
def whole(clip):
    """The result of one process."""
    out = clip.parent / "one"
    run(EXAMPLES / "job.py", "one", clip, out)
    return (out / "whole.y4m").read_bytes(), (out / "path.csv").read_bytes()


def result(out):
    assert sorted(one.name for one in out.iterdir()) == ["path.csv", "whole.y4m"]
    return (out / "whole.y4m").read_bytes(), (out / "path.csv").read_bytes()


def test_the_camera_is_followed(whole):
    """The picture moves left by 8 pixels a frame."""
    lines = [line.split(b",") for line in whole[1].splitlines()]
    assert [int(line[0]) for line in lines] == list(range(FRAMES))
    for i, (_, x, y) in enumerate(lines):
        assert abs(float(x) + 360 / (FRAMES - 1) * i) <= 2 and float(y) == 0


@pytest.mark.parametrize("chunk", [1, 7, FRAMES - 1, FRAMES, 1000])
def test_parts_of_any_size(clip, whole, tmp_path, chunk, kv):
    count = int(run(EXAMPLES / "job.py", "count", clip, "--chunk", chunk, stdout=subprocess.PIPE).stdout)
    assert count == -(-FRAMES // chunk)
    out = tmp_path / "out"
    sys.path.insert(0, str(EXAMPLES))
    import job

    out.mkdir()
    for index in reversed(range(count)):
        job.write_moves(job.part(clip, out, chunk, index), out / f"part-{index:05}.csv")
    run(EXAMPLES / "job.py", "path", out)
    kv("join", *(f"part-{index:05}.y4m" for index in range(count)), "-o", "whole.y4m", cwd=out)
    assert ((out / "whole.y4m").read_bytes(), (out / "path.csv").read_bytes()) == whole
    # What is missing or there twice is no path.
    with pytest.raises(ValueError, match="frames are missing, or there twice"):
        job.write_path([(0, 0.0, 0.0), (2, 0.0, 0.0)], out / "path.csv")
    with pytest.raises(ValueError, match="frames are missing, or there twice"):
        job.write_path([(0, 0.0, 0.0), (0, 0.0, 0.0)], out / "path.csv")


class Cluster:
    """A scheduler and workers on the loopback, each a process of its own."""

    def __init__(self, folder):
        self.folder = folder
        self.file = folder / "scheduler.json"
        self.processes = [self.start("scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard",
                                     "--scheduler-file", self.file)]

    def start(self, kind, *arguments):
        log = open(self.folder / f"{kind}.log", "ab")
        return subprocess.Popen([sys.executable, "-m", f"distributed.cli.dask_{kind}", *map(str, arguments)],
                                env=ENVIRONMENT, cwd=self.folder, stdout=log, stderr=log)

    def worker(self):
        self.processes.append(self.start("worker", "--scheduler-file", self.file, "--host", "127.0.0.1", "--no-nanny",
                                         "--no-dashboard", "--nthreads", "1", "--local-directory", self.folder))
        return self.processes[-1]

    def address(self, workers):
        """The scheduler's, when the workers are there."""
        from dask.distributed import Client

        until = time.monotonic() + 60
        while not self.file.exists() and time.monotonic() < until:
            time.sleep(0.05)
        with Client(scheduler_file=str(self.file)) as client:
            client.wait_for_workers(workers, timeout=60)
            return client.scheduler.address

    def close(self):
        for process in reversed(self.processes):
            process.terminate()
        for process in self.processes:
            process.wait(30)


@pytest.fixture
def cluster(tmp_path):
    made = Cluster(tmp_path)
    try:
        yield made
    finally:
        made.close()


def test_dask(clip, whole, tmp_path, cluster):
    for _ in range(2):
        cluster.worker()
    run(EXAMPLES / "dask_job.py", cluster.address(2), clip, tmp_path / "out", "--chunk", CHUNK)
    assert result(tmp_path / "out") == whole


def test_a_worker_dies(clip, whole, tmp_path, cluster):
    """Killed while it makes a part: others make its parts again, and each frame is there once."""
    doomed = cluster.worker()
    address = cluster.address(1)
    out = tmp_path / "out"
    job = subprocess.Popen([sys.executable, EXAMPLES / "dask_job.py", address, clip, out, "--chunk", str(CHUNK)],
                           env=ENVIRONMENT)
    # The one worker has done two parts and is at a third: their results are in its memory, the others in its queue.
    until = time.monotonic() + 60
    while len(list(out.glob("part-?????.y4m"))) < 2 or not list(out.glob(f"part-*.{doomed.pid}")):
        assert time.monotonic() < until and job.poll() is None
        time.sleep(0.001)
    doomed.send_signal(signal.SIGSTOP)
    done = len(list(out.glob("part-?????.y4m")))
    cluster.worker()
    cluster.worker()
    doomed.kill()
    assert doomed.wait(30) == -signal.SIGKILL
    assert 2 <= done < -(-FRAMES // CHUNK)
    assert job.wait(120) == 0
    assert result(out) == whole
