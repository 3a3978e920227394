"""Packs the package with libkv_c, the members and the image libraries, built from the clone around it.

KV_ALGO_BUILD names a CMake build folder that exists; without it one is made, and removed again, outside the clone.
"""

import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

from setuptools import Distribution, setup
from setuptools.command.build_py import build_py
from wheel.bdist_wheel import bdist_wheel

HERE = Path(__file__).resolve().parent
ROOT = HERE.parent
WORK = tempfile.mkdtemp(prefix="kv_algo-")
VERSION = re.search(r"project\(kv_algo VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)
# Of libstdc++: the glibc of the first system that has a version.
CXX = {29: 34, 30: 36, 31: 38, 32: 39, 33: 39}


def newest(path):
    """The glibc, 2.N, that an object needs, by its symbols."""
    text = subprocess.run(["objdump", "-T", path], check=True, stdout=subprocess.PIPE, text=True).stdout
    glibc = [int(one) for one in re.findall(r"GLIBC_2\.(\d+)", text)]
    cxx = [int(one) for one in re.findall(r"GLIBCXX_3\.4\.(\d+)", text)]
    return max([17, *glibc, *(CXX.get(one, 17 if one < 29 else 41) for one in cxx)])


def native():
    """The libraries, built."""
    build = os.environ.get("KV_ALGO_BUILD")
    if not build:
        build = os.path.join(WORK, "native")
        subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DKV_TESTS=OFF",
                        "-DKV_INSTALL=ON"], check=True)
    subprocess.run(["cmake", "--build", build, "--target", "kv_c", "members"], check=True)
    folder = Path(build) / "bin"
    found = [folder / f"lib{name}.so.0" for name in ("kv_c", "kv_Image", "kv_Math")]
    found += [folder / f"kv_algo{name}.so" for name in ("C", "MMX", "SSE2") if (folder / f"kv_algo{name}.so").exists()]
    return found


class Build(build_py):
    def run(self):
        super().run()
        target = Path(self.build_lib) / "kv_algo" / "native"
        target.mkdir(parents=True, exist_ok=True)
        for library in native():
            shutil.copy(library.resolve(), target / library.name)
            subprocess.run(["strip", "--strip-unneeded", target / library.name], check=True)


class OfOneMachine(Distribution):
    def has_ext_modules(self):
        return True


class Wheel(bdist_wheel):
    def get_tag(self):
        files = (Path(self.bdist_dir) / "kv_algo" / "native").glob("*")
        needed = max(newest(one) for one in files)
        return "py3", "none", f"manylinux_2_{needed}_{os.uname().machine}"


os.chdir(HERE)
try:
    setup(
        version=VERSION,
        distclass=OfOneMachine,
        packages=["kv_algo"],
        package_data={"kv_algo": ["py.typed"]},
        cmdclass={"build_py": Build, "bdist_wheel": Wheel},
        options={"build": {"build_base": os.path.join(WORK, "build")}, "egg_info": {"egg_base": WORK}},
    )
finally:
    shutil.rmtree(WORK, ignore_errors=True)
