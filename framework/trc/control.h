#pragma once
// The other side of the trace library, for the framework, the command line program and tests: which
// flags apply, where lines go. The agent never includes this. All calls may come from any thread.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "trc.h"

namespace trc {

enum class Kind { kEntry, kExit, kText, kDump };

struct Line {
  Kind kind = Kind::kText;
  std::string file;  // base name of the source file
  std::string function;
  std::uint32_t source_line = 0;
  std::uint32_t thread = 0;
  std::int64_t time_ms = 0;  // platform clock, since 1970, universal time
  std::string text;          // without its trailing newline; for a dump the title, then the dump
};

// The flag word for every unit without a setting of its own.
TRC_API void set_flags(std::uint32_t flags);
// For one function ("MwMain") or one source file ("adpdh.cpp").
TRC_API void set_unit_flags(std::string_view unit, std::uint32_t flags);
TRC_API void clear_unit_flags();

struct FileSettings {
  std::string path;                        // empty: no trace file
  std::uint64_t rotate_bytes = 10u << 20;  // a file that would grow beyond this is rotated
  std::uint32_t keep_files = 5;            // rotated files kept
};
// Lines go to this file from now on, those from before the first such call ahead of them (at most
// 2000 are kept for it). False, with the reason, when it cannot be opened for writing.
TRC_API bool open_file(const FileSettings& settings, std::string& error);
TRC_API void close_file();
// There will be no trace file: lines are no longer kept for it. Nothing if one is open.
TRC_API void forget_early_lines();
// Whether lines are also written to the standard error stream.
TRC_API void set_console(bool on);

// Everything as when the process began: no file, no settings but the environment's, lines kept for
// the first file. For tests that share a process.
TRC_API void reset();

// Keeps every line written while it lives. For tests.
class TRC_API Capture {
 public:
  Capture();
  ~Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  std::vector<Line> lines() const;
  std::vector<std::string> texts() const;                // of kText lines, in order
  std::size_t count(std::string_view exact_text) const;  // kText lines with exactly this text
  bool contains(std::string_view part) const;            // any line whose text holds this
 private:
  struct State;
  State* state_;
};

}  // namespace trc
