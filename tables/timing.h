#pragma once
// How long a TakeSample took, as two trace lines. Wanted only where the environment variable
// AGENT_TIMING is set: each operation looks anew, at every call, and only whether it is there
// counts.

#include <ctime>

#include "include/platform/time.h"

// One on the stack of a TakeSample.
struct TimerRecord {
  __timeb64 start = {};
  __timeb64 end = {};
  std::tm start_tm = {};
  std::tm end_tm = {};
};

// The first work of a TakeSample.
void startTimer(TimerRecord* timer);
// The last of it.
void stopTimer(TimerRecord* timer);
// The table's number and word are labels only; operation is "TakeSample".
void printTimerResults(const TimerRecord* timer, int tableIndex, const char* tableWord,
                       const char* operation);
