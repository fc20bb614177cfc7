#pragma once
// The output of a command, read through a pipe that closes itself. A command that cannot be started
// reads as one that says nothing.

#include <algorithm>
#include <cstdio>
#include <span>
#include <string>

#include "include/collection_status.h"
#include "include/platform/files.h"

class CommandPipe {
 public:
  explicit CommandPipe(const std::string& command) : stream_(start(command)) {}
  ~CommandPipe() { close(); }
  CommandPipe(const CommandPipe&) = delete;
  CommandPipe& operator=(const CommandPipe&) = delete;

  bool is_open() const { return stream_ != nullptr; }

  // The next line with its end, or what of it fits; the rest then comes as the next line. False at
  // the end of the output, and also after an error, which would otherwise come again for ever.
  bool read_line(std::span<char> line) {
    if (stream_ == nullptr) return false;
    std::fill(line.begin(), line.end(), '\0');
    return std::fgets(line.data(), static_cast<int>(line.size()), stream_) != nullptr;
  }

  // Waits for the command to end. Its exit code, or -1.
  int close() {
    const int status = stream_ == nullptr ? -1 : _pclose(stream_);
    stream_ = nullptr;
    return status;
  }

 private:
  static FILE* start(const std::string& command) {
    status::step("runs", command);
    return _popen(command.c_str(), "rt");
  }

  FILE* stream_;
};
