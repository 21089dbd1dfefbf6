#!/usr/bin/env bash
# Compiles every C++ snippet of the documents for authors against the installed headers.
#
#   snippets_test.sh BUILD_FOLDER CMAKE COMPILER DOCUMENT...
set -euo pipefail
build=$1 cmake=$2 compiler=$3
shift 3
here=$(cd "$(dirname "$0")" && pwd)

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
"$cmake" --install "$build" --component headers --prefix "$place" >"$place/install.log" ||
  { cat "$place/install.log"; echo "FAILED: the installation of the headers" >&2; exit 1; }
for document; do
  folder="$place/$(basename "$document" .md)"
  mkdir "$folder"
  awk -v place="$folder" -v document="$document" -f "$here/snippets.awk" "$document"
  grep -q '^```cpp' "$document" || { echo "FAILED: $document has no snippet" >&2; exit 1; }
done

compile() {
  "$compiler" -std=c++20 -Wall -Wextra -Wno-unused -Werror -fsyntax-only \
    -I "$place/include" -I "$here" "$1" || { echo "FAILED: a snippet does not compile" >&2; return 1; }
}
export -f compile
export compiler place here
find "$place" -mindepth 2 -maxdepth 2 -name '*.cc' -print0 |
  xargs -0 -P "$(nproc)" -I {} bash -c 'compile {}'
