#!/usr/bin/env bash
# Builds the framework and its stand-in host and demonstrates an add-on: it connects, creates its
# tables, adds its menu, handles events and quits.
#
#   scripts/demo.sh [--check] [--engine mssql|sybase|db2|kordb]
#
# --check verifies the result and exits with 0 or 1. The script asks no questions.
set -euo pipefail
cd "$(dirname "$0")/.."

check=no
engine=mssql
while [ $# -gt 0 ]; do
  case "$1" in
    --check) check=yes ;;
    --engine) engine=${2:-}; shift ;;
    *) echo "usage: scripts/demo.sh [--check] [--engine mssql|sybase|db2|kordb]" >&2; exit 2 ;;
  esac
  shift
done
case "$engine" in
  mssql | sybase | kordb) version_table=@QXEXTDBVERSION ;;
  db2) version_table=@QXEXTDBV ;;
  *) echo "demo.sh: unknown engine '$engine'; use mssql, sybase, db2 or kordb" >&2; exit 2 ;;
esac

scripts/setup.sh
build=build/dev
cmake --preset dev >/dev/null
cmake --build --preset dev --target hello QXLogger qxcompany qxdesk_so

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
export QX_REGISTRY="$PWD/$build/registry.toml"
export QX_RUNTIME_DIR="$place/run" QX_LOG_DIR="$place/log" QX_LOG_SETTINGS="$place/log.toml"
mkdir -p "$QX_RUNTIME_DIR" "$QX_LOG_DIR"
printf 'level = 6\nfile_size_mb = 10\n' >"$QX_LOG_SETTINGS" # the full trace
log="$QX_LOG_DIR/HELLO.log"

# The actions of the user, and the states to print before, during and after them.
cat >"$place/play.txt" <<'PLAY'
say -- the menu before the add-on has started:
print menus
start
say -- the menu while it runs:
print menus
say -- the user opens an order and confirms it without a customer, then with one:
open 3101
press * 1
print status
type * 4 C20000
press * 1
say -- the user ends the client:
shutdown
say -- the menu in the end:
print menus
PLAY

failed=0
verify() { # verify WHAT COMMAND...: reports "ok" if the command succeeds
  local what=$1
  shift
  if "$@" >/dev/null; then
    echo "  ok: $what"
  else
    echo "  MISSING: $what"
    failed=1
  fi
}
run() { # run NAME TITLE: starts the add-on once and keeps its log and output in NAME.log, NAME.out
  # So that the log has the records of this start only.
  rm -f "$QX_LOG_DIR"/HELLO.log
  echo
  echo "== $2"
  "$build/bin/hello" "embedded:?db=$place/company.db&engine=$engine&play=$place/play.txt" |
    tee "$place/$1.out"
  cp "$log" "$place/$1.log"
}
logged() { grep -qF -- "$2" "$place/$1.log"; }
printed() { grep -qF -- "$2" "$place/$1.out"; }
menu_is_back() { # compares the first printed menu with the last
  local lines
  lines=$(sed -n '2,/"Add-Ons"/p' "$place/$1.out")
  [ "$lines" = "$(tail -n "$(wc -l <<<"$lines")" "$place/$1.out")" ]
}
version_rows() {
  sqlite3 -separator ' | ' "$place/company.db" \
    "select Code, U_ExtID, U_Version, U_EFNum, U_Status, U_Rdate from \"$version_table\" order by Code"
}

run first "First start on a new company database, engine $engine"
version_rows >"$place/first.rows"
run second "Second start on the same database"
version_rows >"$place/second.rows"

echo
echo "== What happened"
# A missing line is reported below and must not end the script here.
found() { grep "$@" | head -1 || true; }
echo "host version: $(found -oF 'Current version of UI API is 9.20' "$place/first.log")"
echo "tables created on the first start:"
{ grep -oE "Table '[A-Z]+' created\." "$place/first.log" || true; } | sed 's/^/  /'
echo "checked on the second start: $(found -oF 'Db is OK.' "$place/second.log")"
echo "rows of the version table (code | extension | version | fix | status | date):"
sed 's/^/  /' "$place/second.rows"
echo "the item event: $(found -F 'vetoed' "$place/second.out")"
echo "the quit: $(found -oF 'Add-on stopped.' "$place/second.log")"
echo "log file: HELLO.log, $(wc -l <"$place/second.log") records on the second start, the last of them:"
tail -n 4 "$place/second.log" | sed 's/^/  /'

[ "$check" = yes ] || exit 0
echo
echo "== Verified"
verify "the host's version was read" logged first 'Current version of UI API is 9.20'
verify "the first start created the version table" logged first "Table '${version_table#@}' created."
verify "the first start created the add-on's table" logged first "Table 'HELLO' created."
verify "the second start found the framework's tables in order" logged second 'Db is OK.'
verify "the second start created nothing" test -z "$(grep -o "Table '.*' created" "$place/second.log")"
verify "the version table has the add-on's row" grep -qE 'HELLO \| 1\.00\.00\.00 \| 00 \| Installed' "$place/second.rows"
verify "the second start left the version table alone" cmp "$place/first.rows" "$place/second.rows"
verify "the menu got the common entry" printed second '  QX_551 "Halvex Add-On Log Settings"'
verify "the menu is the same at the end as at the start" menu_is_back second
verify "the item event reached its form, and the veto the host" printed second 'pressed item 1 of form F_1: vetoed by the add-on'
verify "without the veto the host went on" grep -qx 'pressed item 1 of form F_1' "$place/second.out"
verify "the log was written" test -s "$place/second.log"
verify "the add-on quit" logged second 'Add-on stopped.'
[ "$failed" -eq 0 ] && echo "demo: all is well"
exit "$failed"
