#!/usr/bin/env bash
# pipelines_test.sh SOURCE BUILD: every pipeline of docs/gstreamer.md runs, without a critical message, and gst-inspect shows
# every element of its table.
set -euo pipefail
source=$1 build=$2
fail() { echo "pipelines_test: $*" >&2; exit 1; }
command -v gst-launch-1.0 >/dev/null || { echo "skipped: gst-launch-1.0 is missing, script/bootstrap installs it"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export PATH=$build/bin:$PATH GST_PLUGIN_PATH=$build/bin/gstreamer-1.0 GST_REGISTRY=$work/registry.bin
export G_DEBUG=fatal-criticals GST_DEBUG_NO_COLOR=1
page=$source/docs/gstreamer.md

elements=$(sed -n '/^## /q; s/^| `\(kv[a-z]*\)` |.*/\1/p' "$page" | sort)
found=$(gst-inspect-1.0 kvalgo | sed -n 's/^  \(kv[a-z]*\): .*/\1/p' | sort)
[ "$elements" = "$found" ] || fail "the page has $elements, the plug-in $found"
for element in $elements; do
  gst-inspect-1.0 "$element" >"$work/inspect" || fail "gst-inspect-1.0 $element"
  grep -q 'Rank  *none (0)' "$work/inspect" || fail "$element has a rank"
done

mkdir "$work/run"
cd "$work/run"
cp "$source/assets/seeding-720x576.y4m" photo.y4m
awk -v work="$work" '/^```sh$/ { n++; on = 1; next } /^```$/ { on = 0 } on { print > (work "/" sprintf("%02d", n) ".sh") }' "$page"
count=0
for pipeline in "$work"/[0-9]*.sh; do
  # There is no screen here.
  sed -i 's/autovideosink/fakesink/' "$pipeline"
  timeout 60 bash -euo pipefail "$pipeline" >"$work/log" 2>&1 || { cat "$pipeline" "$work/log"; fail "the pipeline does not run"; }
  if grep -E 'CRITICAL|WARNING|ERROR' "$work/log"; then cat "$pipeline"; fail "the pipeline complains"; fi
  count=$((count + 1))
done
[ "$count" = "$(grep -c '^```sh$' "$page")" ] || fail "of $count pipelines some did not run"
[ "$(stat -c %s soft.gray)" = $((720 * 576)) ] || fail "kv's frame did not come through"
echo "$count pipelines ran"

# The bytes of kv for the same frames, when it is given what the caps mean.
caps="video/x-raw,width=322,height=242,framerate=25/1"
make() { # PATTERN FORMAT FILE
  gst-launch-1.0 -q videotestsrc num-buffers=5 pattern="$1" ! "$caps,format=$2" ! filesink location="$3"
}
make snow UYVY a.uyvy
make smpte UYVY b.uyvy
raw="--size 322x242"
parse() { # FORMAT FILE [WIDTH HEIGHT]: the beginning of a pipeline
  echo "filesrc location=$2 ! rawvideoparse format=$1 width=${3:-322} height=${4:-242} framerate=25/1"
}
# shellcheck disable=SC2086
same() { # WHAT FILE PIPELINE…: the pipeline's file is kv's
  local what=$1 file=$2
  shift 2
  gst-launch-1.0 -q "$@" ! filesink location=gst.raw >"$work/log" 2>&1 || { cat "$work/log"; fail "$what"; }
  cmp gst.raw "$file" || fail "$what: other bytes than kv's"
}
colours="--matrix 601 --range limited --chroma centre"
# shellcheck disable=SC2046,SC2086
{
  kv convert a.uyvy kv.bgra $raw $colours
  same kvconvert kv.bgra $(parse uyvy a.uyvy) ! kvconvert threads=3 ! video/x-raw,format=BGRA
  kv convert kv.bgra kv.yuy2 $raw $colours
  same "kvconvert back" kv.yuy2 $(parse bgra kv.bgra) ! kvconvert ! video/x-raw,format=YUY2
  for method in line field; do
    kv parity a.uyvy kv.uyvy $raw --fields top --method $method
    same "kvparity $method" kv.uyvy $(parse uyvy a.uyvy) interlaced=true top-field-first=true ! kvparity method=$method
  done
  kv key a.uyvy kv.bgra $raw $colours --color 90,60 --window 3
  same kvalphacolor kv.bgra $(parse uyvy a.uyvy) ! kvalphacolor cb=90 cr=60 window=3 output=bgra
  kv convert a.uyvy still.uyvy $raw --frames 0:1
  kv pan still.uyvy kv.uyvy --photo-size 322x242 --size 120x242 --frames 5 --direction right
  cat still.uyvy still.uyvy still.uyvy still.uyvy still.uyvy >stills.uyvy
  same kvpan kv.uyvy $(parse uyvy stills.uyvy) ! kvpan duration=0.2 width=120
  kv filter soft.gray kv.gray --size 720x576 --window 9
  same kvboxfilter kv.gray $(parse gray8 soft.gray 720 576) ! kvboxfilter window=9 threads=2
  # Rows of grey end on 4 bytes there.
  kv diff a.uyvy b.uyvy kv.pgm $raw --frames 0:1
  gst-launch-1.0 -q $(parse uyvy a.uyvy) ! kvdiff name=d ! video/x-raw,format=GRAY8 ! fdsink fd=3 $(parse uyvy b.uyvy) ! d. 3>gst.gray
  python3 - <<'PYTHON' || fail "kvdiff: other bytes than kv's"
width, height, stride = 322, 242, 324
pixels = open("kv.pgm", "rb").read()[-width * height:]
frame = open("gst.gray", "rb").read()[:stride * height]
assert len(frame) == stride * height
assert all(frame[y * stride:y * stride + width] == pixels[y * width:(y + 1) * width] for y in range(height))
PYTHON
}
echo "the bytes are kv's"
