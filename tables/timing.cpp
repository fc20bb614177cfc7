#include "tables/timing.h"

#include <cstdlib>

#include "include/setting_list.h"
#include "include/trace.h"

namespace {

bool timing_wanted() { return std::getenv(settings::kTiming.name) != nullptr; }

void local_calendar_time(std::tm* local) {
  const __time64_t now = _time64(nullptr);
  _localtime64_s(local, &now);
}

// The calendar time as text, in a buffer that the next call on the thread overwrites.
const char* calendar_text(const std::tm& time) {
  thread_local char text[32];
  if (asctime_s(text, sizeof text, &time) != 0) text[0] = '\0';
  return text;
}

}  // namespace

void startTimer(TimerRecord* timer) {
  DCW_TRACE("startTimer");
  if (!timing_wanted()) return;
  local_calendar_time(&timer->start_tm);
  _ftime64(&timer->start);
}

void stopTimer(TimerRecord* timer) {
  DCW_TRACE("stopTimer");
  if (!timing_wanted()) return;
  _ftime64(&timer->end);
  local_calendar_time(&timer->end_tm);
}

void printTimerResults(const TimerRecord* timer, int tableIndex, const char* tableWord,
                       const char* operation) {
  DCW_TRACE("printTimerResults");
  if (!timing_wanted()) {
    trace.leaves_silently();
    return;
  }
  __time64_t seconds = timer->end.time - timer->start.time;
  double milliseconds = timer->end.millitm - timer->start.millitm;
  if (timer->end.millitm < timer->start.millitm) {
    seconds -= 1;
    milliseconds += 1000.0;
  }
  if (trace.on(trace::kError)) {
    // Both texts are in the one buffer and so come out as the start. Deliberate: the line has
    // always read so, and the duration stands in the next one.
    const char* const end_text = calendar_text(timer->end_tm);
    const char* const start_text = calendar_text(timer->start_tm);
    trace.error()("Timer: %d %s %s %s : %s", tableIndex, tableWord, operation, start_text,
                  end_text);
  }
  trace.error()("TIMER: %d : %s : %s : Time to Complete: %8.2f", tableIndex, tableWord, operation,
                static_cast<double>(
                    static_cast<float>(static_cast<double>(seconds) + milliseconds / 1000.0)));
}
