# Shared by ./run and ./test: finds the repository, installs what is missing, builds with progress.
# Sourced, not run.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)
# One cache for every build folder and every clone.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1

say() { printf '\033[1m== %s\033[0m\n' "$*"; }
fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# Names of the packages of the given sections of tools/packages.txt.
packages_of() {
  awk -v wanted=" $* " '
    /^\[/ { section = substr($1, 2, length($1) - 2); next }
    /^[a-z0-9]/ && index(wanted, " " section " ") { print $1 }' "$root/tools/packages.txt"
}

# Installs what is missing of the given sections; says what it installs.
install_packages() {
  local missing=() package
  for package in $(packages_of "$@"); do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  say "installing ${#missing[@]} packages: ${missing[*]}"
  local sudo=
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
      fail "these packages are missing and this is not root; run: apt-get install ${missing[*]}"
    sudo=sudo
  fi
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq || fail "apt-get update failed; is a Debian 12 mirror reachable?"
  $sudo apt-get install -y -qq --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" >/dev/null ||
    fail "apt-get could not install the packages above"
}

# configure PRESET [cmake arguments]: quiet unless it fails.
configure() {
  local preset=$1 log
  shift
  mkdir -p "$root/build"
  log="$root/build/configure-$preset.log"
  (cd "$root" && cmake --preset "$preset" "$@") >"$log" 2>&1 || {
    cat "$log" >&2
    fail "configuring $preset failed"
  }
}

# build PRESET [targets]: shows how far it is.
build() {
  local preset=$1
  shift
  NINJA_STATUS="[$preset %f/%t] " ninja -C "$root/build/$preset" -j "$jobs" "$@"
}
