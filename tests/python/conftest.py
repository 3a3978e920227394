"""What the tests of the Python package share."""

import os
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

sys.path.insert(0, os.environ.get("KV_PYTHON", str(Path(__file__).resolve().parents[2] / "python")))

ROOT = Path(__file__).resolve().parents[2]


def numbers(shape, seed=1, dtype=np.uint8):
    """Repeatable bytes."""
    return np.random.default_rng(seed).integers(0, np.iinfo(dtype).max, shape, dtype, endpoint=True)


@pytest.fixture(scope="session")
def program():
    """The program kv."""
    return Path(os.environ["KV_ALGO_LIBRARY"]).parent / "kv"


@pytest.fixture(scope="session")
def kv(program):
    """Runs the program kv."""

    def run(*arguments, cwd):
        subprocess.run([program, *arguments], cwd=cwd, check=True, stdout=subprocess.PIPE)

    return run
