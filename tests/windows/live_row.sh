#!/usr/bin/env bash
# RootDSEServer by the Windows build, on a machine that is the live Samba controller's: its name and
# its network are the controller's, so that the agent's own questions reach it. The oracle is
# ldapsearch.
set -euo pipefail
stage=$1
work=$2
root=$(cd "$(dirname "$0")/../.." && pwd)
export DIRWATCH_LAB_ID=dwwine
lab=$root/lab/samba-lab.sh
trap '"$lab" down >/dev/null 2>&1 || true' EXIT

"$lab" up --owner $$ >"$work/lab.log" 2>&1 || { cat "$work/lab.log"; exit 1; }
# Sockets belong to the Wine server, so it must be started inside the controller's network.
wineserver -k 2>/dev/null || true
cat >"$work/one-row.sh" <<EOT
cd "$stage"
wine dirwatch.exe sample DCWNTDSRDS --format json >"$work/row.json" 2>"$work/row.err"
wineserver -k || true
EOT
"$lab" exec dc1 bash "$work/one-row.sh" || { cat "$work/row.err"; exit 1; }
"$lab" exec dc1 ldapsearch -LLL -x -H ldap://dc1 -s base -b '' \
  rootDomainNamingContext domainControllerFunctionality domainFunctionality forestFunctionality \
  >"$work/root.ldif"
python3 - "$work/row.json" "$work/root.ldif" <<'EOT'
import json
import sys

rows = [json.loads(line) for line in open(sys.argv[1], encoding="utf-8", errors="replace") if line.strip()]
root = dict(line.rstrip("\n").split(": ", 1) for line in open(sys.argv[2]) if ": " in line)
context = root["rootDomainNamingContext"]
wanted = {
    "rdsrdn": context,
    "rdsdcfun": int(root["domainControllerFunctionality"]),
    "rdsdmfun": int(root["domainFunctionality"]),
    "rdsfrfun": int(root["forestFunctionality"]),
    "rdsfdn": ".".join(part.split("=", 1)[1] for part in context.split(",")),
}
assert len(rows) == 1, rows
wrong = {name: (rows[0].get(name), value) for name, value in wanted.items() if rows[0].get(name) != value}
print("windows: RootDSEServer from a live controller:", "as ldapsearch says" if not wrong else wrong)
sys.exit(1 if wrong else 0)
EOT
