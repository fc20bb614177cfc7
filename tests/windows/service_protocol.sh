#!/usr/bin/env bash
# DirWatcher.exe as a service of Wine's service manager, driven through that manager's own interface:
# what service_protocol.exe saw at each step, and the traces of the first start and stop in order.
# Usage: service_protocol.sh STAGE WORK PROGRAM, in a running Wine prefix.
set -euo pipefail
stage=$1
work=$2/service
program=$3
key='HKLM\SOFTWARE\Marlow\DCW\Ver610\Primary\Environment'
mkdir -p "$work"
cd "$stage"
windows_path() { winepath -w "$1" 2>/dev/null | tr -d '\r'; }

# A service starts in the manager's environment, so its settings come the agent's own way.
cat >"$work/dirwatch.toml" <<EOT
[framework]
interval = "1s"
# Wine answers the tables' directory questions with the end of the process.
tables = ["DCWNTDSSVC"]
[trace]
path = '$(windows_path "$work/agent.trc")'
[sink]
format = "json"
path = '$(windows_path "$work/rows.json")'
EOT
wine reg add "$key" /v DIRWATCH_CONFIG /d "$(windows_path "$work/dirwatch.toml")" /f \
  >"$work/reg.out" 2>&1 </dev/null || { cat "$work/reg.out"; exit 1; }
status=0
timeout 240 wine "$program" "$(windows_path "$stage/DirWatcher.exe")" \
  "$(windows_path "$work/rows.json")" >"$work/steps" 2>"$work/steps.err" </dev/null || status=$?
wine reg delete 'HKLM\SOFTWARE\Marlow' /f >"$work/reg.out" 2>&1 </dev/null || true
tr -d '\r' <"$work/steps"
[ "$status" -eq 0 ] || { echo "windows: service: exit code $status"; cat "$work/steps.err"; }
python3 - "$work/agent.trc" <<'PY' || status=1
import pathlib
import sys

wanted = [
    "Main: Register with the SCM.", "ServiceMain: Invoked.",
    "ServiceMain: registered the service control handler",
    "SendStatusToSCM: Sending [SERVICE_START_PENDING] status to SCM",
    "ServiceMain: Sent first status. May have to re-register DLL",
    "ServiceMain: Argument one: REREG", "ServiceMain: comparison yields [0]",
    "ServiceMain: indicating DLL to be reregistered",
    "SendStatusToSCM: Sending [SERVICE_START_PENDING] status to SCM",
    "ServiceMain: Sent second status. Calling InitService", "ServiceMain: Returned from InitService",
    "SendStatusToSCM: Sending [SERVICE_RUNNING] status to SCM",
    "ServiceMain: Marked service as running. Now waiting for terminate event",
    "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_INTERROGATE",
    "ServiceCtrlHandler: Control Code - 0x", "80", " undefined.  Ignored.",
    "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_STOP",
    "SendStatusToSCM: Sending [SERVICE_STOP_PENDING] status to SCM",
    "LaunchServiceTerminationThread: Service termination requested.",
    "StopService: Attempting shutdown", "StopService: Triggering termination event",
    "ServiceMain: Returned from termination event wait", "terminate: Terminate request received.",
    "Sending SERVICE_STOPPED status to SCM",
    "SendStatusToSCM: Sending [SERVICE_STOPPED] status to SCM",
]
lines = pathlib.Path(sys.argv[1]).read_text(errors="replace").splitlines()
at, missing = 0, []
for text in wanted:
    found = next((i for i in range(at, len(lines)) if text in lines[i]), None)
    if found is None:
        missing.append(text)
    else:
        at = found + 1
for text in missing:
    print("missing, or out of order:", text)
print(f"windows: service: {len(wanted) - len(missing)} required traces of {len(wanted)}")
sys.exit(1 if missing else 0)
PY
exit "$status"
