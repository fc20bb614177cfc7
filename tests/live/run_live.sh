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

# Side by side, each group in domains of its own: they wait far more than they work. The 20,000
# containers of the first would be replicated by the domain of the others.
groups=("live_test" "forest_test" "sysvol_test clock_test recording_test trust_test")
logs=$(mktemp -d)
jobs=()
set -m # each group is a process group, so that an interruption reaches all of it
trap 'for job in "${jobs[@]}"; do kill -TERM -- "-$job"; done 2>/dev/null; wait; exit 130' INT TERM HUP
trap 'rm -rf "$logs"' EXIT
for number in "${!groups[@]}"; do
  # shellcheck disable=SC2086  # one word a program
  DIRWATCH_LAB_ID=$DIRWATCH_LAB_ID$number in_a_domain ${groups[number]} >"$logs/$number" 2>&1 &
  jobs+=($!)
done
result=0
for number in "${!jobs[@]}"; do
  status=0
  wait "${jobs[number]}" || status=$?
  cat "$logs/$number"
  # A failure outweighs a group that cannot run here.
  if [ $status -ne 0 ] && { [ $result -eq 0 ] || [ $result -eq 77 ]; }; then result=$status; fi
done
exit $result
