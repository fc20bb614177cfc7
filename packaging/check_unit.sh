#!/usr/bin/env bash
# The systemd unit is one that systemd understands, and stays as hardened as it is. Usage:
# check_unit.sh PROGRAM; the program stands in for the installed one.
set -euo pipefail
unit=$(cd "$(dirname "$0")" && pwd)/dirwatcher.service
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Exposure as systemd counts it, from 0 to 10, times ten. The agent's network and ping are in it.
most_exposed=20

grep -qx 'ExecStart=/usr/bin/DirWatcher' "$unit"
sed "s|/usr/bin/DirWatcher|$(realpath "$1")|" "$unit" >"$work/dirwatcher.service"
systemd-analyze verify --man=no "$work/dirwatcher.service" 2>"$work/complaints" ||
  { cat "$work/complaints"; exit 1; }
# It also warns of what it does not know, and succeeds.
if grep dirwatcher "$work/complaints"; then exit 1; fi
systemd-analyze security --offline=true --threshold=$most_exposed --no-pager \
  "$work/dirwatcher.service" >"$work/security" || { cat "$work/security"; exit 1; }
tail -n 1 "$work/security"
