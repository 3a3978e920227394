#!/usr/bin/env bash
# wheel_test.sh SOURCE BUILD: pip installs the package in a fresh environment of Debian's Python; what is loaded afterwards
# is of that environment, and the clone stays as it was.
set -euo pipefail
source=$1 build=$2
fail() { echo "wheel_test: $*" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
files() { find "$source/python" | sort; }
files >"$work/before"
/usr/bin/python3 -m venv --system-site-packages "$work/env"
export PYTHONDONTWRITEBYTECODE=1
unset PYTHONPATH KV_ALGO_LIBRARY
pip=("$work/env/bin/python" -m pip --disable-pip-version-check --no-cache-dir)
KV_ALGO_BUILD=$build "${pip[@]}" wheel -q --no-index --no-build-isolation --no-deps -w "$work/wheels" "$source/python"
wheel=$(ls "$work"/wheels)
[[ $wheel =~ ^kv_algo-[0-9.]+-py3-none-manylinux_2_[0-9]+_$(uname -m)\.whl$ ]] || fail "the wheel is $wheel"
KV_ALGO_BUILD=$build "${pip[@]}" install -q --no-index --no-build-isolation "$source/python"
files | diff "$work/before" - || fail "the clone has other files"
cd "$work"
"$work/env/bin/python" - "$work/env" <<'PYTHON'
import sys
import numpy as np
import kv_algo
environment = sys.argv[1]
assert kv_algo.__file__.startswith(environment), kv_algo.__file__
assert sum(one.is_usable for one in kv_algo.members()) >= 2, kv_algo.members()
a = np.arange(32, dtype=np.uint8).reshape(2, 8, 2)
bitmap = kv_algo.convert(a, "uyvy", "bgr24")
with kv_algo.Context(member="kv_algoC"):
    assert np.array_equal(bitmap, kv_algo.convert(a, "uyvy", "bgr24"))
loaded = {line.split()[-1] for line in open("/proc/self/maps") if "kv_" in line and line.rstrip().endswith((".so", ".so.0"))}
assert len(loaded) >= 4 and all(one.startswith(environment) for one in loaded), loaded
PYTHON
"${pip[@]}" uninstall -q -y kv_algo
[ -z "$(find "$work/env" -path '*kv_algo*')" ] || fail "something stays in the environment"
echo "all is well: $wheel"
