"""Threads, signals, forks and what is left after many calls."""

import contextvars
import gc
import multiprocessing
import os
import resource
import signal
import subprocess
import sys
import threading
import time

import numpy as np
import pytest
from conftest import numbers

import kv_algo

LARGE = numbers((2160, 3840, 2))


def digest(threads):
    with kv_algo.Context(threads=threads):
        return int(kv_algo.convert(LARGE, "uyvy", "bgr24").astype(np.uint64).sum())


def filtered(_):
    return kv_algo.box_filter(LARGE[..., 1].copy(), 9).tobytes()


@pytest.mark.parametrize("threads", [2, 3, 8, 0])
def test_any_number_of_threads(threads):
    assert digest(threads) == digest(1)


def test_contexts_nest():
    grey = numbers((8, 8))
    with kv_algo.Context(threads=2) as outer:
        with kv_algo.Context(member="kv_algoC"):
            kv_algo.box_filter(grey, 3)
        kv_algo.box_filter(grey, 3)
        outer.close()
        with pytest.raises(ValueError, match="^the context is closed; make another$"):
            kv_algo.box_filter(grey, 3)
    with pytest.raises(ValueError, match="closed"):
        outer.__enter__()
    kv_algo.box_filter(grey, 3)


def test_set_threads():
    grey = numbers((1080, 1920))
    plain = kv_algo.box_filter(grey, 9)
    kv_algo.set_threads(4)
    try:
        np.testing.assert_array_equal(kv_algo.box_filter(grey, 9), plain)
    finally:
        kv_algo.set_threads(1)


def test_many_threads_call_in_one_context():
    a = numbers((240, 320, 2))
    plain = kv_algo.convert(a, "uyvy", "bgr24")
    wrong = []

    def calls():
        for _ in range(50):
            if not np.array_equal(kv_algo.convert(a, "uyvy", "bgr24"), plain):
                wrong.append(1)

    with kv_algo.Context(threads=2):
        threads = [threading.Thread(target=contextvars.copy_context().run, args=(calls,)) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    assert not wrong


def test_other_threads_run_meanwhile():
    """The interpreter is free while a call computes."""
    grey = numbers((4320, 7680))
    ticks = []
    done = threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(time.perf_counter())
            time.sleep(0.001)

    thread = threading.Thread(target=tick)
    thread.start()
    begin = time.perf_counter()
    kv_algo.box_filter(grey, 99)
    end = time.perf_counter()
    done.set()
    thread.join()
    assert len([one for one in ticks if begin < one < end]) > (end - begin) * 20


def test_stop_from_another_thread():
    grey = numbers((8640, 7680))
    context = kv_algo.Context()
    timer = threading.Timer(0.01, context.stop)
    with context, pytest.raises(kv_algo.Stopped):
        timer.start()
        for _ in range(200):
            kv_algo.box_filter(grey, 99)
    timer.join()


@pytest.mark.parametrize("threads", [1, 3])
def test_interrupt(threads):
    """KeyboardInterrupt ends a call of seconds; many times, so that every moment of a call is met."""
    a = numbers((1200, 1600, 2))
    late = []
    with kv_algo.Context(threads=threads):
        for i in range(12):
            sent = []

            def send():
                sent.append(time.perf_counter())
                os.kill(os.getpid(), signal.SIGINT)

            timer = threading.Timer(0.02 + 0.003 * i, send)
            with pytest.raises(KeyboardInterrupt):
                timer.start()
                for _ in range(1000):
                    kv_algo.find(a, a, (800, 600), half=120, range=60)
            late.append(time.perf_counter() - sent[0])
            timer.join()
    # The median: other processes may hold the machine for a while.
    assert sorted(late)[len(late) // 2] < 0.05, late


def test_a_handler_may_raise_anything():
    class Alarm(Exception):
        pass

    def ring(number, frame):
        raise Alarm

    grey = numbers((4320, 7680))
    old = signal.signal(signal.SIGALRM, ring)
    try:
        signal.setitimer(signal.ITIMER_REAL, 0.03)
        with pytest.raises(Alarm):
            # Nearly all the time is spent in calls.
            for _ in range(200):
                kv_algo.box_filter(grey, 99)
    finally:
        signal.setitimer(signal.ITIMER_REAL, 0)
        signal.signal(signal.SIGALRM, old)


@pytest.mark.parametrize("method", ["fork", "spawn"])
def test_processes(method):
    with kv_algo.Context(threads=3):
        plain = digest(3)
        with multiprocessing.get_context(method).Pool(2) as pool:
            assert pool.map(digest, [1, 2, 3]) == [plain] * 3
    kv_algo.set_threads(3)
    try:
        here = filtered(0)
        with multiprocessing.get_context(method).Pool(2) as pool:
            assert pool.map(filtered, range(2)) == [here] * 2
    finally:
        kv_algo.set_threads(1)


def test_fork_inside_a_context():
    with kv_algo.Context(threads=3):
        plain = filtered(0)
        child = os.fork()
        if child == 0:
            os._exit(0 if filtered(0) == plain else 1)
        assert os.waitpid(child, 0)[1] == 0
        assert filtered(0) == plain


def test_nothing_is_left_after_many_calls():
    a, mask, region = numbers((16, 16, 2)), numbers((16, 16)), (0, 0, 8, 8)

    def calls(count):
        for _ in range(count // 5):
            kv_algo.convert(a, "uyvy", "bgr24")
            kv_algo.box_filter(mask, 3, region)
            kv_algo.find(a, a, (8, 8), half=2, range=2, map=True)
            kv_algo.clip_polygon([(0, 0), (9, 0), (9, 9)], 1, 1, 5, 5)
            with pytest.raises(ValueError):
                kv_algo.box_filter(mask, 0)

    calls(2000)
    gc.collect()
    objects, memory = len(gc.get_objects()), resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    calls(10000)
    gc.collect()
    assert len(gc.get_objects()) - objects < 100
    assert resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - memory < 1024


def test_contexts_end_their_threads():
    before = len(os.listdir("/proc/self/task"))
    for _ in range(50):
        with kv_algo.Context(threads=4):
            kv_algo.box_filter(numbers((600, 600)), 3)
    assert len(os.listdir("/proc/self/task")) == before


def test_a_wrong_library_is_an_import_error(tmp_path):
    environment = {**os.environ, "KV_ALGO_LIBRARY": str(tmp_path / "none.so"), "PYTHONPATH": os.pathsep.join(sys.path)}
    answer = subprocess.run([sys.executable, "-c", "import kv_algo"], env=environment, stderr=subprocess.PIPE, text=True)
    assert answer.returncode != 0
    assert f"ImportError: libkv_c.so.0 is not there; tried {tmp_path}/none.so" in answer.stderr
