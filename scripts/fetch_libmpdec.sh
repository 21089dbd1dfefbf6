#!/usr/bin/env bash
# Builds libmpdec, the decimal library that money_bench compares with, as a static library in
# BUILD/third_party/libmpdec. Debian has no package of it, but its source is part of that of
# python3.11, which apt downloads and checks by the archive's signatures. A second run does nothing.
#
#   scripts/fetch_libmpdec.sh [BUILD]       BUILD is this repository's build/release unless given
set -euo pipefail
build="$(realpath -m "${1:-$(dirname "$0")/../build/release}")"
target="$build/third_party/libmpdec"
[ -f "$target/libmpdec.a" ] && exit 0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial" "$work/source" "$work/objects"
echo "deb-src http://deb.debian.org/debian bookworm main" > "$work/sources.list"
# With package lists of its own, so that the machine's package sources do not change.
apt=(apt-get -qq -o "Dir::Etc::sourcelist=$work/sources.list" -o "Dir::Etc::sourceparts=-"
  -o "Dir::State::lists=$work/lists" -o "APT::Sandbox::User=$(id -un)" -o "Debug::NoLocking=1"
  -o "Dir::Cache::pkgcache=" -o "Dir::Cache::srcpkgcache=")
"${apt[@]}" update
if ! (cd "$work/source" && "${apt[@]}" source --download-only python3.11); then
  echo "fetch_libmpdec.sh: the archive has no source package python3.11" >&2
  exit 1
fi
tar -xzf "$work"/source/python3.11_*.orig.tar.gz -C "$work" --strip-components=3 --wildcards \
  '*/Modules/_decimal/libmpdec/*'

# The configuration that the library itself would choose. The header is installed too, because
# mpdecimal.h includes it.
{
  echo "#define CONFIG_64 1"
  if [ "$(uname -m)" = x86_64 ]; then
    echo "#define ASM 1"
  else
    echo "#define ANSI 1"
    echo "#define HAVE_UINT128_T 1"
  fi
} > "$work/libmpdec/pyconfig.h"
for source in "$work"/libmpdec/*.c; do
  name=$(basename "$source" .c)
  case "$name" in bench | bench_full) continue ;; esac
  "${CC:-cc}" -O3 -DNDEBUG -fPIC -I "$work/libmpdec" -c "$source" \
    -o "$work/objects/$name.o"
done
mkdir -p "$target/include"
cp "$work"/libmpdec/{mpdecimal.h,pyconfig.h} "$target/include/"
# Moved into place only when it is complete, because its presence ends the next run at once.
rm -f "$work/libmpdec.a"
ar rcs "$work/libmpdec.a" "$work"/objects/*.o
mv "$work/libmpdec.a" "$target/libmpdec.a"
