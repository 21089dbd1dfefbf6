#!/usr/bin/env bash
# Checks what the compiler does not: that every test file is built and run, and that files keep to
# their size. The argument is a build folder with compile_commands.json.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:?usage: check_tree.sh BUILD_FOLDER}
failed=0

while read -r file; do
  grep -q "/$file\"" "$build/compile_commands.json" || {
    echo "check_tree: $file is not built by any test program; list it in its folder's CMakeLists.txt" >&2
    failed=1
  }
done < <(git ls-files --cached --others --exclude-standard '*_test.cc')

while read -r file; do
  lines=$(wc -l <"$file")
  [ "$lines" -le 1000 ] || {
    echo "check_tree: $file has $lines lines; 1000 is the most, split it by idea" >&2
    failed=1
  }
done < <(git ls-files --cached --others --exclude-standard '*.cc' '*.h')
exit "$failed"
