#!/usr/bin/env bash
# Breaks each rule of scripts/check.sh on purpose, in a small tree of its own, and looks for the
# finding that names the file and the rule.
#
#   check_test.sh SOURCE_FOLDER
set -euo pipefail
source_folder=${1:?usage: check_test.sh SOURCE_FOLDER}
export LC_ALL=C.UTF-8 GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_SYSTEM=/dev/null

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
tree="$place/tree"
mkdir -p "$tree/scripts"
cp "$source_folder"/scripts/check*.{sh,awk} "$tree/scripts/"
cp "$source_folder/.clang-format" "$source_folder/.clang-tidy" "$tree/"
cd "$tree"

# ---- The tree: three layers, two neighbours, a test program, a fake build folder ----

write() { # write FILE LINE...
  mkdir -p "$(dirname "$1")"
  printf '%s\n' "${@:2}" >"$1"
}
write scripts/layers.txt '# lowest first' low 'mid side mid->side' high tests 'only high: mid' \
  'internal tests: mid/internal'
write .gitignore /build/
write CMakeLists.txt 'qx_test(low_test SOURCES low/base_test.cc)'
write low/base.h '#pragma once' '' '// The base.' '' 'namespace qx {' '' '/// Returns one.' \
  'int base();' '' '}  // namespace qx'
write low/base.cc '#include "low/base.h"' '' 'namespace qx {' '' 'int base() { return 1; }' '' \
  '}  // namespace qx'
write low/base_test.cc '#include "low/base.h"' '' '#include "high/top.h"' '' \
  'int main() { return 0; }'
write mid/internal/detail.h '#pragma once' '' '#include "low/base.h"'
write mid/part.h '#pragma once' '' '// A part.' '' '#include "mid/internal/detail.h"' \
  '#include "side/other.h"'
write side/other.h '#pragma once' '' '#include "low/base.h"'
write high/top.h '#pragma once' '' '#include "mid/part.h"'
write tests/whole_test.cc '#include "mid/internal/detail.h"' '' 'int main() { return 0; }'
printf 'qx_test(whole SOURCES whole_test.cc)\n' >tests/CMakeLists.txt

compile_command() { # compile_command PROGRAM FILE
  printf '{\n  "directory": "%s/build",\n' "$tree"
  printf '  "command": "/usr/bin/g++ -std=c++20 -I%s -Winvalid-pch ' "$tree"
  printf -- '-include /none/CMakeFiles/pch.dir/cmake_pch.hxx -o CMakeFiles/%s.dir/x.o -c %s",\n' \
    "$1" "$tree/$2"
  printf '  "file": "%s"\n}' "$tree/$2"
}
mkdir build
{
  echo '['
  compile_command low_test low/base_test.cc
  echo ','
  compile_command whole tests/whole_test.cc
  echo ','
  compile_command low low/base.cc
  echo ']'
} >build/compile_commands.json
# The entry of one program, and the file of another whose tests are looked up when CTest runs.
printf 'add_test([=[low/low_test.Postgres]=] "%s/build/bin/low_test" "--x")\n' "$tree" \
  >build/CTestTestfile.cmake
printf 'set(X TEST_EXECUTABLE [==[%s/build/bin/whole]==])\n' "$tree" >'build/whole[1]_include.cmake'
git init -q .
git add -A
git -c user.name=check -c user.email=check@example.com commit -qm "The tree"

# ---- The cases ----

failed=0
cases=0
fail() {
  failed=1
  echo "FAILED: $1"
  sed 's/^/    /' "$place/output"
}
# finds NAME PLACE PATTERN [ARGUMENT...]: check.sh fails with one finding, at PLACE and with the
# pattern; then the tree is as before.
finds() {
  local name=$1 at=$2 pattern=$3 status=0
  shift 3
  cases=$((cases + 1))
  scripts/check.sh "$@" >"$place/output" 2>&1 || status=$?
  if [ "$status" -ne 1 ]; then
    fail "$name: the exit code is $status, not 1"
  elif [ "$(wc -l <"$place/output")" -ne 1 ] ||
    ! grep -qE "^check: $at: .*$pattern.*; [a-z]" "$place/output"; then
    fail "$name: there is not exactly one finding '$at: $pattern'"
  fi
  git reset -q --hard
  git clean -qfd
}
passes() { # passes NAME [ARGUMENT...]
  local name=$1 status=0
  shift
  cases=$((cases + 1))
  scripts/check.sh "$@" >"$place/output" 2>&1 || status=$?
  if [ "$status" -ne 0 ] || [ -s "$place/output" ]; then fail "$name: the exit code is $status"; fi
  git reset -q --hard
  git clean -qfd
}
insert() { sed -i "$2i $3" "$1"; } # insert FILE LINE TEXT

passes "a good tree"
passes "a good tree with its build folder" build

