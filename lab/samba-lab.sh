#!/usr/bin/env bash
# A real Active Directory domain on this machine, for tests: Samba controllers inside network
# namespaces. Needs root and the apt packages of tools/packages.txt. See lab/lab.bash for what it
# makes; `down` takes away all of it.
set -u
LAB_PROGRAM=$(readlink -f "${BASH_SOURCE[0]}")
# shellcheck source=lab/lab.bash
source "$(dirname "$LAB_PROGRAM")/lab.bash"

usage() {
  cat <<'END'
usage: lab/samba-lab.sh COMMAND

  up [--owner PID]      bring up the domain corp.example with one controller, dc1; with an owner
                        the lab goes down by itself when that process ends, however it ends
  down                  take away everything; may be called at any time, any number of times
  status                say whether the lab is up and serves
  env                   print what a client needs, as NAME=value lines
  run COMMAND...        up, run the command as a client of the lab, down; its exit status
  exec MACHINE COMMAND  run a command on a machine: dc1, dc2, far1, or cli for clients
  add-controller        add a second site, Branch-Site, and in it the controller dc2
  add-forest            add a second forest, other.example, with one controller, far1
  add-containers N      add N containers below the head of the domain
  stop|start MACHINE    the controller's server: end it, or start it and wait until it serves;
                        start MACHINE +120 sets its clock 120 seconds ahead, -120 behind
  freeze|thaw MACHINE   stop its LDAP processes so that it takes connections and never answers

Environment: DIRWATCH_LAB_ID names the lab (default dwlab); labs of different ids do not touch.
Exit status 77: it cannot run here; the reason is printed.
END
}

with_client_environment() {
  local assignments
  mapfile -t assignments < <(lab_environment)
  export "${assignments[@]}"
  "$@"
}

run_in_lab() {
  local status
  trap 'lab_down' EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM HUP
  lab_up $$
  with_client_environment nsrun cli "$@"
  status=$?
  say "taking the lab down"
  exit $status
}

status() {
  LAB_ROOT=$(lab_root)
  [[ -n $LAB_ROOT ]] || { echo "down"; return 1; }
  if lab_serves dc1; then echo "up, dc1 serves ($LAB_ROOT)"; else echo "up, dc1 does not serve"; fi
}

command=${1:-}
shift || true
case $command in
  up)
    lab_check_requirements
    owner=
    [[ ${1:-} == --owner ]] && owner=$2
    # A lab half made is worse than none.
    trap '[[ $? == 0 ]] || lab_down' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM HUP
    lab_up "$owner"
    ;;
  down) lab_down ;;
  status) status ;;
  env) lab_require && lab_environment ;;
  run) lab_check_requirements && run_in_lab "$@" ;;
  exec) lab_require && nsrun "$@" ;;
  add-controller) lab_require && lab_add_controller ;;
  add-forest) lab_require && lab_add_forest ;;
  add-containers) lab_require && lab_add_containers "$1" ;;
  start) lab_require && lab_start_controller "$@" ;;
  stop) lab_require && lab_stop_controller "$1" ;;
  freeze) lab_require && lab_signal_ldap STOP "$1" ;;
  thaw) lab_require && lab_signal_ldap CONT "$1" ;;
  -h | --help) usage ;;
  *) usage >&2; exit 2 ;;
esac
