#pragma once
// Where a sink's bytes go: a file, or the one writer of standard output.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "framework/xaf/control.h"

namespace xaf {

class Output {
 public:
  // Appends to a file. Null, with the reason, when it cannot be opened.
  static std::shared_ptr<Output> file(const std::string& path, const Rotation& rotation,
                                      std::string& error);
  // The one for standard output: all sinks share it, so that deliveries never mix.
  static std::shared_ptr<Output> standard();

  explicit Output(std::FILE* stream, bool owned) : stream_(stream), owned_(owned) {}
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // Nothing is in the file yet. Files belong to one sink each, which alone asks.
  bool at_start() const { return owned_ && size_ == 0; }

  // One delivery: pieces written through one Block stay together. The bytes are with the operating
  // system when flush() returns. Failures throw std::runtime_error. A file that has grown enough is
  // then moved aside, so a delivery never lies in two files.
  class Block {
   public:
    explicit Block(Output& output) : output_(output), hold_(output.mutex_) {}
    void write(std::string_view bytes);
    void flush();

   private:
    Output& output_;
    std::lock_guard<std::mutex> hold_;
  };

 private:
  // The caller holds mutex_. False, with the reason, when it cannot be opened.
  bool open(std::string& error);
  void move_aside();

  std::mutex mutex_;
  std::FILE* stream_;       // guarded by mutex_; null when it could not be opened again
  std::uint64_t size_ = 0;  // of the file; guarded by mutex_ but for at_start()
  bool owned_;
  Rotation rotation_;
  std::string name_;
};

}  // namespace xaf
