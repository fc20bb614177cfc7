#!/usr/bin/env bash
# The installer and the zip for Windows, in a Wine prefix of their own: installed, started through the
# service manager, set up in the registry, upgraded and removed.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
packages=$root/build/packages
version=$(sed -n 's/^project(DirWatcher .*VERSION \([0-9.]*\)).*/\1/p' "$root/CMakeLists.txt")
work=$(mktemp -d)
export WINEPREFIX=$work/prefix WINEDEBUG=-all
export WINEDLLOVERRIDES="winedbg.exe=d;mscoree=d;mshtml=d"
branch='HKLM\SOFTWARE\Marlow\DCW\Ver610\Primary'
checks=0 failures=0

finish() {
  wineserver -k 2>/dev/null || true
  wineserver -w 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# Wine's background processes hold a pipe open for ever, so output goes through files.
wine_run() { # what it says is in $work/said then
  local status=0
  timeout 120 wine "$@" >"$work/raw" 2>&1 </dev/null || status=$?
  tr -d '\r' <"$work/raw" >"$work/said"
  return $status
}
check() { # words that tell what is checked, then a command
  local what=$1
  shift
  checks=$((checks + 1))
  if "$@"; then return 0; fi
  echo "packages: FAILED: $what"
  sed 's/^/    /' "$work/said"
  failures=$((failures + 1))
}
says() { grep -qF -- "$1" "$work/said"; }
not() { ! "$@"; }
set_value() { wine_run reg add "$1\\Environment" /v "$2" /t REG_SZ /d "$3" /f; }
has_value() { wine_run reg query "$1\\Environment" /v "$2" && grep -q "$2 *REG_SZ *$3\$" "$work/said"; }
service() { wine_run "$folder/dirwatch.exe" service "$@"; }
trace_holds() { grep -qF -- "$1" "$folder/logs/trace.log" 2>/dev/null; }
# The trace file is opened after the service has said that it runs.
trace_gets() {
  for _ in $(seq 300); do trace_holds "$1" && return 0; sleep 0.1; done
  return 1
}

# Equipment that Wine needs and a controller does not: its own counter library ends the process when
# it is asked for objects, and so does its directory interface for two tables outside a domain.
equip() {
  cp "$root/build/windows/equipment/pdh.dll" "$folder"
  printf '[tables.DCWNTDSDCA]\nenabled = false\n[tables.DCWNTDSGPO]\nenabled = false\n' >>"$folder/dirwatch.toml"
}

started_service_delivers() { # what it calls itself
  check "$1: the service starts" service start
  check "$1: it says that it runs" says 'service DirWatcher runs'
  check "$1: the service manager says that it runs" service_is RUNNING
  for _ in $(seq 300); do
    grep -q '"table":"DCWNTDSSVC"' "$folder/logs/rows.json" 2>/dev/null && break
    sleep 0.1
  done
  check "$1: its rows tell of itself as a service that runs" python3 "$here/service_row.py" "$folder/logs/rows.json"
}
service_is() { wine_run sc query DirWatcher && says "$1"; }

stopped_service_says_so() { # what it calls itself
  local begin=$SECONDS
  check "$1: the service stops" service stop
  check "$1: the stop takes less than 10 s" [ $((SECONDS - begin)) -lt 10 ]
  check "$1: the service manager says that it stopped" service_is STOPPED
  # Its last words may come after its last status.
  trace_gets 'Main: TERMINATION' || true
  local text at=0 found
  while IFS= read -r text; do
    found=$(text=$text awk -v at="$at" 'NR > at && !seen && index($0, ENVIRON["text"]) { print NR; seen = 1 }' \
      "$folder/logs/trace.log")
    check "$1: the trace of the stop has, in its place: $text" [ -n "$found" ]
    at=${found:-$at}
  done <<'EOT'
ServiceCtrlHandler: Control Code - SERVICE_CONTROL_STOP
SendStatusToSCM: Sending [SERVICE_STOP_PENDING] status to SCM
LaunchServiceTerminationThread: Service termination requested.
StopService: Triggering termination event
ServiceMain: Returned from termination event wait
Sending SERVICE_STOPPED status to SCM
SendStatusToSCM: Sending [SERVICE_STOPPED] status to SCM
Main: StartServiceCtrlDispatcher returns TRUE
Main: TERMINATION
EOT
}

# A value nearer to the root wins over one further down, and one that is set once counts.
levels_are_in_force() { # what it calls itself
  set_value "$branch" DWA_PING_COUNT 3
  set_value "$branch" DWA_PING_SIZE 41
  set_value 'HKLM\SOFTWARE\Marlow\DCW\Ver610' DWA_PING_SIZE 42
  set_value "$branch" DWA_PING_TIMEOUT 51
  set_value 'HKLM\SOFTWARE\Marlow\DCW\Ver610' DWA_PING_TIMEOUT 52
  set_value 'HKLM\SOFTWARE\Marlow\DCW' DWA_PING_TIMEOUT 53
  check "$1: a change waits for the next start" not trace_holds 'Main: DWA_PING_COUNT 3.'
  rm -f "$folder/logs/trace.log"
  check "$1: the service starts with the settings" service start
  check "$1: a setting of the deepest level" trace_gets 'Main: DWA_PING_COUNT 3.'
  check "$1: the middle level wins over the deepest" trace_gets 'Main: DWA_PING_SIZE is 42.'
  check "$1: the highest level wins over both" trace_gets 'Main: DWA_PING_TIMEOUT is 53.'
  check "$1: the service stops again" service stop
}

keys_are_gone() { ! wine_run reg query 'HKLM\SOFTWARE\Marlow'; }
remove_upper_levels() {
  wine_run reg delete 'HKLM\SOFTWARE\Marlow\DCW\Environment' /f
  wine_run reg delete 'HKLM\SOFTWARE\Marlow\DCW\Ver610\Environment' /f
}

# What is shipped is that and no test equipment, and needs nothing but Windows and itself.
contents() {
  local file libraries
  libraries='activeds|advapi32|dnsapi|kernel32|msvcrt|netapi32|ntdsapi|ole32|oleaut32|pdh|user32|ws2_32|xaf|trc|lng2'
  (cd "$packages/DirWatcher" && ls ./*.exe ./*.dll | LC_ALL=C sort | tr '\n' ' ') >"$work/said"
  check 'contents: the programs and libraries, no more' \
    says './DWATrust.dll ./DirWatcher.exe ./LNG2.dll ./TRC.dll ./dirwatch.exe ./xaf.dll '
  for file in "$packages"/DirWatcher/*.{exe,dll}; do
    x86_64-w64-mingw32-objdump -p "$file" | grep 'DLL Name:' >"$work/said" || true
    check "contents: the imports of ${file##*/} can be read" says 'KERNEL32.dll'
    check "contents: ${file##*/} needs Windows and itself only" not grep -qviE ": ($libraries)\.dll" "$work/said"
  done
}

# A program of the installation that fails: here a file stands where a folder is to be made.
failing_installer() {
  folder="$WINEPREFIX/drive_c/Program Files/DirWatcher"
  mkdir -p "$folder"
  echo mine >"$folder/WATCHD6_x64"
  check 'failing: the installer fails' not wine_run msiexec /i "$packages/DirWatcher-$version-windows-x64.msi" /qn STARTSERVICE=0
  check 'failing: no service is left' not wine_run sc query DirWatcher
  check 'failing: no settings are left' keys_are_gone
  check 'failing: what stood in the way is as it was' grep -q mine "$folder/WATCHD6_x64"
  check 'failing: no programs are left' [ ! -e "$folder/DirWatcher.exe" ]
  rm -rf "$folder"
}

installer() {
  folder="$WINEPREFIX/drive_c/Program Files/DirWatcher"
  local one=$packages/DirWatcher-$version-windows-x64.msi two=$packages/DirWatcher-$next-windows-x64.msi
  check 'installer: it installs' wine_run msiexec /i "$one" /qn STARTSERVICE=0
  for file in "$packages"/DirWatcher/{,docs/}*.*; do
    check "installer: ${file##*/} is the one of the package" cmp -s "$file" "$folder/${file#"$packages/DirWatcher/"}"
  done
  check 'installer: the service is there, and stopped' service_is STOPPED
  check 'installer: status tells the same, as no success' not service status
  check 'installer: in these words' says 'service DirWatcher is stopped'
  wine_run reg query 'HKLM\System\CurrentControlSet\Services\DirWatcher'
  check 'installer: it starts with the machine' grep -q 'Start *REG_DWORD *0x2$' "$work/said"
  check 'installer: as LocalSystem' grep -q 'ObjectName *REG_SZ *LocalSystem$' "$work/said"
  check 'installer: its path is quoted' says '"C:\Program Files\DirWatcher\DirWatcher.exe"'
  check 'installer: the settings name the file' has_value "$branch" DIRWATCH_CONFIG '.*DirWatcher\\dirwatch.toml'
  check 'installer: and the folder' has_value "$branch" MARLOW_HOME '.*DirWatcher'
  equip
  started_service_delivers installer
  check 'installer: a second start is no failure' service start
  stopped_service_says_so installer
  check 'installer: a second stop is no failure' service stop
  levels_are_in_force installer

  # Windows hands the new product's code to the removal of the old one. Wine does not, so the two
  # steps of an upgrade are taken one by one here.
  cp "$folder/dirwatch.toml" "$work/kept.toml"
  check 'upgrade: the old version makes room' wine_run msiexec /x "$one" /qn "UPGRADINGPRODUCTCODE=$(code_of "$two")"
  check 'upgrade: its programs are gone' [ ! -e "$folder/DirWatcher.exe" ]
  check 'upgrade: the service is still there' service_is STOPPED
  check 'upgrade: the new version installs, and starts the service' wine_run msiexec /i "$two" /qn
  check 'upgrade: the service runs' service_is RUNNING
  check 'upgrade: the file of settings is the same' cmp "$work/kept.toml" "$folder/dirwatch.toml"
  check 'upgrade: a changed value is the same' has_value "$branch" DWA_PING_COUNT 3
  check 'upgrade: one version is known to the system' one_version

  check 'upgrade: an older version is refused' not wine_run msiexec /i "$one" /qn
  check 'upgrade: the service still runs' service_is RUNNING

  rm "$folder/pdh.dll"
  check 'uninstall: it uninstalls while the service runs' wine_run msiexec /x "$two" /qn
  check 'uninstall: levels that others may use are left, and named' wine_run reg query 'HKLM\SOFTWARE\Marlow\DCW\Environment'
  check 'uninstall: the branch is gone' not wine_run reg query "$branch"
  check 'uninstall: no service' not wine_run sc query DirWatcher
  check 'uninstall: no folder' [ ! -e "$folder" ]
  remove_upper_levels
  wine_run reg delete 'HKLM\SOFTWARE\Marlow' /f
}
code_of() { msiinfo export "$1" Property | tr -d '\r' | sed -n 's/^ProductCode\t//p'; }
one_version() {
  wine_run reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall' /s
  [ "$(grep -c 'DisplayName *REG_SZ *DirWatcher' "$work/said")" -eq 1 ] && says "$next"
}

archive() {
  folder=$WINEPREFIX/drive_c/tools/DirWatcher
  mkdir -p "${folder%/*}"
  (cd "${folder%/*}" && python3 -m zipfile -e "$packages/DirWatcher-$version-windows-x64.zip" .)
  check 'zip: no service yet' not service status
  check 'zip: and status says what to do' says "'dirwatch service install' does that"
  check 'zip: removing nothing is no failure' service uninstall
  check 'zip: the service installs' service install
  check 'zip: it says what is next' says 'next: dirwatch service start'
  equip
  cp "$folder/dirwatch.toml" "$work/kept.toml"
  set_value "$branch" DWA_PING_COUNT 4
  check 'zip: it installs a second time' service install
  check 'zip: what was there is told' says 'service DirWatcher was there already'
  check 'zip: the file of settings is the same' cmp "$work/kept.toml" "$folder/dirwatch.toml"
  check 'zip: a changed value is the same' has_value "$branch" DWA_PING_COUNT 4
  started_service_delivers zip
  stopped_service_says_so zip
  check 'zip: the service is removed' service uninstall
  check 'zip: the settings stay' has_value "$branch" DWA_PING_COUNT 4
  check 'zip: with the file' [ -e "$folder/dirwatch.toml" ]
  check 'zip: all of it is removed' service uninstall --purge
  check 'zip: no service' not wine_run sc query DirWatcher
  check 'zip: no settings' keys_are_gone
  rm "$folder/pdh.dll"
  (cd "$folder" && find . -type f | LC_ALL=C sort) >"$work/left"
  (cd "$packages/DirWatcher" && find . -type f | LC_ALL=C sort) >"$work/said"
  check 'zip: only its own files are left' cmp "$work/left" "$work/said"
  mv "$folder/DirWatcher.exe" "$folder/elsewhere.exe"
  check 'zip: without the agent beside it nothing is installed' not service install
  check 'zip: and it says what is wrong' says 'belong into one folder'
  check 'zip: there is no service then' not wine_run sc query DirWatcher
}

next=$(awk -F. '{print $1 "." $2 + 1 ".0"}' <<<"$version")
echo "packages: making a Wine prefix, about ten seconds"
wineboot -i >"$work/wineboot.log" 2>&1 || { cat "$work/wineboot.log"; exit 1; }
# A server that stays: one that leaves by itself can meet the next program on its way in.
wineserver -k 2>/dev/null || true
wineserver -w 2>/dev/null || true
wineserver -p >/dev/null 2>&1
contents
failing_installer
installer
archive
echo "packages: Windows: $checks checks, $failures failures"
[ "$failures" -eq 0 ]
