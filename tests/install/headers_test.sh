#!/usr/bin/env bash
# Compiles every installed header in a translation unit of its own.
#
#   headers_test.sh BUILD_FOLDER CMAKE COMPILER
set -euo pipefail
build=$1 cmake=$2 compiler=$3

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
"$cmake" --install "$build" --component headers --prefix "$place" >"$place/install.log" ||
  { cat "$place/install.log"; echo "FAILED: the installation of the headers" >&2; exit 1; }
cd "$place/include"
find . -name '*.h' -printf '%P\n' | sort >"$place/headers"
[ "$(wc -l <"$place/headers")" -gt 50 ] || { echo "FAILED: too few headers found" >&2; exit 1; }

compile() {
  printf '#include "%s"\n' "$1" |
    "$compiler" -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only \
      -I . -x c++ - || { echo "FAILED: $1 does not compile alone" >&2; return 1; }
}
export -f compile
export compiler
xargs -P "$(nproc)" -I {} bash -c 'compile {}' <"$place/headers"
echo "$(wc -l <"$place/headers") headers"
