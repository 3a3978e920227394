#!/usr/bin/env bash
# installed_test.sh SOURCE NEW OLD: on a bare system, as root. Installs the packages of the folder OLD with apt, upgrades them
# to those of NEW, uses each as its users do, purges them, and looks at what is left.
set -euo pipefail
source=$1 new=$2 old=$3
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
fail() { echo "installed_test: $*" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
apt() { apt-get -q -y --no-install-recommends "$@" >"$work/log" 2>&1 || { tail -n 30 "$work/log"; fail "apt-get $*"; }; }
# Files and folders, other than what apt, dpkg and caches of the system remember.
state() {
  find /etc /usr /var /opt /srv -xdev \( -path /var/lib/dpkg -o -path /var/lib/apt -o -path /var/cache -o -path /var/log \) \
    -prune -o -print | grep -v /__pycache__ | LC_ALL=C sort
}
names=()
for package in "$new"/*.deb; do names+=("$(dpkg-deb -f "$package" Package)"); done
for name in "${names[@]}"; do
  if dpkg-query -W "$name" >/dev/null 2>&1; then fail "$name is here already"; fi
done

echo "== what others bring"
apt update
# shellcheck disable=SC2046
apt install g++ pkgconf libc6-dev ffmpeg gstreamer1.0-tools gstreamer1.0-plugins-base lintian \
  $(for package in "$new"/*.deb; do dpkg-deb -f "$package" Depends | tr ',' '\n'; done |
    sed 's/ *(.*//; s/ //g' | grep -v -e kv-algo -e kv-c | sort -u)
state >"$work/before"

echo "== upgrade"
apt install "$old"/*.deb
before=$(dpkg-query -W -f='${Version}' kv-algo-tools)
[ "$(kv --version)" = "kv $before" ] || fail "kv is of $(kv --version)"
kv convert "$source/assets/seeding-720x576.y4m" "$work/old.ppm"
apt install "$new"/*.deb
after=$(dpkg-query -W -f='${Version}' kv-algo-tools)
dpkg --compare-versions "$after" gt "$before" || fail "$after is no upgrade of $before"
for package in "$new"/*.deb; do
  name=$(dpkg-deb -f "$package" Package)
  [ "$(dpkg-query -W -f='${Status} ${Version}' "$name")" = "install ok installed $(dpkg-deb -f "$package" Version)" ] ||
    fail "$name was not upgraded"
  [ -z "$(dpkg -V "$name")" ] || fail "files of $name are not as they were packed: $(dpkg -V "$name")"
done
if find /usr -xdev -name "lib*kv_*.so.$before" | grep .; then fail "these files of $before are left"; fi
echo "$before -> $after"

cd "$work"
echo "== kv-algo-tools, kv-algo-av"
[ "$(kv --version)" = "kv $after" ] || fail "kv is of $(kv --version)"
kv convert "$source/assets/seeding-720x576.y4m" new.ppm
cmp old.ppm new.ppm || fail "the upgrade changes pixels"
kv selftest >log.selftest || { cat log.selftest; fail "kv selftest"; }
ffmpeg -v error -f lavfi -i testsrc=size=64x48:rate=5:duration=1 -pix_fmt yuv420p -c:v mpeg4 clip.mp4 </dev/null
kv convert clip.mp4 clip.y4m
[ "$(grep -ac FRAME clip.y4m)" = 5 ] || fail "five frames were expected of an MP4 file"
for name in "${names[@]}"; do
  for program in $(dpkg -L "$name" | grep -E '^/usr/s?bin/.'); do
    [ -s "/usr/share/man/man1/${program##*/}.1.gz" ] || fail "$program has no manual page"
  done
done
echo "== libkv-algo-dev, libkv-c-dev"
# shellcheck disable=SC2046
g++ -std=c++20 "$source/examples/host/main.cpp" -o host $(pkg-config --cflags --libs kv_run)
./host picture.ppm
# shellcheck disable=SC2046
gcc -std=c99 "$source/examples/c/convert.c" -o convert $(pkg-config --cflags --libs kv_c)
./convert | grep -q "library $after" || fail "the C library is of another version"
echo "== python3-kv-algo"
(cd / && env -i /usr/bin/python3 - <<'PYTHON'
import kv_algo, numpy
assert kv_algo.__file__.startswith("/usr/lib/python3/dist-packages/"), kv_algo.__file__
assert sum(one.is_usable for one in kv_algo.members()) >= 2
assert kv_algo.box_filter(numpy.full((4, 4), 9, numpy.uint8), 3).tolist() == [[9] * 4] * 4
PYTHON
)
echo "== gstreamer1.0-kv-algo"
export GST_REGISTRY=$work/registry.bin
[ "$(gst-inspect-1.0 kvalgo | sed -n 's/^ *Version *//p')" = "$after" ] || fail "the plug-in is of another version"
gst-launch-1.0 -q videotestsrc num-buffers=2 ! video/x-raw,format=UYVY ! kvboxfilter ! kvconvert ! video/x-raw,format=BGRx ! fakesink

echo "== lintian"
accepted=(
  maintscript-calls-ldconfig                    # cpack writes it, beside the trigger
  package-name-doesnt-match-sonames             # two libraries of one version in a package
  pkg-config-unavailable-for-cross-compilation  # libraries are in /usr/lib on every architecture
)
(IFS=,; lintian --allow-root --fail-on error,warning --pedantic --suppress-tags "${accepted[*]}" "$new"/*.deb)

echo "== removed, purged"
apt remove "${names[@]}"
[ ! -e /usr/bin/kv ] || fail "the program stays after its removal"
dpkg --purge "${names[@]}" >"$work/log" 2>&1 || { cat "$work/log"; fail "dpkg --purge"; }
state >"$work/after"
diff "$work/before" "$work/after" || fail "purging leaves files, or takes some of others"
for name in "${names[@]}"; do
  if dpkg-query -W "$name" >/dev/null 2>&1; then fail "dpkg remembers $name"; fi
done
echo "all is well"
