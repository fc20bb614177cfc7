#!/usr/bin/env bash
# The live suite: brings up domains of its own, runs the comparison programs inside the client's
# namespace, takes the domains away. DIRECTORY_PROBE, QUESTION_PROBE and DIRWATCH name the programs
# under test. Exit status 77: it cannot run here; the reason is printed. Without arguments all
# comparison programs run; with some, the ones that they name (live_test, forest_test, sysvol_test,
# clock_test, recording_test, trust_test, each perhaps with a case: trust_test.TrustTest.test_10_...).
set -u
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
export LAB_PROGRAM=$here/../../lab/samba-lab.sh
export DIRWATCH_LAB_ID=dwt$(($$ % 1000000))
: "${DIRECTORY_PROBE:?names the program built from tests/live/directory_probe.cpp}"
: "${QUESTION_PROBE:?names the program built from tests/live/question_probe.cpp}"

in_a_domain() { PYTHONPATH=$here "$LAB_PROGRAM" run python3 -B -m unittest --verbose "$@"; }

if [ $# -gt 0 ]; then
  in_a_domain "$@"
  exit
fi
# Its 20,000 containers would be replicated by the domain of the others.
in_a_domain live_test
first=$?
[ $first -ne 77 ] || exit 77
in_a_domain forest_test sysvol_test clock_test recording_test trust_test && exit $first
