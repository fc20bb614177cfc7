#!/usr/bin/env bash
# The Debian package in a clean system: installed with apt, used, upgraded, removed and purged. The
# system is made once with debootstrap (two minutes, needs a mirror) and kept in ~/.cache/dirwatcher;
# each run works on a layer above it that is thrown away. Needs root.
set -euo pipefail
# Mounts of our own only, which end with this process.
[ "${DIRWATCH_OWN_MOUNTS:-}" = yes ] || DIRWATCH_OWN_MOUNTS=yes exec unshare -m --propagation private "$0"

here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
packages=$root/build/packages
version=$(sed -n 's/^project(DirWatcher .*VERSION \([0-9.]*\)).*/\1/p' "$root/CMakeLists.txt")
next=$(awk -F. '{print $1 "." $2 + 1 ".0"}' <<<"$version")
architecture=$(dpkg --print-architecture)
one=$packages/dirwatcher_${version}_$architecture.deb two=$packages/dirwatcher_${next}_$architecture.deb
mirror=${DIRWATCH_DEBIAN_MIRROR:-http://deb.debian.org/debian}
cache=${XDG_CACHE_HOME:-$HOME/.cache}/dirwatcher
work=$(mktemp -d)
system=$work/system
checks=0 failures=0
trap 'umount -R "$work/layers" "$system" 2>/dev/null; rm -rf --one-file-system "$work"' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

inside() { DEBIAN_FRONTEND=noninteractive LC_ALL=C chroot "$system" "$@"; }
check() { # words that tell what is checked, then a command
  local what=$1
  shift
  checks=$((checks + 1))
  if "$@" >"$work/said" 2>&1; then return 0; fi
  echo "packages: FAILED: $what"
  sed 's/^/    /' "$work/said"
  failures=$((failures + 1))
}
not() { ! "$@"; }
refuses() { # text that must be said, then a command that must fail
  local text=$1
  shift
  if "$@" 2>&1; then return 1; fi | tee "$work/refusal"
  grep -qF -- "$text" "$work/refusal"
}

# open_layer BASE: the system is BASE, and what is written to it stays in memory.
open_layer() {
  mkdir -p "$work/layers" "$system"
  mount -t tmpfs tmpfs "$work/layers"
  mkdir "$work/layers/upper" "$work/layers/work"
  mount -t overlay overlay -o "lowerdir=$1,upperdir=$work/layers/upper,workdir=$work/layers/work" "$system"
  mount -t proc proc "$system/proc"
  cp /etc/resolv.conf "$system/etc/resolv.conf"
}

# A clean system with what the package depends on, which apt finds out; kept for the next run.
prepare() {
  local depends key
  depends=$(dpkg-deb -f "$one" Depends)
  key=$(sha256sum <<<"$depends" | cut -c1-16)
  base=$cache/bookworm-$key
  mkdir -p "$cache"
  if [ ! -d "$cache/bookworm" ]; then
    echo "packages: making a clean system in $cache, about two minutes"
    debootstrap --variant=minbase bookworm "$cache/bookworm.part" "$mirror" >"$work/debootstrap.log" 2>&1 ||
      { tail -n 20 "$work/debootstrap.log"; rm -rf "$cache/bookworm.part"; return 1; }
    mv "$cache/bookworm.part" "$cache/bookworm"
  fi
  [ ! -d "$base" ] || return 0
  echo "packages: adding what the package depends on, about a minute"
  rm -rf "$cache"/bookworm-*
  cp -a "$cache/bookworm" "$base.part"
  system=$base.part
  cp /etc/resolv.conf "$system/etc/resolv.conf"
  inside apt-get update -qq
  inside apt-get satisfy -y -qq --no-install-recommends "$depends" >"$work/apt.log" 2>&1 ||
    { tail -n 20 "$work/apt.log"; return 1; }
  inside apt-get clean
  mv "$base.part" "$base"
  system=$work/system
}

# Every file but what ends with the machine, and the package manager's own records and logs.
files() {
  (cd "$system" && find . -xdev -path ./proc -prune -o -path ./run -prune -o -path ./var/lib/dpkg -prune -o -path ./var/log/apt -prune \
    -o -path ./var/cache -prune -o -path ./var/lib/apt -prune -o -path ./tmp -prune -o -print) | LC_ALL=C sort
}

install_package() { cp "$1" "$system/tmp" && inside apt-get install -y -qq --no-install-recommends "/tmp/${1##*/}"; }
is_installed() { [ "$(inside dpkg-query -W -f '${Status} ${Version}' dirwatcher)" = "install ok installed $1" ]; }
tables_with_rows() { inside dirwatch sample --format json "$@" | sed -n 's/^{"table":"\([A-Z]*\)".*/\1/p' | sort -u; }
all_tables_have_rows() {
  local count
  count=$(tables_with_rows | wc -l)
  echo "$count tables with rows"
  [ "$count" -eq 33 ]
}

prepare
open_layer "$base"
files >"$work/before"
check 'lintian finds nothing to complain about' lintian --allow-root --fail-on error,warning "$one"
check 'it installs' install_package "$one"
check 'it is installed whole' is_installed "$version"
check 'its user is there' inside id dirwatcher
check 'the settings that may name a password are closed to others' \
  [ "$(inside stat -c '%U %G %a' /etc/dirwatcher/environment)" = 'root dirwatcher 640' ]
check 'it starts with the machine' [ -L "$system/etc/systemd/system/multi-user.target.wants/dirwatcher.service" ]
check 'systemd takes its unit' inside systemd-analyze verify --man=no /lib/systemd/system/dirwatcher.service
check 'the version is the one of the sources' [ "$(inside dirwatch --version)" = "$version" ]
check 'tables have rows' all_tables_have_rows
check 'its user samples, too' inside setpriv --reuid=dirwatcher --regid=dirwatcher --clear-groups dirwatch sample DCWNTDSDCA
check 'the side library is found' [ "$(tables_with_rows DCWNTDSTTP)" = DCWNTDSTTP ]
check 'the configuration of the service is taken' inside sh -c \
  'mkdir -p /var/log/dirwatcher && dirwatch sample DCWNTDSCNT --config /etc/dirwatcher/dirwatch.toml'
for action in install start stop status uninstall; do
  check "service $action without systemd says so" refuses 'systemd does not run this machine' inside dirwatch service $action
done
if [ -d "$root/platform/service_control" ]; then
  check 'the agent tells systemd how it stands' python3 "$here/notify.py" "$system"
else
  echo 'packages: these sources do not speak to systemd: that was left out'
fi

echo '# mine' >>"$system/etc/dirwatcher/dirwatch.toml"
check 'a newer version installs over it' install_package "$two"
check 'it is installed whole' is_installed "$next"
check 'changed settings are kept' grep -q '^# mine$' "$system/etc/dirwatcher/dirwatch.toml"
check 'an older version is refused' not install_package "$one"
check 'it is removed' inside apt-get remove -y -qq dirwatcher
check 'then its programs are gone' [ ! -e "$system/usr/bin/dirwatch" ]
check 'and its settings stay' [ -e "$system/etc/dirwatcher/dirwatch.toml" ]
check 'it is purged' inside apt-get purge -y -qq dirwatcher
files >"$work/after"
check 'then nothing of it is left' diff "$work/before" "$work/after"

echo "packages: Debian: $checks checks, $failures failures"
[ "$failures" -eq 0 ]
