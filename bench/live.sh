#!/usr/bin/env bash
# Every benchmark, and Containers from a live Samba controller with 20,000 containers against
# ldapsearch. Root only: it brings up a domain in network namespaces and takes it away again.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export DIRWATCH_LAB_ID=dwbench
lab=$root/lab/samba-lab.sh
trap '"$lab" down >/dev/null 2>&1 || true' EXIT
"$lab" up --owner $$
"$lab" add-containers "${1:-20000}"
socket=$("$lab" env | sed -n 's/^LAB_LDAPI=//p')
"$root/bench/run" --live "ldapi://${socket//\//%2F}"
