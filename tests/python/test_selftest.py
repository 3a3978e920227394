"""selftest, and that it bites."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import kv_algo

BUILD = Path(os.environ["KV_ALGO_LIBRARY"]).parent
CHECK = """
import kv_algo
for check in kv_algo.selftest(400, seed=3):
    if not check.is_equal:
        print(check.member, check.function, check.difference)
"""


def test_all_members_are_equal():
    checks = kv_algo.selftest(10)
    assert checks == kv_algo.selftest(10)
    assert {one.member for one in checks} == {one.name for one in kv_algo.members() if one.is_usable}
    assert all(one.is_equal and one.difference == "" for one in checks)
    calls = {(one.member, one.function): one.calls for one in checks}
    assert all(number > 0 for (member, _), number in calls.items() if member == "kv_algoC")
    for member in {one.member for one in checks}:
        assert calls[member, "box_filter"] == calls[member, "find"] == 10


def selftest_in(folder):
    environment = {**os.environ, "KV_ALGO_LIBRARY": str(folder / "libkv_c.so.0")}
    return subprocess.run([sys.executable, "-B", "-c", CHECK], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          env=environment)


def test_a_member_that_is_wrong_is_named(tmp_path):
    for file in [*BUILD.glob("kv_algo*.so"), *BUILD.glob("libkv_*.so.0"), BUILD / "wrong_member" / "kv_algoSSE.so"]:
        shutil.copy(file, tmp_path)
    answer = selftest_in(tmp_path)
    lines = answer.stdout.splitlines()
    assert len(lines) == 1, answer
    assert lines[0].startswith("kv_algoSSE copy call "), answer
    assert ": plane 0 at (" in lines[0] and "of kv_algoC" in lines[0]


def test_without_the_plain_member(tmp_path):
    for file in [BUILD / "kv_algoMMX.so", *BUILD.glob("libkv_*.so.0")]:
        shutil.copy(file, tmp_path)
    answer = selftest_in(tmp_path)
    assert answer.returncode == 1 and "NoMember" in answer.stderr and "kv_algoC" in answer.stderr


@pytest.mark.parametrize("wrong, kind, text", [
    ({"rounds": 0}, ValueError, "^rounds is 0; it must be 1 to 1000000$"),
    ({"rounds": 2.0}, TypeError, "^rounds is a float"),
    ({"seed": -1}, ValueError, "^seed is -1")])
def test_wrong_calls(wrong, kind, text):
    with pytest.raises(kind, match=text):
        kv_algo.selftest(**wrong)
