#!/usr/bin/env bash
# Builds the release preset and runs every program in bench/. Each comparison prints one line
# "ratio NAME R": our time divided by the peer's in the same run; lower is better.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh bench
scripts/fetch_libmpdec.sh build/release || echo "bench.sh: continuing without libmpdec" >&2
cmake --preset release -DQX_BUILD_TESTS=OFF -DQX_BUILD_FUZZERS=OFF >/dev/null
cmake --build --preset release
# Settings, logs and locks of their own, so that the user's stay unchanged.
state=$(mktemp -d)
trap 'rm -rf "$state"' EXIT
export QX_REGISTRY="$PWD/build/release/registry.toml"
export QX_RUNTIME_DIR="$state/run" QX_LOG_DIR="$state/log" QX_LOG_SETTINGS="$state/log.toml"
mkdir -p "$QX_RUNTIME_DIR" "$QX_LOG_DIR"
for program in build/release/bin/*_bench; do
  echo "== $(basename "$program")"
  "$program" "$@"
done
