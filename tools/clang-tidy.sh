#!/usr/bin/env bash
# clang-tidy over every source of the program (not of the tests), by the compile commands of a build
# folder. Files whose content has not changed since they were last clean are not looked at again.
set -euo pipefail
build=$1
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
stamps=$build/clang-tidy
mkdir -p "$stamps"

one() {
  local file=$1 stamp
  # A source's findings depend on it, its headers and the configuration.
  stamp=$stamps/$({ cat .clang-tidy "$file"; cat include/*.h include/platform/*.h "$(dirname "$file")"/*.h 2>/dev/null; } | sha256sum | cut -c1-24)
  [ -e "$stamp" ] && return 0
  if clang-tidy -p "$build" --quiet --warnings-as-errors='*' \
    --extra-arg=-Wno-unknown-warning-option "$file" >"$stamp.log" 2>&1; then
    touch "$stamp"; rm -f "$stamp.log"; echo "clean: $file"
  else
    grep -v 'warnings generated\|Suppressed\|Use -header-filter' "$stamp.log"; echo "findings: $file"; return 1
  fi
}
export -f one
export stamps build
git ls-files '*.cpp' | grep -vE '^(tests|fuzz|bench)/' | xargs -P "$(nproc)" -I{} bash -c 'one {}'
