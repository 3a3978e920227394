#!/usr/bin/env bash
# hardened_test.sh BUILD: whatever is installed has full RELRO, resolves its symbols when it is loaded, has no executable
# stack, and checks its stack frames and what it gives to the C library; programs may be loaded anywhere, code is not written
# to when it is loaded, and every function that others call begins with the mark of a place that may be jumped to.
set -euo pipefail
build=$1
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work" >"$work/log" || { cat "$work/log"; exit 1; }

failed=0
fail() {
  echo "hardened_test: ${file#"$work/"}: $*" >&2
  failed=1
}
marked() { # FILE
  python3 - "$1" <<'PYTHON'
import re
import subprocess
import sys

def tell(*options):
    return subprocess.run(["readelf", "-W", *options, sys.argv[1]], check=True, capture_output=True, text=True).stdout

data = open(sys.argv[1], "rb").read()
# endbr64; or bti c, and paciasp, which is one too
marks = (b"\xf3\x0f\x1e\xfa",) if "X86-64" in tell("-h") else (b"\x5f\x24\x03\xd5", b"\x3f\x23\x03\xd5")
found = re.search(r" \.text +PROGBITS +([0-9a-f]+) ([0-9a-f]+) ([0-9a-f]+)", tell("-S"))
start, offset, size = (int(one, 16) for one in found.groups())
functions = re.findall(r"^ *\d+: ([0-9a-f]+) +\d+ FUNC +(?:GLOBAL|WEAK) +DEFAULT +\d+ (\S+)", tell("--dyn-syms"), re.M)
places = [(int(address, 16), name) for address, name in functions]
missing = [name for address, name in places
           if not (start <= address < start + size and data[address - start + offset:].startswith(marks))]
if missing:
    sys.exit(f"{len(missing)} of {len(places)}: {missing[:5]}")
if ".so" in sys.argv[1] and not places:
    sys.exit("it exports no function")
PYTHON
}
check() { # FILE
  local file=$1 headers sections dynamic symbols
  headers=$(readelf -Whl "$file")
  dynamic=$(readelf -Wd "$file")
  symbols=$(readelf -W --dyn-syms "$file")
  grep -q '^ *GNU_RELRO' <<<"$headers" || fail "no RELRO"
  grep -q 'FLAGS_1.* NOW' <<<"$dynamic" || fail "RELRO is partial: symbols are resolved late"
  grep -q '^ *GNU_STACK .* RW ' <<<"$headers" || fail "the stack is executable"
  if grep -q '^ *INTERP' <<<"$headers"; then
    grep -q 'FLAGS_1.* PIE' <<<"$dynamic" || fail "no position-independent executable"
  fi
  if grep -qE 'TEXTREL' <<<"$dynamic"; then fail "code is changed when it is loaded"; fi
  marked "$file" || fail "functions that others call are not marked"
  grep -q ' UND __stack_chk_fail' <<<"$symbols" || fail "no stack protector"
  # These call nothing whose size a compiler could know; what they are compiled with is looked at below.
  case $file in */libkv_Math.so* | */libgstkvalgo.so) return ;; esac
  grep -q ' UND __[a-z]*_chk@' <<<"$symbols" || fail "calls of the C library are not checked"
}

files=()
while IFS= read -r -d '' file; do
  if [ "$(head -c 4 "$file" | tail -c 3)" = ELF ]; then files+=("$file"); fi
done < <(find "$work" -type f -size +3c -print0)
[ ${#files[@]} -ge 6 ] || { echo "hardened_test: the program, members and libraries were expected: ${files[*]}" >&2; exit 1; }
for file in "${files[@]}"; do check "$file"; done

# One source without the options would not show in a file that has others.
file=compile_commands.json
unchecked=$(grep '"command":' "$build/compile_commands.json" | grep -E -- '-c [^ ]*/(image|errors|geometry|frame|algorithms|plugin|run|capi|check|host|gstreamer)/[^ ]*"' |
  grep -v -e /kernels/ -e '-fstack-protector-strong .*-D_FORTIFY_SOURCE=[23]' || true)
[ -z "$unchecked" ] || fail "without checks: $(sed 's/.* -c //' <<<"$unchecked" | tr '\n' ' ')"
unmarked=$(grep '"command":' "$build/compile_commands.json" | grep -v -e '-fcf-protection=full' -e '-mbranch-protection=standard' -e ' -o tests/' |
  grep -oE -- ' -c .*/(image|errors|geometry|frame|algorithms|plugin|run|capi|check|host|gstreamer)/[^ "]*' | sed 's/.* -c //' || true)
[ -z "$unmarked" ] || fail "without marks: $(tr '\n' ' ' <<<"$unmarked")"
# Kernels pay for no checks: they take a third of the speed of some.
checked=$(grep '"command":' "$build/compile_commands.json" | grep /kernels/ |
  grep -v -e '-D_FORTIFY_SOURCE=[23] .*-fno-stack-protector -U_FORTIFY_SOURCE' || true)
[ -z "$checked" ] || fail "kernels with checks: $(sed 's/.* -c //' <<<"$checked" | tr '\n' ' ')"
[ $failed = 0 ]
echo "${#files[@]} files are hardened"
