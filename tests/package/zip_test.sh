#!/usr/bin/env bash
# zip_test.sh SOURCE BUILD RUN…: makes the ZIP file for Windows, looks into it, runs kv.exe and a program of Microsoft's ABI
# from it.
set -euo pipefail
source=$1 build=$2
shift 2
run=("$@")
fail() { echo "zip_test: $*" >&2; exit 1; }
work=$build/zip_test
rm -rf "$work"
mkdir -p "$work"
trap 'rm -rf "$work"' EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || { cat "$work/log"; fail "cpack"; }
[ "$(ls "$work" | grep -c '\.zip$')" = 1 ] || fail "one ZIP file was expected: $(ls "$work")"
(cd "$work" && cmake -E tar xf ./*.zip)
top=$(cd "$work"/kv-algo-*-windows-x86_64 && pwd)

echo "== content"
(cd "$top" && find . -type f ! -path './include/kv_algo/*' | sed 's,^\./,,' | LC_ALL=C sort) >"$work/list"
diff "$source/tests/package/zip_list.txt" "$work/list" || fail "the files are not those of zip_list.txt"
[ "$(find "$top/include/kv_algo" -name '*.h' | wc -l)" -ge 60 ] || fail "headers are missing"
for file in "$top"/licences/*; do [ -s "$file" ] || fail "$file is empty"; done

python3 "$source/tests/package/check_sbom.py" "$top" "$top/sbom.spdx.json" || fail "SBOM"
echo "== nothing else is needed"
for file in "$top"/bin/*; do
  for name in $(x86_64-w64-mingw32-objdump -p "$file" | awk '/DLL Name:/ { print $3 }'); do
    case $name in KERNEL32.dll | msvcrt.dll | ADVAPI32.dll | SHELL32.dll | USER32.dll) continue ;; esac
    [ -e "$top/bin/$name" ] || fail "$file needs $name"
  done
done
if grep -rlaF -e "$build" -e "$source" "$top"; then fail "these files know where they were made"; fi

echo "== hardening"
for file in "$top"/bin/*; do
  headers=$(x86_64-w64-mingw32-objdump -p "$file")
  for flag in NX_COMPAT DYNAMIC_BASE HIGH_ENTROPY_VA; do
    grep -q "^[[:space:]]*$flag$" <<<"$headers" || fail "$file is not marked $flag"
  done
done

echo "== kv.exe"
cd "$top"
kv() { "${run[@]}" bin/kv.exe "$@" </dev/null; }
kv --version | tr -d '\r' | grep -q '^kv ' || fail "kv --version"
kv convert share/kv_algo/seeding-720x576.y4m photo.png --threads 2
[ "$(head -c 8 photo.png | od -An -tx1 | tr -d ' ')" = 89504e470d0a1a0a ] || fail "no PNG file"
kv convert photo.png again.bmp
kv convert share/kv_algo/seeding-720x576.y4m direct.bmp
cmp again.bmp direct.bmp || fail "PNG changes pixels"
kv members | grep -c 'usable\|kv_algo' >/dev/null || fail "no members"

echo "== a program of another compiler"
clang --target=x86_64-pc-windows-msvc -std=c99 -pedantic -Wall -Wextra -Werror -ffreestanding -O1 -Iinclude \
  -c "$source/tests/capi/msvc_program.c" -o program.obj
lld-link /nologo /nodefaultlib /entry:start /subsystem:console /out:bin/program.exe program.obj lib/kv_c.lib
status=0
"${run[@]}" bin/program.exe || status=$?
[ $status = 42 ] || fail "the program ended with $status"
echo "all is well"
