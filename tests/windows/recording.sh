#!/usr/bin/env bash
# The very programs that ship, under Wine, beside a pdh.dll that answers as a recorded controller does:
# their rows must be those of the Linux program on the same recording, byte for byte but for the times
# at which they were made. Usage: recording.sh STAGE WORK EQUIPMENT, in a running Wine prefix; the
# Linux program is in DIRWATCH.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
stage=$1/recorded
work=$2
equipment=$3
shares=$WINEPREFIX/dosdevices/unc
failures=0

mkdir -p "$stage"
cp "$1"/*.dll "$1"/dirwatch.exe "$stage"
cp "$equipment/pdh.dll" "$stage"
cd "$stage"
# A zone that knows the time zones' rules, west of Greenwich and with a summer time.
export TZ=America/New_York
"$DIRWATCH" tables --format json >"$work/tables.json"

# Where Wine looks for \\SERVER\SHARE. Servers are named with the machine's DNS suffix as well.
lay_out_shares() { # recording
  rm -rf "$shares"
  mkdir -p "$shares"
  [ -d "$1/shares" ] || return 0
  cp -r "$1"/shares/* "$shares"
  local server
  for server in "$1"/shares/*; do
    server=${server##*/}
    case $server in *.*) ;; *) ln -s "$server" "$shares/$server.corp.example" ;; esac
  done
}
trap 'rm -rf "$shares"' EXIT

compare() { # what arguments...
  local what=$1
  shift
  python3 "$root/tests/windows/compare_rows.py" "$work/tables.json" "$work/linux.json" \
    "$work/windows.json" "$@" >"$work/compared" || {
    failures=$((failures + 1))
    tail -n 3 "$work/linux.err" "$work/windows.err"
  }
  sed "s|^windows: |windows: $what: |" "$work/compared"
}

# Both programs sample the tables, or all of them with none named.
sample() { # what recording "tables" comparison's arguments...
  local what=$1 recording=$2 asked=$3 table
  local -a tables=() only=()
  for table in $asked; do
    tables+=("$table")
    only+=(--only "$table")
  done
  shift 3
  lay_out_shares "$recording"
  # The exit status is 1 when a table had no row; which ones may not is the comparison's business.
  "$DIRWATCH" sample "${tables[@]}" --controller "$recording" --format json >"$work/linux.json" \
    2>"$work/linux.err" || true
  DIRWATCH_CONTROLLER=$(winepath -w "$recording") timeout 120 wine dirwatch.exe sample \
    "${tables[@]}" --format json >"$work/windows.json" 2>"$work/windows.err" </dev/null || true
  compare "$what" "${only[@]}" "$@"
}

# Without the sysvol test, which under Wine takes its minutes.
cp -r "$root/recordings/default" "$work/default"
sed -i '/^"DWA_SYSVOL_REPLICATION_TEST/d' "$work/default/registry.reg"
if cmp -s "$root/recordings/default/registry.reg" "$work/default/registry.reg"; then
  echo "windows: the default recording has no sysvol test to leave out"
  exit 1
fi
no_background="DCWSYSRPL=its test is not set up, since it takes minutes"
sample "the default recording" "$work/default" "" --without "$no_background"

# The same machine in trouble.
python3 "$root/tests/windows/troubled_recording.py" "$work/default" "$work/troubled"
sample "the same in trouble" "$work/troubled" "" --without "$no_background"

# Names of counters are translated through the registry's tables, in the machine's code page.
sample "a German machine" "$root/recordings/german" "DCWNTDSAB DCWNTDSDAI DCWNTDSDCP DCWNTDSDHC
  DCWNTDSDNS DCWNTDSDRA DCWNTDSDS DCWNTDSFRS DCWNTDSKCC DCWNTDSKDC DCWNTDSLDA DCWNTDSLDP DCWNTDSLSA
  DCWNTDSNSP DCWNTDSSAM DCWNTDSXDS"

sample "a forest of ten controllers" "$root/tests/recordings/large_forest" "DCWNTDSCNT DCWNTDSDAD
  DCWNTDSDCA DCWNTDSFRT DCWNTDSGPO DCWNTDSLFO DCWNTDSRDS"

exit "$failures"
