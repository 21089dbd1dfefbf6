#!/usr/bin/env bash
# Builds the framework and its stand-in host and demonstrates add-ons.
#
#   scripts/demo.sh [--text | --check] [--engine mssql|sybase|db2|kordb]
#
# Without an option, the add-on `orders` runs with its screens in a browser: the script prints the
# address to open and goes on until the client is ended on the page (File, Quit) or by Ctrl+C.
#
# --text prints what add-ons do, without a browser: one connects, creates its tables, adds its menu,
# handles events and quits; the user changes the log settings, chooses from a list and sees the
# progress of a long job. The forms are drawn as the user sees them.
#
# --check does both unattended, the browser being Debian's Chromium, verifies the results and exits
# with 0 or 1. Screenshots of each step are kept in build/dev/demo. It asks no questions.
set -euo pipefail
cd "$(dirname "$0")/.."

check=no
text=no
engine=mssql
while [ $# -gt 0 ]; do
  case "$1" in
    --check) check=yes text=yes ;;
    --text) text=yes ;;
    --engine) engine=${2:-}; shift ;;
    *) echo "usage: scripts/demo.sh [--text | --check] [--engine mssql|sybase|db2|kordb]" >&2; exit 2 ;;
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
cmake --build --preset dev --target hello orders QXLogger qxcompany qxdesk_so qxweb

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
export QX_REGISTRY="$PWD/$build/registry.toml"
export QX_RUNTIME_DIR="$place/run" QX_LOG_DIR="$place/log" QX_LOG_SETTINGS="$place/log.toml"
mkdir -p "$QX_RUNTIME_DIR" "$QX_LOG_DIR"
printf 'level = 6\nfile_size_mb = 10\n' >"$QX_LOG_SETTINGS" # the full trace

if [ "$text" = no ]; then
  echo
  echo "The add-on 'orders' on a new company. Try Add-Ons > Orders, or the log settings."
  "$build/bin/orders" "embedded:?db=$place/company.db&engine=$engine&accept=brackets&web=127.0.0.1:0"
  exit
fi

