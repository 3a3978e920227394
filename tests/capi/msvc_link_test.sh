#!/usr/bin/env bash
# msvc_link_test.sh SOURCE BUILD RUN…: compiles a program for Microsoft's ABI, links it with kv_c.lib as Microsoft's linker
# does, without MinGW's runtime, and runs it.
set -euo pipefail
source=$1 build=$2
shift 2
fail() { echo "msvc_link_test: $*" >&2; exit 1; }
[ -e "$build/capi/kv_c.lib" ] || fail "there is no kv_c.lib; llvm-dlltool makes it"
program=$build/bin/msvc_program.exe
clang --target=x86_64-pc-windows-msvc -std=c99 -pedantic -Wall -Wextra -Werror -ffreestanding -O1 -I"$source/capi" \
  -c "$source/tests/capi/msvc_program.c" -o "$build/capi/msvc_program.obj"
lld-link /nologo /nodefaultlib /entry:start /subsystem:console /out:"$program" "$build/capi/msvc_program.obj" "$build/capi/kv_c.lib"
imports=$(x86_64-w64-mingw32-objdump -p "$program" | awk '/DLL Name:/ { print $3 }')
[ "$imports" = kv_c.dll ] || fail "the program needs more than kv_c.dll: $imports"
status=0
"$@" "$program" || status=$?
[ $status = 42 ] || fail "the program ended with $status"
echo "all is well"
