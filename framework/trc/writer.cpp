// The one place where trace records leave the process: the captures of tests, the trace file, the
// standard error stream.

#include <cstdio>
#include <ctime>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "framework/trc/internal.h"
#include "framework/trc/rotating_file.h"
#include "platform/threads.h"
#include "platform/time.h"

namespace trc {

struct Capture::State {
  std::vector<Line> lines;
};

namespace {

// Records from before anybody said where lines go: the start of the process, above all. They are
// written at the head of the first trace file.
constexpr std::size_t kEarlyLinesLimit = 2000;

struct Writer {
  std::mutex mutex;
  // Guarded by mutex.
  RotatingFile file;
  bool console = false;
  std::deque<Line> early;
  std::vector<std::vector<Line>*> captures;
  bool failing = false;  // the last write failed: says so once, not at every line
  // Read without the mutex; written under it.
  std::atomic<bool> keeps_early{true};
  std::atomic<bool> listening{true};
};

// Never destroyed: functions may trace until the very end of the process.
Writer& writer() {
  static Writer* const instance = new Writer;
  return *instance;
}

// A record made while this thread is writing one waits here until that one is out.
struct ThreadState {
  bool writing = false;
  std::vector<Line> waiting;
};
thread_local ThreadState thread_state;

// The caller holds the mutex.
void refresh_listening(Writer& out) {
  out.listening = out.keeps_early || out.file.is_open() || out.console || !out.captures.empty();
}

std::int64_t now_ms() {
  struct _timeb now = {};
  _ftime64(&now);
  return static_cast<std::int64_t>(now.time) * 1000 + now.millitm;
}

// Traces that a record could not be written, through the library's own front door: the record
// queues behind the one at hand.
void report_failure(const std::string& reason) {
  static TRC1_FileRecord file = {__FILE__, sizeof(__FILE__) - 1, "", 0, "", 0, "", 0};
  static TRC1_UnitRecord unit = {&file, "trc", 3, __LINE__, &TRC1_Generation, TRC1_UnitOptions,
                                 0,     0};
  TRC1_Printf(&unit, __LINE__, "trace file: %s", reason.c_str());
}

// The caller holds the mutex.
void write_locked(Writer& out, const Line& line) {
  for (std::vector<Line>* capture : out.captures) capture->push_back(line);
  if (out.keeps_early && out.early.size() < kEarlyLinesLimit) out.early.push_back(line);
  if (!out.file.is_open() && !out.console) return;
  const std::string text = render(line);
  if (out.console) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
  }
  if (!out.file.is_open()) return;
  std::string error;
  const bool good = out.file.write(text, error);
  if (!good && !out.failing) {
    out.failing = true;
    report_failure(error);
  }
  if (good) out.failing = false;
}

void write_record(Line line) {
  ThreadState& mine = thread_state;
  if (mine.writing) {
    mine.waiting.push_back(std::move(line));
    return;
  }
  Writer& out = writer();
  const std::lock_guard hold(out.mutex);
  mine.writing = true;
  write_locked(out, line);
  while (!mine.waiting.empty()) {
    const std::vector<Line> waiting = std::exchange(mine.waiting, {});
    for (const Line& next : waiting) write_locked(out, next);
  }
  mine.writing = false;
}

}  // namespace

bool anyone_listens() { return writer().listening.load(std::memory_order_relaxed); }

void write(const TRC1_UnitRecord* unit, Kind kind, std::uint32_t source_line, std::string text) {
  if (!text.empty() && text.back() == '\n') text.pop_back();
  Line line;
  line.kind = kind;
  if (unit->file != nullptr) line.file = base_name({unit->file->path, unit->file->path_length});
  line.function.assign(unit->function_name, unit->function_name_length);
  line.source_line = source_line;
  line.thread = static_cast<std::uint32_t>(GetCurrentThreadId());
  line.time_ms = now_ms();
  line.text = std::move(text);
  write_record(std::move(line));
}

bool open_file(const FileSettings& settings, std::string& error) {
  if (settings.path.empty()) {
    close_file();
    return true;
  }
  Writer& out = writer();
  const std::lock_guard hold(out.mutex);
  const bool opened = out.file.open(settings, error);
  if (opened && out.keeps_early) {
    out.keeps_early = false;
    for (const Line& line : std::exchange(out.early, {})) {
      if (!out.file.write(render(line), error)) break;
    }
  }
  out.failing = false;
  refresh_listening(out);
  return opened;
}

void close_file() {
  Writer& out = writer();
  const std::lock_guard hold(out.mutex);
  out.file.close();
  refresh_listening(out);
}

void forget_early_lines() {
  Writer& out = writer();
  const std::lock_guard hold(out.mutex);
  out.keeps_early = false;
  out.early.clear();
  refresh_listening(out);
}

void set_console(bool on) {
  Writer& out = writer();
  const std::lock_guard hold(out.mutex);
  out.console = on;
  refresh_listening(out);
}

void reset() {
  forget_flags();
  Writer& out = writer();
  const std::lock_guard hold(out.mutex);
  out.file.close();
  out.console = false;
  out.early.clear();
  out.keeps_early = true;
  out.failing = false;
  refresh_listening(out);
}

Capture::Capture() : state_(new State) {
  Writer& out = writer();
  const std::lock_guard hold(out.mutex);
  out.captures.push_back(&state_->lines);
  refresh_listening(out);
}

Capture::~Capture() {
  Writer& out = writer();
  {
    const std::lock_guard hold(out.mutex);
    std::erase(out.captures, &state_->lines);
    refresh_listening(out);
  }
  delete state_;
}

std::vector<Line> Capture::lines() const {
  const std::lock_guard hold(writer().mutex);
  return state_->lines;
}

std::vector<std::string> Capture::texts() const {
  const std::lock_guard hold(writer().mutex);
  std::vector<std::string> texts;
  for (const Line& line : state_->lines) {
    if (line.kind == Kind::kText) texts.push_back(line.text);
  }
  return texts;
}

std::size_t Capture::count(std::string_view exact_text) const {
  const std::lock_guard hold(writer().mutex);
  std::size_t count = 0;
  for (const Line& line : state_->lines) {
    if (line.kind == Kind::kText && line.text == exact_text) ++count;
  }
  return count;
}

bool Capture::contains(std::string_view part) const {
  const std::lock_guard hold(writer().mutex);
  for (const Line& line : state_->lines) {
    if (line.text.find(part) != std::string::npos) return true;
  }
  return false;
}

}  // namespace trc
