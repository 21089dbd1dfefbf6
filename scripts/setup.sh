#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests and the demo need. Installed packages are
# not touched, so a second run needs neither network nor root.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config git ccache clang-format-14
  libicu-dev libxml2-dev libtomlplusplus-dev libcli11-dev libfmt-dev libsqlite3-dev
  libdw-dev libdw1 unixodbc-dev odbc-postgresql
  libboost-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev
  sqlite3 postgresql-15 libsqliteodbc
  # The second font has the Chinese, Japanese and Korean texts, which would be boxes on pictures.
  chromium chromium-driver python3-selenium fonts-dejavu-core fonts-wqy-microhei
)
# Optional groups by name: scripts/setup.sh bench clang
for extra in "$@"; do
  case "$extra" in
    bench) packages+=(libspdlog-dev libsoci-dev libbackward-cpp-dev) ;;
    clang) packages+=(clang libclang-rt-14-dev clang-tidy) ;;
    *) echo "setup.sh: unknown group '$extra'; use 'bench' or 'clang'" >&2; exit 2 ;;
  esac
done

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "setup.sh: these packages are missing and need root: ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
# The tests start a server of their own. Without PostgreSQL on the machine, its package would create
# and start another one; this setting prevents that. Existing settings are not changed.
if [[ " ${missing[*]} " == *" postgresql-15 "* ]] && [ ! -e /etc/postgresql-common ]; then
  "${as_root[@]}" mkdir -p /etc/postgresql-common
  echo "create_main_cluster = false" |
    "${as_root[@]}" tee /etc/postgresql-common/createcluster.conf >/dev/null
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
