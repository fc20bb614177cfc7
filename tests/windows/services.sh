#!/usr/bin/env bash
# WinServices by the Windows build, held against what Wine's own tools say: sc for each state, reg for
# each start type. One of the services is made for the occasion, with a display name of 70 characters
# not all of them ASCII. Usage: services.sh STAGE WORK FIXTURE, in a running Wine prefix.
set -euo pipefail
stage=$1
work=$2
fixture=$3
name=DirWatcherRowFixture
cd "$stage"

timeout 60 wine "$fixture" remove $name >/dev/null 2>&1 || true
timeout 60 wine "$fixture" create $name >"$work/fixture.log" 2>&1 || { cat "$work/fixture.log"; exit 1; }
trap 'timeout 60 wine "$fixture" remove $name >/dev/null 2>&1 || true' EXIT
timeout 60 wine dirwatch.exe sample DCWNTDSSVC --format json >"$work/services.json" \
  2>"$work/services.err" || { cat "$work/services.err"; exit 1; }
python3 - "$work/services.json" >"$work/service.names" <<'PY'
import json
import sys

for line in open(sys.argv[1], encoding="utf-8"):
    if line.strip():
        print(json.loads(line)["srvcname"].strip())
PY
: >"$work/sc.out"
while IFS= read -r service; do
  # A service can leave while this runs; its state then is nobody's, and shows as a difference.
  timeout 60 wine sc query "$service" >>"$work/sc.out" 2>/dev/null </dev/null || true
done <"$work/service.names"
timeout 60 wine reg query 'HKLM\System\CurrentControlSet\Services' /s >"$work/reg.out" 2>/dev/null
python3 - "$work" $name <<'PY'
import json
import pathlib
import re
import sys

work, made = pathlib.Path(sys.argv[1]), sys.argv[2]
states = ["Unknown", "Stopped", "Start Pending", "Stop Pending", "Running", "Continue Pending",
          "Pause Pending", "Paused"]
starts = ["Boot", "System", "Automatic", "Manual", "Disabled"]
rows = [json.loads(line) for line in open(work / "services.json", encoding="utf-8") if line.strip()]
sc, service = {}, None
for line in (work / "sc.out").read_text(errors="replace").splitlines():
    if match := re.match(r"SERVICE_NAME: (\S+)", line):
        service = match.group(1)
    elif match := re.match(r"\s+STATE\s+: (\w+)", line):
        sc[service.lower()] = states[int(match.group(1), 16)]
registry, key, types = {}, None, {}
for line in (work / "reg.out").read_text(errors="replace").splitlines():
    if match := re.match(r"HKEY_LOCAL_MACHINE\\.*\\Services\\([^\\]+)$", line.strip()):
        key = match.group(1).lower()
    elif line.startswith("HKEY_"):
        key = None
    elif key and (match := re.match(r"\s+Start\s+REG_DWORD\s+0x(\w+)", line)):
        registry[key] = starts[int(match.group(1), 16)]
    elif key and (match := re.match(r"\s+Type\s+REG_DWORD\s+0x(\w+)", line)):
        types[key] = int(match.group(1), 16)

wrong = []
for number, row in enumerate(rows, 1):
    name = row["srvcname"].strip()
    if row["rowno"] != number:
        wrong.append(f"{name}: row number {row['rowno']}, not {number}")
    for column, known in (("currstat", sc), ("startype", registry)):
        if row[column].strip() != known.get(name.lower()):
            wrong.append(f"{name}: {column} is {row[column].strip()!r}, not {known.get(name.lower())!r}")
listed = {row["srvcname"].strip().lower() for row in rows}
for name, type_ in types.items():
    if type_ & 0x30 and name in registry and name not in listed:
        wrong.append(f"{name}: has no row")
display = "Gr\u00f6\u00dfe \u4e00 of the service that a test made, seventy characters long total"
assert len(display) == 70
ours = [row for row in rows if row["srvcname"].strip() == made]
if len(ours) != 1:
    wrong.append(f"{made}: {len(ours)} rows")
else:
    ascii_only = "".join(c if ord(c) < 128 else "?" for c in display)
    for column, value in (("udispname", display), ("dispname", ascii_only[:64]),
                          ("currstat", "Stopped"), ("startype", "Manual"), ("lorgroup", "Fixture"),
                          ("binaryex", "C:\\fixture\\program.exe -x")):
        if ours[0][column].rstrip() != value.rstrip():
            wrong.append(f"{made}: {column} is {ours[0][column]!r}, not {value!r}")
for text in wrong:
    print("windows:", text)
print(f"windows: WinServices: {len(rows)} rows held against sc and the registry, {len(wrong)} differences")
sys.exit(1 if wrong or len(rows) < 5 else 0)
PY
