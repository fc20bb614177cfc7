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
cp "$1"/*.dll "$1"/DirWatcher.exe "$1"/dirwatch.exe "$stage"
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
    "$work/windows.json" --names "$work/names" "$@" >"$work/compared" || {
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

# The whole agent, which collects in the background, tests the sysvol shares among other things, and
# delivers what was collected. Its settings come from the registry: the recording's on Linux, Wine's
# own here. Both run at the same time and are ended when all has been seen; what counts is the first
# delivery of each table, so neither the number of samples nor anybody's speed matters.
background="DCWSYSRPL DCWNTDSDCA DCWNTDSDRC DCWNTDSDRF DCWNTDSDSV DCWNTDSRLT DCWNTDSRPL DCWNTDSTRS
  DCWNTDSTTP"

write_settings() { # recording
  {
    printf '[framework]\ninterval = "2s"\ntables = ['
    # shellcheck disable=SC2086
    printf '"%s", ' $background
    printf ']\n[sink]\nformat = "json"\n'
  } >"$work/run.toml"
  # A level nearer to the root goes before a deeper one; one value is an expandable text, "1".
  cat >"$work/settings" <<'EOT'

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610\Primary\Environment]
"DWA_PING_COUNT"="1"
"DWA_CACHE_INTERVAL"="0"
"DWA_SYSVOL_REPLICATION_TEST_INTERVAL"="10"
"FILE_CREATION_AND_REPLICATION_START_GAP"=hex(2):31,00,00,00

[HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Environment]
"DWA_CACHE_INTERVAL"="60"
EOT
  cat "$work/settings" >>"$1/registry.reg"
  { echo "Windows Registry Editor Version 5.00"; cat "$work/settings"; } >"$work/settings.reg"
  timeout 60 wine regedit /S "$(winepath -w "$work/settings.reg")" >"$work/regedit.log" 2>&1 </dev/null
}

# Both have delivered every table, and the sysvol test has removed what it wrote.
all_seen() { # recording
  local table file
  for file in "$work/linux.json" "$work/windows.json"; do
    for table in $background; do
      grep -q "^{\"table\":\"$table\"" "$file" || return 1
    done
  done
  diff -r "$1/shares" "$shares" -x '*.corp.example' >"$work/left"
}

run_both() {
  local recording=$work/configured table on_linux on_windows seen=0 only=()
  for table in $background; do only+=(--only "$table"); done
  cp -r "$work/default" "$recording"
  write_settings "$recording"
  lay_out_shares "$recording"
  "$DIRWATCH" run --controller "$recording" --config "$work/run.toml" >"$work/linux.json" \
    2>"$work/linux.err" &
  on_linux=$!
  EQUIPMENT_SYSTEM_REGISTRY=1 DIRWATCH_CONTROLLER=$(winepath -w "$recording") \
    wine dirwatch.exe run --config "$(winepath -w "$work/run.toml")" >"$work/windows.json" \
    2>"$work/windows.err" </dev/null &
  on_windows=$!
  for _ in $(seq 300); do
    all_seen "$recording" && seen=1 && break
    sleep 0.3
  done
  [ $seen -eq 1 ] || { echo "windows: the whole agent: not all came"; cat "$work/left" || true; }
  timeout 60 wine reg delete 'HKLM\SOFTWARE\Marlow' /f >"$work/regedit.log" 2>&1 </dev/null || true
  kill -TERM $on_linux 2>/dev/null || true
  # Nothing under Wine passes on a signal as Ctrl-C.
  wineserver -k || true
  wait $on_linux $on_windows || true
  wineserver -w || true
  wineserver -p >/dev/null 2>&1
  compare "the whole agent" --first "${only[@]}"
}
run_both

compared=$(sort -u "$work/names" | wc -l)
total=$(python3 -c 'import json, sys; print(len(json.load(open(sys.argv[1]))))' "$work/tables.json")
echo "windows: recordings: $compared of $total tables had rows to compare"
[ "$compared" -eq "$total" ] || failures=$((failures + 1))
exit "$failures"
