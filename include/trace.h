#pragma once
// The head of every traced function: one macro makes the function's static unit record and a scope
// object that reads the trace flags once, writes the entry event, and writes the exit event on
// every way out. Inside the function:
//
//   DCW_TRACE("GetForestName");
//   trace.always()("Root DSE Object: %s\n", path);       // always handed to the library
//   trace.detail()("Naming Context %s\n", name);         // flag 1
//   trace.error()("ADsGetObject Failed. Error number: %x\n", unsigned(result));  // flag 128
//   return trace.returns(0);                             // exit event with the result
//
// The flags are read once a call, so that a change of settings takes effect at the next entry.

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "build_date.h"
#include "trc.h"

namespace trace {

inline constexpr std::uint32_t kDetail = 1;
inline constexpr std::uint32_t kDump = 16;
inline constexpr std::uint32_t kFlow = 64;
inline constexpr std::uint32_t kError = 128;

namespace {
// One a translation unit, which is one a source file. Date and time come from the build system: the
// compiler's own would make every build of the same source another program.
[[maybe_unused]] TRC1_FileRecord file_record = {
    __BASE_FILE__, sizeof(__BASE_FILE__) - 1, build_date, sizeof(build_date) - 1,
    build_time,    sizeof(build_time) - 1,    "1.0",      sizeof("1.0") - 1};
}  // namespace

// A line that knows its place in the source and whether it is wanted. Calling it formats the text
// and hands it to the library; an unwanted line costs one test.
class Line {
 public:
  Line(TRC1_UnitRecord* unit, std::uint32_t line, bool wanted)
      : unit_(wanted ? unit : nullptr), line_(line) {}

  void operator()(const char* format, ...) const TRC_PRINTF(2, 3) {
    if (unit_ == nullptr) return;
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length >= 0 && static_cast<std::size_t>(length) >= sizeof text) {
      std::string whole(static_cast<std::size_t>(length), '\0');
      std::vsnprintf(whole.data(), whole.size() + 1, format, again);
      TRC1_Printf(unit_, line_, "%s", whole.c_str());
    } else if (length >= 0) {
      TRC1_Printf(unit_, line_, "%s", text);
    } else {
      TRC1_Printf(unit_, line_, "%s", format);
    }
    va_end(again);
  }

 private:
  TRC1_UnitRecord* unit_;
  std::uint32_t line_;
};

class Scope {
 public:
  explicit Scope(TRC1_UnitRecord& unit)
      : unit_(&unit),
        exit_line_(unit.first_line),
        flags_(unit.generation_source->load(std::memory_order_acquire) ==
                       unit.cached_generation.load(std::memory_order_relaxed)
                   ? unit.cached_flags.load(std::memory_order_relaxed)
                   : TRC1_Sync(&unit)) {
    if (flow()) TRC1_Event(unit_, unit_->first_line, TRC1_Entry);
  }
  ~Scope() {
    if (!flow()) return;
    if (has_result_) {
      TRC1_Event(unit_, exit_line_, TRC1_ExitWithResult, result_);
    } else {
      TRC1_Event(unit_, exit_line_, TRC1_Exit);
    }
  }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  using SourceLine = std::uint32_t;  // the caller's line, filled in by the compiler
  Line always(SourceLine line = __builtin_LINE()) const { return {unit_, line, true}; }
  Line detail(SourceLine line = __builtin_LINE()) const { return {unit_, line, on(kDetail)}; }
  Line error(SourceLine line = __builtin_LINE()) const { return {unit_, line, on(kError)}; }

  bool on(std::uint32_t flag) const { return (flags_ & flag) != 0; }
  TRC1_UnitRecord* unit() const { return unit_; }

  // Notes the function's result for the exit event and gives it back: return trace.returns(0);
  template <typename Result>
  Result returns(Result result, SourceLine line = __builtin_LINE()) {
    has_result_ = true;
    result_ = static_cast<int>(result);
    exit_line_ = line;
    return result;
  }

  // Leaves without an exit event; for the one function whose early way out has none.
  void leaves_silently() { flags_ &= ~kFlow; }

 private:
  bool flow() const { return on(kFlow); }

  TRC1_UnitRecord* unit_;
  std::uint32_t exit_line_;
  std::uint32_t flags_;
  int result_ = 0;
  bool has_result_ = false;
};

}  // namespace trace

#define DCW_TRACE(name)                                            \
  static TRC1_UnitRecord trace_unit_record = {&trace::file_record, \
                                              name,                \
                                              sizeof(name) - 1,    \
                                              __LINE__,            \
                                              &TRC1_Generation,    \
                                              TRC1_UnitOptions,    \
                                              0,                   \
                                              0};                  \
  trace::Scope trace(trace_unit_record)
