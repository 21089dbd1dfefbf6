#!/usr/bin/env bash
# Checks the habits that the compiler does not: the order of the layers, the head of headers, own
# headers first, tests that nothing runs, the format, the size of files.
#
#   scripts/check.sh [--tidy REV] [BUILD_FOLDER]
#
# Prints one line "check: FILE:LINE: what is wrong; what to do" for each finding and exits with 1 if
# there is one; otherwise it is silent. With a BUILD_FOLDER it also checks that CTest runs every
# test file. --tidy runs clang-tidy on the sources changed since the git revision REV, with the
# compile commands of BUILD_FOLDER (build/dev unless given).
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C.UTF-8

usage() {
  echo "usage: scripts/check.sh [--tidy REV] [BUILD_FOLDER]" >&2
  exit 2
}
build=
since=
while [ $# -gt 0 ]; do
  case "$1" in
    --tidy) [ $# -ge 2 ] || usage; since=$2; shift ;;
    -*) usage ;;
    *) [ -z "$build" ] || usage; build=$1 ;;
  esac
  shift
done
[ -z "$since" ] || build=${build:-build/dev}
if [ -n "$build" ] && [ ! -f "$build/compile_commands.json" ]; then
  echo "check.sh: $build has no compile_commands.json; configure the build first" >&2
  exit 2
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# Everything that a commit could hold: tracked files and new ones that are not ignored.
git -c core.quotePath=false ls-files --cached --others --exclude-standard | sort -u |
  while IFS= read -r file; do
    if [ -f "$file" ]; then printf '%s\n' "$file"; fi
  done >"$scratch/files"
(grep -E '\.(cc|h)$' "$scratch/files" || true) >"$scratch/sources"
(grep -E '\.(cmake|md|sh)$|(^|/)CMakeLists\.txt$' "$scratch/files" || true) >"$scratch/others"

# tool NAME: the program of major version 14, which the format and the list of checks are made for.
tool() {
  local candidate
  for candidate in "$1-14" "$1"; do
    if "$candidate" --version 2>/dev/null | grep -q 'version 14\.'; then
      echo "$candidate"
      return
    fi
  done
  return 1
}

check_machine_paths() {
  local remedy='use a relative path or a temporary folder'
  tr '\n' '\0' <"$scratch/files" |
    xargs -0r grep -HnIoE '(^|[^[:alnum:]_.~-])/(root|mnt|Users)/' |
    sed -E 's/^([^:]*:[0-9]+):.*(\/[a-z\/]+\/)$/check: \1: the path \2 exists on one machine only; '"$remedy/" ||
    true
}

check_format() {
  local formatter
  if ! formatter=$(tool clang-format); then
    echo "check: .clang-format:1: clang-format 14 is missing; run scripts/setup.sh"
    return
  fi
  tr '\n' '\0' <"$scratch/sources" |
    xargs -0r -n 40 -P "$(nproc)" "$formatter" --dry-run -Werror 2>&1 |
    awk -F: '/ error: code should be clang-formatted/ && !seen[$1]++ {
      print "check: " $1 ":" $2 ": is not formatted; run " formatter " -i " $1 }' \
        formatter="$formatter" || true
}

# Every *_test.cc belongs to a program that CTest runs.
check_tests_run() {
  local tests
  tests=$(grep -E '_test\.cc$' "$scratch/sources" || true)
  if [ -z "$build" ]; then
    { grep -E '(^|/)CMakeLists\.txt$' "$scratch/files" || true; } |
      tr '\n' '\0' | xargs -0r cat >"$scratch/cmake"
    while IFS= read -r file; do
      [ -z "$file" ] || grep -qF "${file##*/}" "$scratch/cmake" ||
        echo "check: $file:1: is not built; list it in the CMakeLists.txt of its folder"
    done <<<"$tests"
    return
  fi
  find "$build" \( -name CTestTestfile.cmake -o -name '*_include*.cmake' \) -print0 |
    xargs -0r cat | grep -E 'add_test\(|TEST_EXECUTABLE' >"$scratch/ctest" || true
  # A compile command's object, the word after -o, is in CMakeFiles/PROGRAM.dir.
  awk -v root="$PWD/" -v tests="$tests" '
    FILENAME ~ /ctest$/ {
      n = split($0, word, /[^A-Za-z0-9_.+\/-]+/)
      for (i = 1; i <= n; i++) { sub(/^.*\//, "", word[i]); runs[word[i]] = 1 }
      next
    }
    /"command":/ && match($0, / -o [^ ]*CMakeFiles\/[^\/ ]+\.dir\//) {
      program = substr($0, RSTART, RLENGTH - 5)
      sub(/.*\//, "", program)
    }
    /"file":/ {
      split($0, part, "\"")
      file = part[4]
      if (index(file, root) == 1) file = substr(file, length(root) + 1)
      programs[file] = programs[file] " " program
    }
    END {
      count = split(tests, list, "\n")
      for (i = 1; i <= count; i++) {
        if (!(list[i] in programs)) {
          print "check: " list[i] ":1: is not built; list it in the CMakeLists.txt of its folder"
          continue
        }
        found = 0
        n = split(programs[list[i]], candidate, " ")
        for (j = 1; j <= n; j++) if (candidate[j] in runs) found = 1
        if (!found)
          print "check: " list[i] ":1: no CTest entry runs" programs[list[i]] \
            "; declare it with qx_test()"
      }
    }' "$scratch/ctest" "$build/compile_commands.json"
}

check_tidy() {
  local tidy
  if ! tidy=$(tool clang-tidy); then
    echo "check: .clang-tidy:1: clang-tidy 14 is missing; run scripts/setup.sh clang"
    return
  fi
  # clang cannot read the precompiled headers of g++, and without any it finds missing includes.
  sed -E 's/ (-Xclang )?-include(-pch)? (-Xclang )?[^ ]*cmake_pch\.hxx(\.pch)?//g; s/ -Winvalid-pch//g' \
    "$build/compile_commands.json" >"$scratch/compile_commands.json"
  { git diff --name-only --diff-filter=d "$since" -- '*.cc'
    git ls-files --others --exclude-standard -- '*.cc'; } | sort -u |
    while IFS= read -r file; do
      if grep -qF "/$file\"" "$scratch/compile_commands.json"; then printf '%s\0' "$file"; fi
    done |
    xargs -0r -n 1 -P "$(nproc)" "$tidy" --quiet -p "$scratch" 2>/dev/null |
    sed -nE "s|^$PWD/||; s|^([^: ]+:[0-9]+):[0-9]+: (error\|warning): (.*)\$|check: \1: \3; correct it|p" |
    sort -u || true
}

# Layers, circles, heads, own headers and sizes: one pass of awk over all files.
check_sources() {
  awk -f scripts/check_sources.awk scripts/layers.txt "$scratch/sources" "$scratch/others" \
    $(cat "$scratch/sources" "$scratch/others")
}

{
  check_sources
  check_machine_paths
  check_tests_run
  check_format
  if [ -n "$since" ]; then check_tidy; fi
} | sort -t: -k2,2 -k3,3n >"$scratch/findings"
cat "$scratch/findings"
[ ! -s "$scratch/findings" ]
