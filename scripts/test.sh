#!/usr/bin/env bash
# Builds everything and runs all tests. Further arguments go to ctest, e.g. -R dbdef.
# QX_PRESET chooses the preset (dev, asan, release, each also with -clang); dev if it is not set.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${QX_PRESET:-dev}
groups=()
case "$preset" in *clang) groups+=(clang) ;; esac
case "$preset" in release*) groups+=(bench) ;; esac
case "$preset" in
  asan*) export LSAN_OPTIONS="suppressions=$PWD/testing/leak_suppressions.txt:print_suppressions=0" ;;
esac
scripts/setup.sh "${groups[@]}"

cmake --preset "$preset" -DQX_BUILD_TESTS=ON -DQX_BUILD_FUZZERS=ON >/dev/null
cmake --build --preset "$preset"
scripts/check.sh "build/$preset"

echo "Tests per folder:"
ctest --test-dir "build/$preset" -N | sed -n 's|^ *Test *#[0-9]*: \(.*\)/[^/]*$|\1|p' |
  sed -E 's|^((qxframework\|qxdesk\|tools)/[a-z]+\|[a-z]+).*|\1|' | sort | uniq -c
exec ctest --test-dir "build/$preset" -j "$(nproc)" --output-on-failure --no-tests=error "$@"
