#!/usr/bin/env bash
# Makes the packages people install, in build/packages.
# Usage: packaging/build.sh [--version X.Y.Z|next] [zip|msi|deb]...; with no kind named: all of them.
# The version is the one in CMakeLists.txt. Another one, to try an upgrade, names the package only:
# the programs inside keep theirs.
source "$(dirname "${BASH_SOURCE[0]}")/../tools/setup.sh"

default_version=$(sed -n 's/^project(DirWatcher .*VERSION \([0-9.]*\)).*/\1/p' "$root/CMakeLists.txt")
version=$default_version
kinds=()
while [ $# -gt 0 ]; do
  case $1 in
    --version) version=${2:?--version takes X.Y.Z}; shift ;;
    zip | msi | deb) kinds+=("$1") ;;
    *) sed -n '2,5s/^# //p' "${BASH_SOURCE[0]}" >&2; fail "'$1' is no kind of package" ;;
  esac
  shift
done
[ ${#kinds[@]} -gt 0 ] || kinds=(zip msi deb)
# The next version of the same programs.
[ "$version" != next ] || version=$(awk -F. '{print $1 "." $2 + 1 ".0"}' <<<"$default_version")
[[ $version =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "'$version' is no version of three numbers"

# The same source gives the same bytes: files carry the time of the last commit.
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct)
export SOURCE_DATE_EPOCH root version
packages=$root/build/packages
mkdir -p "$packages"

# What the licences of the libraries inside the programs ask to be passed on. Arguments: packages.
notices() {
  local package
  for package in "$@"; do
    printf '==== %s ====\n\n' "$package"
    cat "/usr/share/doc/$package/copyright"
    printf '\n'
  done
}

# The pages for those who run the agent, in build/packages/documents.
stage_documents() {
  local page
  rm -rf "$packages/documents"
  mkdir -p "$packages/documents"
  for page in "$root"/docs/*.md; do
    case ${page##*/} in adding-a-table.md | architecture.md) ;; *) cp "$page" "$packages/documents" ;; esac
  done
  cp "$root/docs/dirwatch.toml" "$packages/documents"
}

# Everything for a Windows machine, in build/packages/DirWatcher.
stage_windows() {
  local file from=$root/build/windows stage=$packages/DirWatcher
  install_packages run test packages
  configure windows
  build windows DirWatcher dirwatch dw_trust_topology
  rm -rf "$stage"
  mkdir -p "$stage"
  for file in agent/DirWatcher.exe cli/dirwatch.exe bin/xaf.dll bin/TRC.dll bin/LNG2.dll \
    trust_topology/DWATrust.dll; do
    x86_64-w64-mingw32-strip -o "$stage/${file##*/}" "$from/$file"
  done
  cp -r "$packages/documents" "$stage/docs"
  cp "$root/README.md" "$stage"
  notices nlohmann-json3-dev libtomlplusplus-dev libcli11-dev libutfcpp-dev \
    g++-mingw-w64-x86-64-posix mingw-w64-common >"$stage/NOTICES.txt"
  find "$stage" -exec touch -d "@$SOURCE_DATE_EPOCH" {} +
}

make_zip() {
  local target=$packages/DirWatcher-$version-windows-x64.zip
  rm -f "$target"
  (cd "$packages" && find DirWatcher | LC_ALL=C sort | TZ=UTC zip -q -X -@ "$target")
  echo "$target"
}

make_msi() {
  local target=$packages/DirWatcher-$version-windows-x64.msi
  "$root/packaging/make_msi.sh" "$packages/DirWatcher" "$version" "$target"
  echo "$target"
}

make_deb() {
  install_packages run packages
  configure release
  build release DirWatcher dirwatch
  "$root/packaging/make_deb.sh" "$root/build/release" "$packages/documents" "$version" "$packages"
}

stage_documents
if [[ " ${kinds[*]} " =~ \ (zip|msi)\  ]]; then stage_windows; fi
for kind in "${kinds[@]}"; do
  say "package $kind"
  "make_$kind"
done
