#!/usr/bin/env bash
# clang-tidy over the program's own sources, by the compile commands of a build folder: all that is
# above the seam, the framework and the command line program. The platform layer and the tests, which
# are no part of what runs on a controller, are left to the sanitizers: they would cost more minutes
# than all the rest. Sources for Windows alone have no compile command here. Files that have not
# changed since they were last clean are not looked at again.
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
git ls-files '*.cpp' | grep -vE '^(tests|fuzz|bench|platform)/|_windows\.cpp$' | xargs -P "$(nproc)" -I{} bash -c 'one {}'
