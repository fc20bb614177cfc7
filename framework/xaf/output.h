#pragma once
// Where a sink's bytes go: a file, or the one writer of standard output.

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace xaf {

class Output {
 public:
  // Appends to a file. Null, with the reason, when it cannot be opened.
  static std::shared_ptr<Output> file(const std::string& path, std::string& error);
  // The one for standard output: all sinks share it, so that deliveries never mix.
  static std::shared_ptr<Output> standard();

  explicit Output(std::FILE* stream, bool owned) : stream_(stream), owned_(owned) {}
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  bool empty() const { return !owned_ || empty_; }  // nothing was in the file when it was opened

  // One delivery: pieces written through one Block stay together. The bytes are with the operating
  // system when flush() returns. Failures throw std::runtime_error.
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
  std::mutex mutex_;
  std::FILE* stream_;  // guarded by mutex_
  bool owned_;
  bool empty_ = true;
  std::string name_;
};

}  // namespace xaf
