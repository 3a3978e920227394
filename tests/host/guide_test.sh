#!/usr/bin/env bash
# guide_test.sh SOURCE: every piece of C++ in the host guide is in one of the examples, which are built and run, line for
# line but for the indentation.
set -euo pipefail
source=$1
lines() { sed 's/^ *//; /^$/d' "$@"; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

awk -v folder="$work" '/^```cpp$/ { inside = 1; file = folder "/" ++count; next } /^```$/ { inside = 0 } inside { print >file }' \
  "$source/docs/write_a_host.md"
pieces=("$work"/*)
[ "${#pieces[@]}" -ge 8 ] || { echo "guide_test: only ${#pieces[@]} pieces of code were found" >&2; exit 1; }
for piece in "${pieces[@]}"; do
  wanted=$(lines "$piece")
  found=
  for example in "$source"/examples/*/main.cpp; do
    case $(lines "$example") in *"$wanted"*) found=$example ;; esac
  done
  [ -n "$found" ] || { echo "guide_test: no example has this piece:" >&2; cat "$piece" >&2; exit 1; }
done
echo "${#pieces[@]} pieces, each in an example"
