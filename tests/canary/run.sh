#!/usr/bin/env bash
# Every canary must fail; one that passes means that the tests cannot be trusted.
set -euo pipefail
build=$1
status=0
for canary in assertion address undefined; do
  program=$build/tests/canary/canary_$canary
  [ -x "$program" ] || { echo "the canary program $program is missing"; exit 1; }
  if "$program" >"$build/canary.log" 2>&1; then
    echo "canary $canary passed, which it must not"
    status=1
  else
    echo "canary $canary failed, as it must"
  fi
done
exit $status
