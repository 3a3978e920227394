#!/usr/bin/env bash
# gallery_test.sh KV: makes the gallery and has a browser open it, wide and as a telephone: no message on the console,
# every picture loaded, nothing wider than the window. Then with a person's own pictures.
set -euo pipefail
kv=$1
fail() { echo "gallery_test: $*" >&2; exit 1; }
command -v chromium >/dev/null || { echo "skipped: chromium is missing, script/bootstrap installs it"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# What the browser finds, written where --dump-dom shows it.
probe='<script>addEventListener("load", () => { const d = document.documentElement; const i = [...document.images];
d.dataset.images = i.length; d.dataset.broken = i.filter(x => !x.complete || !x.naturalWidth).length;
d.dataset.toowide = d.scrollWidth > innerWidth; });</script>'

open_page() { # FOLDER WIDTH PICTURES
  { cat "$1/index.html"; echo "$probe"; } >"$1/probe.html"
  timeout 60 chromium --headless --no-sandbox --disable-gpu --disable-dev-shm-usage --user-data-dir="$work/profile" \
    --enable-logging=stderr --virtual-time-budget=5000 --window-size="$2,900" --dump-dom "file://$work/$1/probe.html" \
    >dom 2>log || { cat log; fail "the browser failed"; }
  grep CONSOLE log && fail "$1 at $2: the console is not empty"
  local found
  found=$(grep -o 'data-[a-z]*="[^"]*"' dom | sort | tr '\n' ' ')
  [ "$found" = "data-broken=\"0\" data-images=\"$3\" data-toowide=\"false\" " ] || fail "$1 at $2: $found"
}

[ "$("$kv" demo -o own --threads 2)" = "open own/index.html" ] || fail "kv demo"
algorithms=$("$kv" members --all | sed -n 's/^    \([A-Za-z]*\):.*/\1/p' | sort -u)
[ "$(wc -w <<<"$algorithms")" = 13 ] || fail "thirteen algorithms were expected: $algorithms"
for algorithm in $algorithms; do
  grep -q "<dd>$algorithm</dd></div><div><dt>answered by</dt><dd>kv_algo" own/index.html || fail "$algorithm is not shown"
done
pictures=$(grep -c '<figure>' own/index.html)
open_page own 1400 "$pictures"
open_page own 500 "$pictures"

# The commands on the page make the same pictures again.
cp -r own again
(cd again && rm difference.png surface.png keyed.png bars-*.y4m bars-*.png && PATH="$(dirname "$kv"):$PATH" bash -e <<<"$(sed 's|.*<pre>||; s|<[^>]*>||g; s|&quot;|"|g' ../own/index.html |
  grep '^kv ')" >/dev/null) || fail "a command of the page failed"
for file in bars-601.png bars-709.png bars-2020.png difference.png surface.png average.png blend.png mask-color.png keyed.png; do cmp "own/$file" "again/$file"; done
for wrong in 601-as-709 709-as-601 2020-as-709; do
  cmp -s own/bars-$wrong.png own/bars-${wrong%%-*}.png && fail "the wrong matrix shows the same colours"
  cmp own/bars-$wrong.png again/bars-$wrong.png
done

"$kv" convert own/scene.y4m "my & photo.png"
"$kv" convert own/scene.y4m other.y4m
"$kv" demo "my & photo.png" other.y4m -o two --threads 1 >/dev/null
open_page two 1400 $((2 * pictures))

status=0
"$kv" demo missing.png -o three 2>message || status=$?
[ $status = 2 ] && [ "$(wc -l <message)" = 1 ] && [ ! -e three/index.html ] || fail "a missing picture: $status $(cat message)"
echo "all is well"
