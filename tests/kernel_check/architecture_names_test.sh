#!/usr/bin/env bash
# usage: architecture_names_test.sh PROJECT
# What belongs to one architecture is named behind its doors and nowhere else: intrinsics, vector types, their headers,
# cpuid and flags for the instruction set.
set -euo pipefail
export LC_ALL=C

found() { # FOLDER: every such name outside the doors, by file and line
  (
    cd "$1"
    names='\b_mm(256|512)?_[a-z0-9]+|\b__m(64|128|256|512)[di]?\b|\bv[a-z0-9]+q?_[suf](8|16|32|64)\b'
    names+='|\b(u?int|float|poly)(8|16|32|64)x(2|4|8|16)(x[234])?_t\b|[a-z]*mmintrin\.h|arm_neon\.h|\bsimde'
    names+='|[a-z_]*cpuid|__builtin_(ia32|cpu|neon|aarch64)_'
    grep -rnE "$names" --include='*.h' --include='*.cpp' --exclude-dir=build --exclude-dir=.git . |
      grep -vE '^\./(algorithms/simd|algorithms/[a-z0-9_]+/kernels|frame/platform)/' || true
    grep -rnE '(^|[^A-Za-z0-9_-])-m[a-z0-9]' --include=CMakeLists.txt --include='*.cmake' --include='CMakePresets.json' \
      --exclude-dir=build --exclude-dir=.git . | grep -vE '^\./algorithms/CMakeLists.txt:|-mbranch-protection' || true
  )
}

# What it looks for, it finds.
planted=$(mktemp -d)
trap 'rm -rf "$planted"' EXIT
mkdir -p "$planted/frame/platform" "$planted/run"
lines=('auto a = _mm_add_epi16(b, c);' '__m128i a;' 'a = vaddq_u8(b, c);' 'uint8x16_t a;' '#include <emmintrin.h>'
  '#include <arm_neon.h>' '#include <simde/x86/sse2.h>' '__get_cpuid(1, &a);' '__builtin_cpu_supports("avx2");')
for line in "${lines[@]}"; do
  echo "$line" >"$planted/frame/platform/behind_a_door.cpp"
  [ -z "$(found "$planted")" ] || { echo "found behind a door: $line" >&2; exit 1; }
  echo "$line" >"$planted/run/outside.cpp"
  [ -n "$(found "$planted")" ] || { echo "not found: $line" >&2; exit 1; }
  rm "$planted/run/outside.cpp"
done
echo 'add_compile_options(-mavx2)' >"$planted/run/CMakeLists.txt"
[ -n "$(found "$planted")" ] || { echo "not found: -mavx2" >&2; exit 1; }

outside=$(found "$1")
if [ -n "$outside" ]; then
  echo "names of an architecture outside their places:" >&2
  echo "$outside" >&2
  exit 1
fi
