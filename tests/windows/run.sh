#!/usr/bin/env bash
# Runs the Windows build under Wine: the tests that need no controller, the command line program
# against the Linux one (whose path is in DIRWATCH), rows of recordings against the Linux ones, the agent
# as a console program, and a row from a live Samba controller.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$root/build/windows
work=$(mktemp -d)
stage=$work/stage
export WINEPREFIX=$build/prefix WINEDEBUG=-all
export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d"
failures=0

finish() {
  wineserver -k 2>/dev/null || true
  wineserver -w 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

note() { echo "windows: $*"; }
wrong() { echo "windows: FAILED: $*"; failures=$((failures + 1)); }

# What is shipped needs nothing but Windows and itself.
system_libraries='activeds|advapi32|dnsapi|kernel32|msvcrt|netapi32|ntdsapi|ole32|oleaut32|pdh|user32|ws2_32'
for file in DirWatcher.exe dirwatch.exe xaf.dll TRC.dll LNG2.dll DWATrust.dll; do
  x86_64-w64-mingw32-objdump -p "$build/stage/$file" >"$work/imports"
  grep -q 'DLL Name: KERNEL32.dll' "$work/imports" || wrong "$file: its imports cannot be read"
  if grep 'DLL Name:' "$work/imports" | grep -viE ": ($system_libraries|xaf|trc|lng2)\.dll"; then
    wrong "$file needs a library that Windows does not have"
  fi
done

if [ ! -e "$WINEPREFIX/system.reg" ]; then
  note "making a Wine prefix, about ten seconds"
  wineboot -i >"$work/wineboot.log" 2>&1 || { cat "$work/wineboot.log"; exit 1; }
fi
cp -r "$build/stage" "$stage"
# Wine's own counter library ends the process when it is asked for objects.
cp "$build/equipment/pdh.dll" "$stage"
cd "$stage"
# The Wine server stays until it is ended: one that leaves by itself between two programs can meet the
# next one on its way in, which then fails.
wineserver -k 2>/dev/null || true
wineserver -w 2>/dev/null || true
wineserver -p >/dev/null 2>&1

# Each test has a process of its own, so that process-wide state starts fresh, as on Linux. Wine's
# background processes hold a pipe open for ever, so output goes through files.
run_tests() { # program
  local program=$1 suite= line test passed=0 skipped=0
  timeout 60 wine "$program" --gtest_list_tests >"$work/list" 2>"$work/list.err" || true
  tr -d '\r' <"$work/list" | sed 's/ *#.*//' >"$work/list.unix"
  while IFS= read -r line; do
    case $line in
      "  "*) test=$suite${line#  } ;;
      *.) suite=$line; continue ;;
      *) continue ;;
    esac
    if ! timeout 120 wine "$program" --gtest_filter="$test" >"$work/log" 2>&1 </dev/null; then
      cat "$work/log"
      wrong "$program $test"
    elif grep -q '^\[  SKIPPED' "$work/log"; then
      note "skipped: $test: $(tr -d '\r' <"$work/log" | grep -A1 ': Skipped' | tail -n 1)"
      skipped=$((skipped + 1))
    elif grep -q '^\[  PASSED  \] 1 test' "$work/log"; then
      passed=$((passed + 1))
    else
      cat "$work/log"
      wrong "$program $test did not run"
    fi
  done <"$work/list.unix"
  note "$program: $passed passed, $skipped skipped"
  [ "$passed" -gt 0 ] || wrong "$program has no test that passed"
}
for program in test_*.exe; do run_tests "$program"; done

# The list of tables is the Linux program's, byte for byte, line ends aside.
timeout 60 wine dirwatch.exe tables --format json >"$work/tables.windows" 2>"$work/tables.err" ||
  { cat "$work/tables.err"; wrong "dirwatch.exe tables"; }
"${DIRWATCH:?names the Linux program}" tables --format json >"$work/tables.linux"
if tr -d '\r' <"$work/tables.windows" | cmp - "$work/tables.linux"; then
  note "dirwatch.exe tables --format json: the same $(wc -c <"$work/tables.linux") bytes as on Linux"
else
  wrong "dirwatch.exe tables --format json differs from the Linux program's"
fi

"$root/tests/windows/services.sh" "$stage" "$work" "$build/equipment/service_fixture.exe" ||
  wrong "the rows of WinServices"

"$root/tests/windows/service_protocol.sh" "$stage" "$work" \
  "$build/equipment/service_protocol.exe" || wrong "DirWatcher.exe as a service"

