#!/usr/bin/env bash
# Installs a build into a temporary folder and looks at every program and library there for the
# hardening of cmake/qx_hardening.cmake.
#
#   hardening_test.sh BUILD_FOLDER CMAKE fortified|plain
set -euo pipefail
build=$1 cmake=$2 fortified=$3

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
failures=0
fail() { echo "FAILED: $*" >&2; failures=$((failures + 1)); }
# has WHAT TEXT PATTERN FILE
has() { grep -qE "$3" <<<"$2" || fail "${4#"$place"/} $1"; }

"$cmake" --install "$build" --prefix "$place" >"$place/install.log" ||
  { cat "$place/install.log"; exit 1; }

binaries=0
all_symbols=
while IFS= read -r file; do
  [ "$(head -c 4 "$file" | tail -c 3)" = ELF ] || continue
  binaries=$((binaries + 1))
  header=$(readelf -hW "$file")
  dynamic=$(readelf -dW "$file")
  segments=$(readelf -lW "$file")
  symbols=$(nm -D --undefined-only "$file")
  all_symbols+=$symbols$'\n'
  has "is not position independent" "$header" 'Type: +DYN' "$file"
  has "binds its symbols late" "$dynamic" 'FLAGS.*\bNOW\b' "$file"
  has "has no tables that turn read-only" "$segments" 'GNU_RELRO' "$file"
  has "has a stack that can be executed" "$segments" 'GNU_STACK.* RW +0x' "$file"
  has "has no protection of its stack" "$symbols" '__stack_chk_fail' "$file"
  ! grep -qE 'LOAD.* RWE' <<<"$segments" || fail "${file#"$place"/} can write to its own code"
  if grep -q 'X86-64' <<<"$header"; then
    # Every function that can be called through a pointer begins with this instruction.
    marks=$(objdump -d --no-show-raw-insn "$file" | grep -c endbr64 || true)
    [ "$marks" -gt 20 ] || fail "${file#"$place"/} has no marks for indirect calls"
  fi
done < <(find "$place" -type f)
[ "$binaries" -ge 5 ] || fail "only $binaries programs and libraries were found"
if [ "$fortified" = fortified ]; then
  grep -qE '__[a-z]+_chk\b' <<<"$(grep -v stack_chk <<<"$all_symbols")" || fail "no call is fortified"
fi
[ "$failures" -eq 0 ] || exit 1
echo "$binaries programs and libraries are hardened"
