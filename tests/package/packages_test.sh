#!/usr/bin/env bash
# packages_test.sh SOURCE BUILD COMPILER: makes the Debian packages, has lintian judge them, installs them, runs what
# they brought and removes them.
set -euo pipefail
source=$1 build=$2 compiler=$3
fail() { echo "packages_test: $*" >&2; exit 1; }
for tool in dpkg-shlibdeps lintian; do
  command -v $tool >/dev/null || { echo "skipped: $tool is missing, script/bootstrap installs it"; exit 77; }
done

. "$source/tests/package/dependencies.sh"
work=$(mktemp -d)
names=(python3-kv-algo gstreamer1.0-kv-algo kv-algo-av kv-algo-tools libkv-c-dev libkv-c0 libkv-algo-dev libkv-algo0)
installed=no
finish() {
  [ $installed = no ] || dpkg --purge "${names[@]}" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap finish EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || { cat "$work/log"; fail "cpack"; }
cd "$work"
[ "$(ls -- *.deb | wc -l)" = 8 ] || fail "eight packages were expected: $(ls)"
check_dependencies "$work"
mkdir content
for package in ./*.deb; do
  name=$(dpkg-deb -f "$package" Package)
  dpkg-deb -x "$package" "content/$name"
  python3 "$source/tests/package/check_sbom.py" "content/$name" "content/$name/usr/share/doc/$name/sbom.spdx.json" || fail "SBOM"
done
if grep -rlaF -e "$build" -e "$source" content; then fail "these files know where they were made"; fi
echo "== lintian"
lintian --fail-on error --suppress-tags bad-distribution-in-changes-file ./*.deb

if [ "$(id -u)" -ne 0 ]; then
  echo "installing is skipped: only root may"
  exit 77
fi
for name in "${names[@]}"; do
  dpkg-query -W -f='${Status}' "$name" 2>/dev/null | grep -q 'ok installed' && { echo "skipped: $name is installed"; exit 77; }
done
echo "== install, run, remove"
ours() { find /usr /etc /var/lib/dpkg/info \( -name '*kv[-_]*' -o -name 'libkv*' -o -name kv -o -name 'kv.*' \) 2>/dev/null | LC_ALL=C sort; }
ours >before
installed=yes
dpkg -i ./*.deb >"$work/log" 2>&1 || { cat "$work/log"; fail "dpkg -i"; }
/usr/bin/kv --version
/usr/bin/kv convert "$source/assets/seeding-720x576.y4m" photo.png --threads 2
# A photograph through the module, from where it is installed.
ffmpeg -v error -i photo.png photo.jpg </dev/null
/usr/bin/kv convert photo.jpg again.png --json | grep -q '"codec": "mjpeg"' || fail "the module does not read"
file photo.png | grep -q '720 x 576' || fail "no picture"
man -w kv >/dev/null 2>&1 || [ -e /usr/share/man/man1/kv.1.gz ] || [ -e /etc/dpkg/dpkg.cfg.d/docker ] || fail "no manual page"
# shellcheck disable=SC2046
"$compiler" -std=c++20 "$source/examples/host/main.cpp" -o host $(pkg-config --cflags --libs kv_run)
./host picture.ppm
# shellcheck disable=SC2046
cc -std=c99 "$source/examples/c/convert.c" -o convert $(pkg-config --cflags --libs kv_c)
./convert
# The elements where GStreamer looks, over the library and the members where Debian has them.
GST_REGISTRY=$work/registry.bin gst-launch-1.0 -q videotestsrc num-buffers=2 ! video/x-raw,format=UYVY ! kvconvert \
  ! video/x-raw,format=BGRx ! fakesink || fail "the elements do not run"
# From Python, without anything in the environment.
env -i /usr/bin/python3 - <<'PYTHON'
import kv_algo, numpy
assert kv_algo.__file__ == "/usr/lib/python3/dist-packages/kv_algo/__init__.py", kv_algo.__file__
assert str(kv_algo.library_path).startswith("/usr/lib/") and sum(one.is_usable for one in kv_algo.members()) >= 2
assert kv_algo.box_filter(numpy.full((4, 4), 9, numpy.uint8), 3).tolist() == [[9] * 4] * 4
PYTHON
compiled=$(ls /usr/lib/python3/dist-packages/kv_algo/__pycache__)
grep -q '^_colour.cpython' <<<"$compiled" || fail "postinst compiles nothing: $compiled"
dpkg --purge "${names[@]}" >"$work/log" 2>&1 || { cat "$work/log"; fail "dpkg --purge"; }
installed=no
ours | diff before - || fail "purging leaves files"
[ ! -e /usr/bin/kv ] && [ ! -e /usr/lib/kv_algo ] && [ ! -e /usr/lib/python3/dist-packages/kv_algo ] || fail "something was not removed"
echo "all is well"