"$root/tests/windows/recording.sh" "$stage" "$work" "$build/equipment/recorded" ||
  wrong "rows of a recording differ from those on Linux"

# The console agent, on the recorded controller: it gives rows, and its start and its stop leave the
# required lines in the trace, in this order.
cat >"$work/agent.toml" <<EOT
[framework]
stop_after = "3s"
interval = "1s"
[trace]
path = "$(winepath -w "$work/agent.trc" | sed 's/\\/\\\\/g')"
[sink]
format = "json"
path = "$(winepath -w "$work/agent.json" | sed 's/\\/\\\\/g')"
EOT
cd "$stage/recorded"
DIRWATCH_CONTROLLER=$(winepath -w "$root/recordings/default") \
  DIRWATCH_CONFIG=$(winepath -w "$work/agent.toml") timeout 60 wine DirWatcher.exe TEST \
  >"$work/agent.out" 2>&1 &
agent=$!
# Beside it, in another process: what its background jobs do. Its caching is off, which is told.
for _ in $(seq 100); do
  status=0
  timeout 60 wine dirwatch.exe caches >"$work/caches" 2>"$work/caches.err" || status=$?
  grep -q '^counter collectors  built' "$work/caches" && break
  kill -0 $agent 2>/dev/null || break
  sleep 0.1
done
if [ "$status" -eq 1 ] && grep -q '^process [0-9]*, started 20.*, caching off' "$work/caches" &&
  grep -q '^counter collectors  built' "$work/caches" && grep -q '^DCWNTDSTRS *off' "$work/caches" &&
  grep -q 'set DWA_CACHE_INTERVAL' "$work/caches.err"; then
  note "dirwatch.exe caches shows the running DirWatcher.exe TEST"
else
  cat "$work/caches" "$work/caches.err"
  wrong "dirwatch.exe caches beside DirWatcher.exe TEST, status $status"
fi
for _ in $(seq 300); do
  grep -q 'Main: Returned from main wait' "$work/agent.trc" 2>/dev/null && break
  kill -0 $agent 2>/dev/null || break
  sleep 0.1
done
# Its main thread has ended by now and the process lives on, as it must; nothing else would end it.
wineserver -k || true
wait $agent || true
cd "$stage"
for table in DCWNTDSDCA DCWNTDSGPO DCWNTDSAB DCWNTDSSVC; do
  grep -q "^{\"table\":\"$table\"" "$work/agent.json" || wrong "DirWatcher.exe TEST: no row of $table"
done
python3 - "$work/agent.trc" <<'EOT' || wrong "the traces of DirWatcher.exe TEST"
import pathlib
import sys

wanted = [
    "Main: Entry", "Main: CriticalSection intialized", "Main: Shutdown event [DCWSHUTDOWN] created",
    "Main: Console Mode", "Main: Going to InitService",
    "InitService: Attaching a new thread for agent", "Main: Dropping into main wait",
    "StopService: Attempting shutdown", "StopService: Triggering termination event",
    "Main: Returned from main wait",
]
anywhere = ["ServiceThread: Attached.", "ServiceThread: Calling MwMain", "MwMain: Entry",
            "MwMain: Environment Set", "MwMain: framework thread started.", "InvokeFW:  Attached",
            "InvokeFW:  Calling xafmain to get agent started.", "*****CREATED OBJECTS*****",
            "MwMain: XAFMAIN thread handle posted", "MwMain: EXITING",
            "ServiceThread: MwMain returned. Calling StopService"]
lines = pathlib.Path(sys.argv[1]).read_text(errors="replace").splitlines()
at, missing = 0, []
for text in wanted:
    found = next((i for i in range(at, len(lines)) if text in lines[i]), None)
    if found is None:
        missing.append(text)
    else:
        at = found + 1
missing += [text for text in anywhere if not any(text in line for line in lines)]
for text in missing:
    print("missing, or out of order:", text)
print(f"windows: DirWatcher.exe TEST: {len(wanted) + len(anywhere) - len(missing)} required traces of "
      f"{len(wanted) + len(anywhere)}")
sys.exit(1 if missing else 0)
EOT

if [ "$(id -u)" -eq 0 ] && unshare -n true 2>/dev/null; then
  "$root/tests/windows/live_row.sh" "$stage" "$work" || wrong "RootDSEServer from a live controller"
else
  note "no network namespaces here: the row from a live controller was left out"
  [ "${CI:-}" != true ] || wrong "CI does not allow that to be left out"
fi
[ "$failures" -eq 0 ] && note "all passed"
exit "$failures"
