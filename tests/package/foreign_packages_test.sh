#!/usr/bin/env bash
# foreign_packages_test.sh SOURCE BUILD: makes the Debian packages of a build for another architecture, looks into them,
# has lintian judge them, and asks apt whether it would install them there.
set -euo pipefail
source=$1 build=$2
fail() { echo "foreign_packages_test: $*" >&2; exit 1; }
. "$source/tests/package/dependencies.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" 2>&1 || { cat "$work/log"; fail "cpack"; }
rm -rf "$work/_CPack_Packages"
check_dependencies "$work"
files=0
mkdir "$work/one"
for package in "$work"/*.deb; do
  case $(dpkg-deb -f "$package" Architecture) in arm64 | all) ;; *) fail "$package is for $(dpkg-deb -f "$package" Architecture)" ;; esac
  dpkg-deb -x "$package" "$work/content"
  name=$(dpkg-deb -f "$package" Package)
  dpkg-deb -x "$package" "$work/one/$name"
  python3 "$source/tests/package/check_sbom.py" "$work/one/$name" "$work/one/$name/usr/share/doc/$name/sbom.spdx.json" || fail "SBOM"
done
while read -r file; do
  readelf -h "$file" 2>/dev/null | grep -q 'Machine: *AArch64' || fail "$file is for another processor"
  if readelf -WS "$file" | grep -q ' \.symtab '; then fail "$file is not stripped"; fi
  files=$((files + 1))
done < <(find "$work/content" -type f \( -name '*.so*' -o -path '*/bin/kv' \))
[ $files -ge 6 ] || fail "only $files programs and libraries are in the packages"
echo "== lintian"
lintian --fail-on error --suppress-tags bad-distribution-in-changes-file "$work"/*.deb
echo "== apt"
"$source/script/aarch64_sysroot" --try "$work"/*.deb >"$work/log" || { cat "$work/log"; fail "apt would not install them"; }
grep -c '^Inst .*kv-algo\|^Inst .*kv-c' "$work/log"