echo examples >>scripts/layers.txt
write examples/shop/order.h '#pragma once' '' '// An order.'
write examples/shop/order.cc '#include "order.h"'
git add -A
passes "an example that names the file beside it"

insert low/base.cc 2 '\\n#include "mid/part.h"'
finds "a lower layer includes a higher one" 'low/base.cc:3' \
  'low includes "mid/part.h", but mid is no lower layer'

echo '#include "mid/part.h"' >>side/other.h
sed -i '/side\/other.h/d' mid/part.h
finds "neighbours of one layer" 'side/other.h:4' \
  'side includes "mid/part.h", but mid is no lower layer'

insert high/top.h 3 '#include "low/base.h"'
finds "a folder with a list of its own uses another" 'high/top.h:3' 'high does not use low'

write newcomer/x.h '#pragma once' '' '// New.'
finds "a folder that is not listed" 'newcomer/x.h:1' 'the folder newcomer is in no layer'

echo low >>scripts/layers.txt
finds "a folder that is listed twice" 'scripts/layers.txt:8' 'the folder low is listed twice'

write low/second.h '#pragma once' '' '#include "low/third.h"'
write low/third.h '#pragma once' '' '#include "low/second.h"'
finds "headers that include each other" 'low/third.h:3' \
  'low/second.h -> low/third.h -> low/second.h'

sed -i 's|mid/part.h|mid/internal/detail.h|' high/top.h
finds "the internal header of another folder" 'high/top.h:3' \
  '"mid/internal/detail.h" is internal to mid'

insert low/base_test.cc 4 '#include "mid/internal/detail.h"'
finds "a test that includes another folder's internal header" 'low/base_test.cc:4' \
  'is internal to mid'

write low/testing/fake.h '#pragma once' '' '// A fake.'
insert low/base.cc 2 '\\n#include "low/testing/fake.h"'
finds "the product includes a test's file" 'low/base.cc:3' \
  'the product includes "low/testing/fake.h" of the tests'

insert low/base.cc 2 '\\n#include "near.h"'
write low/near.h '#pragma once' '' '// Near.'
finds "an include by a short path" 'low/base.cc:3' '"near.h" is not a path from the top'

sed -i '1,2d' low/base.h
finds "a header without #pragma once" 'low/base.h:1' 'does not begin with #pragma once'

sed -i '1i // The base.' low/base.h
finds "a comment before #pragma once" 'low/base.h:1' 'does not begin with #pragma once'

sed -i '2d' low/base.h
finds "no empty line after #pragma once" 'low/base.h:2' 'not followed by an empty line'

sed -i '3s|//|///|' low/base.h
finds "a declaration's comment as the head" 'low/base.h:3' 'neither a file comment'

sed -i 's|^/// Returns one.|/** Returns one. */|' low/base.h
finds "a comment of another style" 'low/base.h:7' 'begins with /\*\*'

sed -i 's|^/// Returns one.|//! Returns one.|' low/base.h
finds "a comment of a third style" 'low/base.h:7' 'begins with //!'

sed -i '1,2d' low/base.cc
finds "a source whose own header is not first" 'low/base.cc:1' 'its own header is not its first'

sed -i '1,2d' low/base_test.cc
finds "a test whose header is not first" 'low/base_test.cc:1' 'its own header is not its first'

write low/stray_test.cc 'int main() { return 0; }'
finds "a test file in no CMakeLists.txt" 'low/stray_test.cc:1' 'is not built'

write low/stray_test.cc 'int main() { return 0; }'
finds "a test file that is not compiled" 'low/stray_test.cc:1' 'is not built' build

mv build/CTestTestfile.cmake "$place/"
finds "a test program that CTest does not run" 'low/base_test.cc:1' 'no CTest entry runs low_test' build
mv "$place/CTestTestfile.cmake" build/

sed -i 's|return 1;|return  1;|' low/base.cc
finds "a file that is not formatted" 'low/base.cc:5' 'is not formatted'

write low/unnoticed.cc 'int  unnoticed();'
finds "a new file that is not formatted" 'low/unnoticed.cc:1' 'is not formatted'

{ seq -f '// Line %g.' 1001; } >low/long.cc
finds "a file of more than 1000 lines" 'low/long.cc:1001' 'more than 1000 lines'

echo "See /$(printf root)/notes." >notes.md
finds "a path of one machine" 'notes.md:1' 'exists on one machine only'

if command -v clang-tidy-14 clang-tidy >/dev/null; then
  passes "clang-tidy on no change" --tidy HEAD build
  write low/base.cc '#include "low/base.h"' '' '#include <vector>' '' 'namespace qx {' '' \
    'int base() { return std::vector<int>{1}.size() == 0 ? 0 : 1; }' '' '}  // namespace qx'
  finds "a finding of clang-tidy" 'low/base.cc:7' 'readability-container-size-empty' \
    --tidy HEAD build
fi

echo "check_test: $cases cases"
exit "$failed"
