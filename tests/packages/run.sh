#!/usr/bin/env bash
# Installs each kind of package, uses it, upgrades it and takes it away again: the Windows ones under
# Wine, the Debian one in a clean system of its own (root only). The packages are in build/packages.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
failures=0

run() {
  echo "packages: $1"
  "$here/$1" || { echo "packages: FAILED: $1"; failures=$((failures + 1)); }
}
run windows.sh
if [ "$(id -u)" -eq 0 ] && unshare -m true 2>/dev/null; then
  run debian.sh
else
  echo "packages: not root: installing the Debian package was left out"
  [ "${CI:-}" != true ] || { echo "packages: FAILED: CI does not allow that"; failures=$((failures + 1)); }
fi
[ "$failures" -eq 0 ] && echo "packages: all passed"
exit "$failures"
