#pragma once
// A trace file that is rotated when it would grow beyond its size: trace.log becomes trace.log.1,
// that becomes trace.log.2, and the oldest beyond the number kept is removed. Written by hand
// rather than taken from a logging library because it is this short, and such a library would bring
// its own clock and threads, which a run in virtual time cannot have.
//
// Not synchronised: the writer of lines calls it under its lock.

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "framework/trc/control.h"

namespace trc {

class RotatingFile {
 public:
  RotatingFile() = default;
  ~RotatingFile();
  RotatingFile(const RotatingFile&) = delete;
  RotatingFile& operator=(const RotatingFile&) = delete;

  // Appends to what is there. False, with the reason, when the file cannot be opened.
  bool open(const FileSettings& settings, std::string& error);
  void close();
  bool is_open() const { return file_ != nullptr; }

  // The text is with the operating system when this returns, so that no way of ending the process
  // loses it. False, with the reason, when it could not be written or rotated; a file that cannot
  // be rotated goes on growing rather than lose lines.
  bool write(std::string_view text, std::string& error);

 private:
  bool rotate(std::string& error);
  bool reopen(std::string& error);

  FileSettings settings_;
  std::FILE* file_ = nullptr;
  std::uint64_t size_ = 0;
};

}  // namespace trc
