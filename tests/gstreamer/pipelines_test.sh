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
