#pragma once
// The day of the build, which the trace's file records carry. Its text stands in one source unit:
// in every unit it would make each day's build of the same source another one, and none could be
// cached.

namespace trace {

extern const char build_date[12];  // "Sep 30 2011"
extern const char build_time[9];   // "00:00:00": the day's start, so that a build can be repeated

}  // namespace trace
