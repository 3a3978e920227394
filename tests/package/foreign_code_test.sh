#!/usr/bin/env bash
# foreign_code_test.sh BUILD HOSTILE_MODULE: files with members' names in the current folder and below it are not loaded,
# by the program of the build nor by an installed one, whatever LD_LIBRARY_PATH holds; and no file of either has a
# RUNPATH with an entry that depends on the current folder.
set -euo pipefail
build=$1 hostile=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "foreign_code_test: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$work/installed" >"$work/log" || { cat "$work/log"; fail "cmake --install"; }

echo "== RUNPATH"
checked=0
while read -r file; do
  path=$(readelf -d "$file" 2>/dev/null | sed -n 's/.*(R[UN]*PATH).*\[\(.*\)\]$/\1/p')
  [ -n "$path" ] || continue
  checked=$((checked + 1))
  while read -r -d : entry; do
    case $entry in
      /* | '$ORIGIN' | '$ORIGIN/'*) ;;
      *) fail "$file: RUNPATH $path" ;;
    esac
  done <<<"$path:"
done < <(find "$build/bin" "$work/installed" -type f \( -perm -u+x -o -name '*.so*' \))
[ "$checked" -ge 20 ] || fail "only $checked files have a RUNPATH"

echo "== members' names where nobody should look"
place=$work/place
mkdir -p "$place/open" "$place/trusted"
chmod 777 "$place/open"
for folder in "$place" "$place/open"; do
  for name in kv_algoC kv_algoMMX kv_algoSSE kv_algoSSE2; do cp "$hostile" "$folder/$name.so"; done
done
# One that has no member beside it: the search goes on for every name.
mkdir "$work/alone"
cp "$build/bin/kv" "$build"/bin/libkv_*.so.0 "$work/alone/"
cd "$place"
printf 'P5 4 1 255\nabcd' >picture.pgm
export KV_TEST_MARK=$work/mark
for program in "$build/bin/kv" "$work/installed/bin/kv" "$work/alone/kv"; do
  for path in unset "" : . open "$place/trusted:" ":$place/trusted" "$place/trusted::$place/trusted" ./open open/; do
    if [ "$path" = unset ]; then unset LD_LIBRARY_PATH; else export LD_LIBRARY_PATH=$path; fi
    "$program" members >"$work/members" || true
    "$program" filter picture.pgm out.pgm --window 3 >"$work/log" 2>&1 || [ "$program" = "$work/alone/kv" ] || fail "$program: $(cat "$work/log")"
    [ ! -e "$work/mark" ] || fail "$program loads foreign code with LD_LIBRARY_PATH=$path"
    case $path in
      unset | "") ! grep -q 'search is skipped' "$work/members" || fail "$program skips the search for nothing" ;;
      *) grep -q "kv_algoSSE .*search is skipped: LD_LIBRARY_PATH" "$work/members" || fail "$program does not say that it skips: $path" ;;
    esac
  done
done

echo "== a folder that LD_LIBRARY_PATH names in full"
cp "$hostile" "$place/trusted/kv_algoSSE.so"
LD_LIBRARY_PATH=$place/trusted "$build/bin/kv" members >"$work/members"
[ -e "$work/mark" ] || fail "the system's search is not used: nothing above tested anything"
echo "all is well"
