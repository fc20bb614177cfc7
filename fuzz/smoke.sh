#!/usr/bin/env bash
# Runs each fuzzer for a few seconds, from its corpus where it has one. A finding ends it with the
# input's file name. Usage: fuzz/smoke.sh BUILD_FOLDER [SECONDS]
set -euo pipefail
build=$1
seconds=${2:-10}
here=$(cd "$(dirname "$0")" && pwd)
found=no
for fuzzer in "$build"/fuzz/fuzz_*; do
  [ -x "$fuzzer" ] || continue
  found=yes
  name=$(basename "$fuzzer" | sed 's/^fuzz_//')
  work=$(mktemp -d)
  corpus=()
  [ -d "$here/corpus/$name" ] && corpus=("$here/corpus/$name")
  # The first folder takes what the run finds interesting; the corpus itself is not written to.
  if ! "$fuzzer" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 \
    -artifact_prefix="$build/" "$work" "${corpus[@]}" >"$build/fuzz-$name.log" 2>&1; then
    tail -n 30 "$build/fuzz-$name.log"
    rm -rf "$work"
    exit 1
  fi
  rm -rf "$work"
  echo "fuzz $name: $(awk '/number_of_executed_units/ { print $2 }' "$build/fuzz-$name.log") inputs in $seconds s, no finding"
done
[ "$found" = yes ] || { echo "no fuzzer was built"; exit 1; }
