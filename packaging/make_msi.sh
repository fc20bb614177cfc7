#!/usr/bin/env bash
# Makes the installer for Windows of a staged folder. Usage: make_msi.sh FOLDER VERSION TARGET
set -euo pipefail
folder=$1
version=$2
target=$3
description=$(cd "$(dirname "$0")" && pwd)/dirwatcher.wxs
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# One component a file. Its name stays the same from version to version.
components() { # its files, relative to the staged folder
  local file name
  for file in "$@"; do
    [ -f "$file" ] || continue
    name=${file//[^A-Za-z0-9]/_}
    printf '<Component Id="%s_component" Guid="*" Win64="yes"><File Id="%s" Source="%s" KeyPath="yes"/></Component>\n' \
      "$name" "$name" "$file"
    echo "<ComponentRef Id=\"${name}_component\"/>" >>"$work/references"
  done
}
cd "$folder" # wixl finds files beneath its own folder only
components * >"$work/programs"
components docs/* >"$work/documents"
sed -e "s/@VERSION@/$version/" -e "/@PROGRAMS@/{r $work/programs
d}" -e "/@DOCUMENTS@/{r $work/documents
d}" -e "/@REFERENCES@/{r $work/references
d}" "$description" >"$work/dirwatcher.wxs"

made=$work/made.msi
wixl --arch x64 --output "$made" "$work/dirwatcher.wxs"
query() { msibuild "$made" -q "$1"; }

# What wixl has no words for. The places of our own actions, which it orders as it likes:
while read -r action place; do
  query "UPDATE \`InstallExecuteSequence\` SET \`Sequence\` = $place WHERE \`Action\` = '$action'"
done <<EOT
RemoveExistingProducts 1410
RemoveService 3450
UndoInstallService 4010
InstallService 4020
StartService 5910
EOT
# A rollback action is one that runs from the script (1024) when it is rolled back (256), with the
# rights of the installer (2048), whatever it returns (64): a program of this package (18).
query "UPDATE \`CustomAction\` SET \`Type\` = 3410 WHERE \`Action\` = 'UndoInstallService'"
# The same version built again replaces the one before (512) and takes its features over (1).
upgrade_code=$(sed -n 's/.*UpgradeCode="\([^"]*\)".*/\1/p' "$description")
query "DELETE FROM \`Upgrade\` WHERE \`ActionProperty\` = 'WIX_UPGRADE_DETECTED'"
query "INSERT INTO \`Upgrade\` (\`UpgradeCode\`, \`VersionMax\`, \`Attributes\`, \`ActionProperty\`) VALUES ('{$upgrade_code}', '$version', 513, 'WIX_UPGRADE_DETECTED')"
# What the administrator says on the command line reaches the part that runs with all rights.
query "UPDATE \`Property\` SET \`Value\` = 'WIX_DOWNGRADE_DETECTED;WIX_UPGRADE_DETECTED;STARTSERVICE;INSTALLDIR' WHERE \`Property\` = 'SecureCustomProperties'"
mv "$made" "$target"
