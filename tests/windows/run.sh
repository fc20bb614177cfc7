#!/usr/bin/env bash
# Runs the Windows build under Wine: the tests that need no controller, the agent as a console
# program, and a row from a live Samba controller.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
stage=$root/build/windows/stage
work=$(mktemp -d)
export WINEPREFIX=$root/build/windows/prefix WINEDEBUG=-all
export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d"
failures=0

finish() {
  wineserver -k 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT

note() { echo "windows: $*"; }
wrong() { echo "windows: FAILED: $*"; failures=$((failures + 1)); }

if [ ! -e "$WINEPREFIX/system.reg" ]; then
  note "making a Wine prefix, about ten seconds"
  wineboot -i >"$work/wineboot.log" 2>&1 || { cat "$work/wineboot.log"; exit 1; }
fi
cd "$stage"

# Wine's background processes hold a pipe open for ever, so output goes through files.
for program in test_*.exe; do
  if timeout 300 wine "$program" --gtest_brief=1 >"$work/$program.log" 2>&1; then
    note "$program: $(grep -E '^\[  PASSED' "$work/$program.log" | tr -d '\r')"
  else
    cat "$work/$program.log"
    wrong "$program"
  fi
done

# The console agent: its start and its stop leave the required lines in the trace, in this order.
cat >"$work/agent.toml" <<EOT
[framework]
stop_after = "3s"
interval = "1s"
[trace]
path = "$(winepath -w "$work/agent.trc" | sed 's/\\/\\\\/g')"
[sink]
format = "none"
EOT
DIRWATCH_CONFIG=$(winepath -w "$work/agent.toml") timeout 60 wine DirWatcher.exe TEST \
  >"$work/agent.out" 2>&1 &
agent=$!
for _ in $(seq 300); do
  grep -q 'Main: Returned from main wait' "$work/agent.trc" 2>/dev/null && break
  kill -0 $agent 2>/dev/null || break
  sleep 0.1
done
# Its main thread has ended by now and the process lives on, as it must; nothing else would end it.
wineserver -k || true
wait $agent || true
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
