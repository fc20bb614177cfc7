#!/usr/bin/env bash
# Makes the package for Debian of a build. Usage: make_deb.sh BUILD DOCUMENTS VERSION FOLDER
set -euo pipefail
build=$1
pages=$2
version=$3
here=$(cd "$(dirname "$0")" && pwd)
architecture=$(dpkg --print-architecture)
target=$4/dirwatcher_${version}_$architecture.deb
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree
documents=$tree/usr/share/doc/dirwatcher

# The programs find their commands and libraries beside themselves, and through the links as well.
programs=$tree/usr/lib/dirwatcher
mkdir -p "$programs/commands" "$programs/libraries" "$tree/usr/bin"
for file in agent/DirWatcher cli/dirwatch commands/{ping,w32tm,netdom,net,ntfrsutl} libraries/DWATrust.so; do
  case $file in
    agent/* | cli/*) to=$programs/${file##*/} ;;
    *) to=$programs/$file ;;
  esac
  strip --strip-unneeded --remove-section=.comment --remove-section=.note -o "$to" "$build/$file"
done
chmod 0644 "$programs/libraries/DWATrust.so"
ln -s ../lib/dirwatcher/DirWatcher ../lib/dirwatcher/dirwatch "$tree/usr/bin"

install -D -m 0644 "$here/dirwatcher.service" "$tree/lib/systemd/system/dirwatcher.service"
install -D -m 0644 "$here/dirwatcher.sysusers" "$tree/usr/lib/sysusers.d/dirwatcher.conf"
install -D -m 0644 "$here/dirwatch.toml" "$tree/etc/dirwatcher/dirwatch.toml"
install -D -m 0644 "$here/environment" "$tree/etc/dirwatcher/environment"
for page in dirwatch DirWatcher; do
  install -D -m 0644 "$here/$page.1" "$tree/usr/share/man/man1/$page.1"
done

mkdir -p "$documents"
cp "$here/../README.md" "$pages"/* "$documents"
{
  cat "$here/debian/copyright.in"
  for package in nlohmann-json3-dev libtomlplusplus-dev libcli11-dev libutfcpp-dev; do
    printf '==== %s ====\n\n' "$package"
    cat "/usr/share/doc/$package/copyright"
  done
} >"$documents/copyright"
cat >"$documents/changelog" <<EOT
dirwatcher ($version) stable; urgency=medium

  * What changed stands in the history of the repository.

 -- DirWatcher maintainers <maintainers@dirwatcher.example>  $(date -R -u -d "@$SOURCE_DATE_EPOCH")
EOT
gzip -9n "$documents/changelog" "$tree"/usr/share/man/man1/*.1
install -D -m 0644 "$here/debian/lintian-overrides" "$tree/usr/share/lintian/overrides/dirwatcher"

# The libraries' packages, and the versions of them that have what is called.
mkdir -p "$work/debian" "$tree/DEBIAN"
printf 'Source: dirwatcher\nMaintainer: none\n\nPackage: dirwatcher\nArchitecture: any\n' >"$work/debian/control"
mapfile -t binaries < <(find "$programs" -type f)
depends=$(cd "$work" && dpkg-shlibdeps -O --ignore-missing-info "${binaries[@]}" 2>"$work/shlibdeps.log") ||
  { cat "$work/shlibdeps.log" >&2; exit 1; }
sed -e "s/@VERSION@/$version/" -e "s/@ARCHITECTURE@/$architecture/" \
  -e "s/@DEPENDS@/${depends#shlibs:Depends=}/" -e "s/@SIZE@/$(du -sk "$tree" | cut -f1)/" \
  "$here/debian/control.in" >"$tree/DEBIAN/control"
printf '/etc/dirwatcher/dirwatch.toml\n/etc/dirwatcher/environment\n' >"$tree/DEBIAN/conffiles"
for script in postinst prerm postrm; do install -m 0755 "$here/debian/$script" "$tree/DEBIAN/$script"; done
(cd "$tree" && find usr lib -type f -print0 | LC_ALL=C sort -z | xargs -0 md5sum) >"$tree/DEBIAN/md5sums"

find "$tree" -type d -exec chmod 0755 {} +
find "$documents" -type f -exec chmod 0644 {} +
find "$tree" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
dpkg-deb --root-owner-group --build "$tree" "$target"
