#!/usr/bin/env bash
# The live suite: brings up domains of its own, runs the comparison programs inside the client's
# namespace, takes the domains away. DIRECTORY_PROBE, QUESTION_PROBE and DIRWATCH name the programs
# under test. Exit status 77: it cannot run here; the reason is printed. Without arguments both
# comparison programs run; with some, the one named first (live_test or forest_test) with the rest.
set -u
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
export LAB_PROGRAM=$here/../../lab/samba-lab.sh
export DIRWATCH_LAB_ID=dwt$(($$ % 1000000))
: "${DIRECTORY_PROBE:?names the program built from tests/live/directory_probe.cpp}"
: "${QUESTION_PROBE:?names the program built from tests/live/question_probe.cpp}"

# Each in a domain of its own: 20,000 containers of the one would be replicated by the other.
in_a_domain() { "$LAB_PROGRAM" run python3 -B "$here/$1.py" "${@:2}"; }

if [ $# -gt 0 ]; then
  in_a_domain "$@"
  exit
fi
in_a_domain live_test
first=$?
[ $first -ne 77 ] || exit 77
in_a_domain forest_test && exit $first
