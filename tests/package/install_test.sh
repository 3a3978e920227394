#!/usr/bin/env bash
# install_test.sh SOURCE BUILD COMPILER: installs into a prefix, moves the prefix, builds the examples against it out of
# tree, by CMake and by pkg-config, and runs them.
set -euo pipefail
source=$1 build=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "install_test: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$work/first" >"$work/log" || { cat "$work/log"; fail "cmake --install"; }
mv "$work/first" "$work/moved"
prefix=$work/moved
libraries=$(dirname "$(find "$prefix" -name 'libkv_Image.so')")
grep -rlaF -e "$work/first" -e "$source" -e "$build" "$prefix" && fail "these files know where they were made"
[ "$(objdump -p "$libraries/libkv_Image.so" | awk '/SONAME/ { print $2 }')" = libkv_Image.so.0 ] || fail "SONAME"

echo "== kv"
"$prefix/bin/kv" --version
"$prefix/bin/kv" members --for Copy:yuv422:dib24
grep -qE "$libraries/kv_algo/kv_algo(MMX|NEON).so" <<<"$("$prefix/bin/kv" members)" || fail "members are not taken from $libraries/kv_algo"

run_examples() {
  (cd "$1" && ./host picture.ppm && ./guide && ./stop && ./threads && if [ -e opencv ]; then ./opencv; fi)
  [ "$(head -c 15 "$1/picture.ppm" | tr '\n' ' ')" = "P6 720 576 255 " ] || fail "$1: no picture"
  [ "$(stat -c %s "$1/picture.ppm")" = $((15 + 720 * 576 * 3)) ] || fail "$1: picture of a wrong size"
}

echo "== by CMake"
cmake -S "$source/examples" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror" >"$work/log" || { cat "$work/log"; fail "configuring"; }
cmake --build "$work/cmake" >"$work/log" || { cat "$work/log"; fail "building"; }
run_examples "$work/cmake"

echo "== a member from outside"
photo=$source/assets/seeding-720x576.y4m
"$prefix/bin/kv" parity "$photo" "$work/other.y4m" --method blend --force
"$prefix/bin/kv" diff "$photo" "$work/other.y4m" "$work/before.pgm"
cp "$work/cmake/kv_algoSSE.so" "$libraries/kv_algo/"
grep -q '"member": "kv_algoSSE"' <<<"$("$prefix/bin/kv" diff "$photo" "$work/other.y4m" "$work/after.pgm" --json)" ||
  fail "the member was not asked"
cmp "$work/before.pgm" "$work/after.pgm"
rm "$libraries/kv_algo/kv_algoSSE.so"

echo "== by pkg-config"
mkdir "$work/pkg"
export PKG_CONFIG_PATH=$libraries/pkgconfig
for example in guide host stop threads; do
  # shellcheck disable=SC2046
  "$compiler" -std=c++20 "$source/examples/$example/main.cpp" -o "$work/pkg/$example" $(pkg-config --cflags --libs kv_run)
done
LD_LIBRARY_PATH=$libraries run_examples "$work/pkg"
cmp "$work/cmake/picture.ppm" "$work/pkg/picture.ppm"

echo "== in C, by CMake and by pkg-config"
c_examples="convert box_filter find track stop own_threads"
cmake -S "$source/examples/c" -B "$work/c" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_C_FLAGS="-Wall -Wextra -Wpedantic -Werror" >"$work/log" || { cat "$work/log"; fail "configuring C"; }
cmake --build "$work/c" >"$work/log" || { cat "$work/log"; fail "building C"; }
for example in $c_examples; do
  [ "$(wc -l <"$source/examples/c/$example.c")" -lt 60 ] || fail "$example.c is long"
  "$work/c/$example" || fail "$example"
  # shellcheck disable=SC2046
  cc -std=c99 -pedantic "$source/examples/c/$example.c" -o "$work/pkg/$example" $(pkg-config --cflags --libs kv_c) -lm -pthread
  LD_LIBRARY_PATH=$libraries "$work/pkg/$example" || fail "$example by pkg-config"
done
[ "$(objdump -p "$libraries/libkv_c.so" | awk '/SONAME/ { print $2 }')" = libkv_c.so.0 ] || fail "SONAME of libkv_c"

# A cross build's library is not for this machine's Python.
machine_of() { file -bL "$1" | cut -d, -f2; }
if [ "$(machine_of "$libraries/libkv_c.so.0")" = "$(machine_of /usr/bin/python3)" ]; then
  echo "== in Python"
  env -i PYTHONDONTWRITEBYTECODE=1 PYTHONPATH="$prefix/lib/python3/dist-packages" /usr/bin/python3 - "$prefix" <<'PYTHON' || fail "the Python package"
import sys
import kv_algo
assert str(kv_algo.library_path).startswith(sys.argv[1]), kv_algo.library_path
assert all(check.is_equal for check in kv_algo.selftest(2)) and sum(one.is_usable for one in kv_algo.members()) >= 2
PYTHON
fi

echo "== includes by former names"
for header in exceptions kv_exception message_text; do echo "#include \"errors/$header.h\""; done >"$work/former.cpp"
echo 'int main() { return kv_std::SpinBarrierException(12603).Code() == 12603 ? 0 : 1; }' >>"$work/former.cpp"
# shellcheck disable=SC2046
"$compiler" -std=c++20 "$work/former.cpp" -o "$work/former" $(pkg-config --cflags --libs kv_Image)
LD_LIBRARY_PATH=$libraries "$work/former"
for header in runner thread_limit worker_pool; do echo "#include \"host/$header.h\""; done >"$work/former.cpp"
echo 'int main() { return kv_host::WorkerPool(3).ThreadCount() == 3 ? 0 : 1; }' >>"$work/former.cpp"
# shellcheck disable=SC2046
"$compiler" -std=c++20 "$work/former.cpp" -o "$work/former" $(pkg-config --cflags --libs kv_host)
LD_LIBRARY_PATH=$libraries "$work/former"

echo "== the host's own folder comes first"
cp "$libraries/kv_algo/kv_algoC.so" "$libraries/libkv_Math.so.0" "$work/cmake/"
loaded=$(LD_DEBUG=files "$work/cmake/host" "$work/cmake/again.ppm" 2>&1 | grep 'calling init.*kv_algo' || true)
grep -q "$work/cmake/kv_algoC.so" <<<"$loaded" || fail "kv_algoC beside the program was not loaded"
grep -qE "$libraries/kv_algo/kv_algo(MMX|NEON).so" <<<"$loaded" || fail "the other members were not found in $libraries/kv_algo"
cmp "$work/cmake/picture.ppm" "$work/cmake/again.ppm"
echo "all is well"
