"""Calls with arguments at random: each answers right or says what is wrong, and writes nothing beside its result."""

import sys
from collections import Counter

from conftest import ROOT

sys.path.append(str(ROOT / "fuzz"))
import python_calls  # noqa: E402


def test_any_arguments():
    count = Counter(python_calls.one_call(20261123, index) for index in range(4200))
    for make in python_calls.MAKERS:
        name = make.__name__
        assert count[name, True] > 20 and count[name, False] > 20, (name, count)


def failures(monkeypatch, box_filter):
    """What is said of a box filter that is wrong."""
    monkeypatch.setattr(python_calls.kv, "box_filter", box_filter)
    first, step = python_calls.MAKERS.index(python_calls.box_filter), len(python_calls.MAKERS)
    said = set()
    for index in range(first, first + 60 * step, step):
        try:
            python_calls.one_call(1, index)
        except AssertionError as error:
            said.add(str(error))
    return said


def test_bytes_beside_the_result_are_seen(monkeypatch, real=python_calls.kv.box_filter):
    def box_filter(a, k, region=None, *, out=None):
        result = real(a, k, region, out=out)
        if out is not None and out.base is not None and out.base.size > out.size:
            out.base[-1] ^= 1
        return result

    assert "box_filter: bytes that are nobody's were written" in failures(monkeypatch, box_filter)


def test_results_that_depend_on_strides_are_seen(monkeypatch, real=python_calls.kv.box_filter):
    def box_filter(a, k, region=None, *, out=None):
        result = real(a, k, region, out=out)
        if not a.flags.owndata:
            result[0, 0] ^= 1
        return result

    assert failures(monkeypatch, box_filter) == {"box_filter: another answer of contiguous arrays, on three threads"}
