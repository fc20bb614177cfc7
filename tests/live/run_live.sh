#!/usr/bin/env bash
# The live suite: brings up a domain of its own, runs the comparison program inside the client's
# namespace, takes the domain away. DIRECTORY_PROBE and DIRWATCH name the programs under test.
# Exit status 77: it cannot run here; the reason is printed. Arguments go to the comparison program.
set -u
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
export LAB_PROGRAM=$here/../../lab/samba-lab.sh
export DIRWATCH_LAB_ID=dwt$(($$ % 1000000))
: "${DIRECTORY_PROBE:?names the program built from tests/live/directory_probe.cpp}"
"$LAB_PROGRAM" run python3 "$here/live_test.py" "$@"