# The actions of the user, and the states to print before, during and after them. A drawing shows the
# item with the focus in {}, disabled items in (), and ">" at a selected row.
cat >"$place/start.txt" <<'PLAY'
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
printf 'start\nprint menus\nshutdown\n' >"$place/tree.txt"
cat >"$place/settings.txt" <<'PLAY'
say -- the user opens the log settings. The framework shows the form itself and lets the client do
say    nothing more, which counts as a veto:
menu QX_551
draw *
say -- the user chooses a lower level:
choose * 315 3
draw *
say -- the user confirms, and does something that is logged:
press * 1
language 9
language 3
say -- the user opens the settings again, which have the new level, and chooses the full trace:
menu QX_551
draw *
choose * 315 6
press * 1
language 9
language 3
print forms
shutdown
PLAY
cat >"$place/choose.txt" <<'PLAY'
say -- the user begins a new order:
menu ORD_OPEN
type * 221 A-3
draw *
say -- the user opens the list of partners:
press * 226
draw *
say -- the user sorts it by a click on the head of the column:
click * 10805 10800020 0
draw *
say -- the user types the beginning of a name; the list selects the first row that has it:
type * 10804 hill
draw *
say -- the user chooses the row; the add-on gets its key and shows it as the customer:
press * 1
draw *
say -- the user adds the order:
press * 1
draw *
press * 2
shutdown
PLAY
cat >"$place/progress.txt" <<'PLAY'
say -- the user starts a long job, which takes in 28 orders, 7 at a time. The bar has 15 cells, one
say    for an order, and begins anew when it is full:
menu ORD_SAMPLE
draw QX_FIN_1
draw QX_FIN_1
draw QX_FIN_1
say -- the job has ended:
draw QX_FIN_1
menu ORD_OPEN
draw *
shutdown
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
# run NAME ADDON SCRIPT TITLE: starts an add-on once and keeps its log and output in NAME.log, NAME.out
run() {
  # So that the log has the records of this start only.
  rm -f "$QX_LOG_DIR"/*.log
  echo
  echo "== $4"
  "$build/bin/$2" "embedded:?db=$place/company.db&engine=$engine&play=$place/$3.txt" |
    tee "$place/$1.out"
  cp "$QX_LOG_DIR/${2^^}.log" "$place/$1.log"
}
logged() { grep -qF -- "$2" "$place/$1.log"; }
printed() { grep -qF -- "$2" "$place/$1.out"; }
records() { # records NUMBER: those of the user's NUMBER-th excursion into German, to the way back
  awk -F'\t' -v wanted="$1" '
    /Language changed to .ln_German.$/ { on = ++seen == wanted }
    on
    /Language changed to .ln_English.$/ { on = 0 }' "$place/settings.log"
}
levels() { records "$1" | cut -f 2 | sort -u | paste -sd' '; }
cells() { # the filled cells of each drawing of the progress form
  awk '/^\+- Halvex Add-On Initialization/ { on = 1; count = 0 }
       on { count += gsub(/\(_\)/, "") }
       on && /^\+-+\+$/ { printf "%s%d", separator, count; separator = " "; on = 0 }' "$place/progress.out"
}
orders() { # orders CONDITION: number and customer of the orders in the company database
  sqlite3 -separator ' | ' "$place/company.db" \
    "select U_No, U_Customer from \"@ORDERS\" where $1 order by U_No"
}
menu_is_back() { # compares the first printed menu with the last
  local lines
  lines=$(sed -n '2,/"Add-Ons"/p' "$place/$1.out")
  [ "$lines" = "$(tail -n "$(wc -l <<<"$lines")" "$place/$1.out")" ]
}
version_rows() {
  sqlite3 -separator ' | ' "$place/company.db" \
    "select Code, U_ExtID, U_Version, U_EFNum, U_Status, U_Rdate from \"$version_table\" order by Code"
}

run first hello start "First start on a new company database, engine $engine"
version_rows >"$place/first.rows"
run second hello start "Second start on the same database"
version_rows >"$place/second.rows"
run settings hello settings "The log settings"
run choose orders choose "A choice from a list"
run progress orders progress "The progress of a long job"

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
echo "all records of two changes of the language at the level Information:"
records 1 | cut -f 2,5,6 | sed 's/^/  /'
echo "the same at the level Debug2: $(records 2 | wc -l) records of the levels $(levels 2)"
echo "the order with the customer from the list: $(orders "U_No = 'A-3'")"
echo "filled cells of the progress form: $(cells)"

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
verify "the log settings open with the stored level" printed settings 'to Record [Debug2_________ v]'
verify "the user chooses another level" printed settings 'to Record {Information____ v}'
verify "the settings keep the level" printed settings 'to Record [Information____ v]'
verify "at the level Information nothing lower is logged" test "$(levels 1)" = Information
verify "at the level Debug2 the trace is logged" test "$(levels 2)" = 'Debug Debug1 Debug2 Information'
verify "the settings form is closed in the end" test "$(tail -n 2 "$place/settings.out" | head -1)" = 'F_0 169 "Main Menu" selected'
verify "the list opens in the order of its keys" printed choose '|| 1 | C1000                    | Hillside Tools'
verify "a click on the head sorts the list" printed choose '|| 1 | C2000                    | Harbour Supplies'
verify "typing selects the row that begins with the text" printed choose '|> 2 | C1000                    | Hillside Tools'
verify "the add-on gets the key of the chosen row" printed choose '|Customer       [C1000__'
verify "the order has the chosen customer" test "$(orders "U_No = 'A-3'")" = 'A-3 | C1000'
verify "the progress form begins anew when it is full" test "$(cells)" = '7 14 6'
verify "the progress form is hidden when the job has ended" printed progress 'form QX_FIN_1 is hidden'
verify "the job has taken in all orders" test "$(orders "U_No like 'S-%'" | wc -l)" = 28

echo
echo "== The same in a browser, with screenshots in $build/demo"
python=$(command -v /usr/bin/python3 || command -v python3)
# It has a company of its own. By the tree of its menus the walk through the page finds its way.
"$build/bin/orders" "embedded:?db=$place/tree.db&engine=$engine&play=$place/tree.txt" \
  >"$place/menus.txt"
"$python" -B tests/browser/demo.py "$build/bin/orders" \
  "embedded:?db=$place/browser.db&engine=$engine&accept=brackets&web=127.0.0.1:0" \
  "$place/menus.txt" "$build/demo" || failed=1
[ "$failed" -eq 0 ] && echo "demo: all is well"
exit "$failed"
