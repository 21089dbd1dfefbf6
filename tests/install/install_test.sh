#!/usr/bin/env bash
# Installs a build into a temporary folder, builds the add-on in addon/ against the installed
# package only, and runs it with the installed host.
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

# The add-on is copied out of the tree, so that it can find only installed files.
cp -r "$addon" "$place/addon"
"$cmake" -S "$place/addon" -B "$place/build" -G "$generator" -DCMAKE_PREFIX_PATH="$place/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" >"$place/configure.log" ||
  { cat "$place/configure.log"; fail "find_package"; }
"$cmake" --build "$place/build" >"$place/build.log" ||
  { cat "$place/build.log"; fail "the build of the add-on"; }

# Without QX_REGISTRY the library must find the installed registry by its own location, since this
# prefix is not the configured one.
unset QX_REGISTRY
export XDG_CONFIG_HOME="$place/config"
export QX_RUNTIME_DIR="$place/run" QX_LOG_DIR="$place/log" QX_LOG_SETTINGS="$place/log.toml"
said=$("$place/build/outside" "embedded:?db=$place/company.db") || fail "the add-on, saying: $said"
expected="Hello from outside, tables 0, version 2.05.00.00.00
two one changed, Proxy is already connected to a persistent collection"
[ "$said" = "$expected" ] || fail "it said: $said"
echo "$said"
