#!/usr/bin/env bash
# documents_test.sh KV SOURCE: the manual page says what kv says of itself and is well formed, and the shells complete
# what there is.
set -euo pipefail
kv=$1 source=$2
fail() { echo "documents_test: $*" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$source/script/manual_page" "$kv" >"$work/kv.1"
diff "$source/docs/man/kv.1" "$work/kv.1" || fail "docs/man/kv.1 is old: run script/manual_page >docs/man/kv.1"
groff -man -Tutf8 -ww -rCHECKSTYLE=10 "$work/kv.1" 2>"$work/warnings" >"$work/page"
[ ! -s "$work/warnings" ] || { cat "$work/warnings"; fail "groff warns"; }
grep -qE 'work +on +COUNT +frames' "$work/page" || fail "the page is not whole"

complete() { # WORDS…: what bash would offer for the last one
  bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kv 2>/dev/null; printf "%s\n" "${COMPREPLY[@]}"' \
    bash "$source/completion/kv.bash" "$@"
}
offers() { # WORD WORDS…
  local wanted=$1
  shift
  grep -qxe "$wanted" <<<"$(complete "$@")" || fail "completing '$*' does not offer $wanted: $(complete "$@" | tr '\n' ' ')"
}
for command in $("$kv" --help | sed -n '/^Subcommands:/,/^$/ s/^  \([a-z][a-z-]*\) .*/\1/p'); do
  offers "$command" "$kv" "${command:0:1}"
  for option in $("$kv" "$command" --help | grep -o '^  -[^ ]*' | grep -o -- '--[a-z-]*'); do
    offers "$option" "$kv" "$command" x "${option:0:3}"
  done
done
offers --version "$kv" --
offers kv_algoC "$kv" convert --member ''
offers png "$kv" convert --to-format p
offers right "$kv" pan --direction ''
[ -z "$(complete "$kv" convert "$work/" | tr -d '\n')" ] || fail "file names are left to the shell"

if command -v zsh >/dev/null; then
  zsh -n "$source/completion/_kv" || fail "zsh cannot read its completion"
fi

# Every algorithm has a page.
names=$({ "$kv" members --for none 2>&1 || true; } | sed 's/.*there are //; s/,//g')
[ "$(wc -w <<<"$names")" -ge 12 ] || fail "kv does not name the algorithms: $names"
for name in $names; do
  grep -q "^|.*\"$name\".*\.md)" "$source/docs/README.md" || fail "docs/README.md names no page of $name"
done

# Nothing is coloured, on a terminal or not, and progress stays away from files and pipes.
"$kv" convert "$source/assets/seeding-720x576.y4m" "$work/photo.png" 2>"$work/err"
[ ! -s "$work/err" ] || fail "progress in a file"
script -qec "NO_COLOR=1 $kv convert '$source/assets/seeding-720x576.y4m' $work/photo.png" /dev/null </dev/null >"$work/terminal"
grep -q 'frames: 1' "$work/terminal" || fail "no progress on a terminal"
grep -qE 'frames: 1/1 #{20} [0-9]+\.[0-9] a second, 0:00 left' "$work/terminal" || fail "no rate on a terminal"
grep -q $'\033' "$work/terminal" && fail "escape sequences with NO_COLOR"
script -qec "$kv convert --quiet '$source/assets/seeding-720x576.y4m' $work/photo.png" /dev/null </dev/null >"$work/quiet"
[ ! -s "$work/quiet" ] || fail "progress in spite of --quiet"
echo "all is well"
