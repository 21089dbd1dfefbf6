#!/usr/bin/env bash
# Installs a build into a temporary folder, builds the programs in addon/ against the installed
# package only, and runs them with the installed host: with the compiler of the build and, unless
# FLAGS ask for a sanitizer, with the other one of g++ and clang++ if it is found. Looks for every
# exported class in the library's symbols.
#
#   install_test.sh BUILD_FOLDER CMAKE GENERATOR COMPILER FLAGS
set -euo pipefail
build=$1 cmake=$2 generator=$3 compiler=$4 flags=$5
addon=$(cd "$(dirname "$0")" && pwd)/addon

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
fail() { echo "FAILED: $*" >&2; exit 1; }

"$cmake" --install "$build" --prefix "$place/prefix" >"$place/install.log" ||
  { cat "$place/install.log"; fail "the installation"; }

# Internal headers and headers of tests must not be installed.
inner=$(find "$place/prefix" -path '*/internal/*' -o -path '*/testing/*' -o -name '*_fixture.h' \
  -o -name '*_test*.h')
[ -z "$inner" ] || fail "headers that are not for add-ons: $inner"

# Every exported class, scope and datum has symbols for the dynamic linker.
library=$(find "$place/prefix" -name libQXFramework.so)
nm -DC --defined-only "$library" | sed -e ':again' -e 's/> >/>>/' -e 't again' >"$place/symbols"
while IFS= read -r name; do
  case "$name" in '' | '#'*) continue ;; esac
  grep -qE "^[0-9a-f]+ [A-Za-z] ((vtable|typeinfo) for )?$name(::|\(|\$)" "$place/symbols" ||
    fail "the library does not export $name"
done <"$addon/../exported.txt"

# The add-on is copied out of the tree, so that it can find only installed files.
cp -r "$addon" "$place/addon"
# build FOLDER COMPILER: builds the programs in a folder of their own.
build() {
  "$cmake" -S "$place/addon" -B "$place/$1" -G "$generator" -DCMAKE_PREFIX_PATH="$place/prefix" \
    -DCMAKE_CXX_COMPILER="$2" -DCMAKE_CXX_FLAGS="$flags" >"$place/configure.log" ||
    { cat "$place/configure.log"; fail "find_package with $2"; }
  "$cmake" --build "$place/$1" >"$place/build.log" ||
    { cat "$place/build.log"; fail "the build of the programs with $2"; }
}

# Without QX_REGISTRY the library must find the installed registry by its own location, since this
# prefix is not the configured one.
unset QX_REGISTRY
export XDG_CONFIG_HOME="$place/config"
export QX_RUNTIME_DIR="$place/run" QX_LOG_DIR="$place/log" QX_LOG_SETTINGS="$place/log.toml"
# run PROGRAM EXPECTED [ARGUMENT...]: the program ends with 0 and prints the expected text.
run() {
  local program=$1 expected=$2 said
  shift 2
  said=$("$place/$program" "$@") || fail "$program, saying: $said"
  [ "$said" = "$expected" ] || fail "$program said: $said"
  echo "$said"
}

compilers=("$compiler")
other=clang++
case "$compiler" in *clang++*) other=g++ ;; esac
if [ -z "$flags" ] && command -v "$other" >/dev/null; then compilers+=("$other"); fi
for each in "${compilers[@]}"; do
  folder=build_${each##*/}
  build "$folder" "$each"
  run "$folder/exported" "46 uses"
  run "$folder/outside" "Hello from outside, tables 0, version 2.05.00.00.00
two one changed, Proxy is already connected to a persistent collection" \
    "embedded:?db=$place/$folder.db"
  run "$folder/tool" "2 tables
-1 Proxy is not connected to a initialized persistent collection
a null pointer
order open" "embedded:?db=$place/$folder.db"
done
