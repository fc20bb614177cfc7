#pragma once
// What dirwatch sample tells people while it waits: nothing in the first second, then which tables
// have not delivered yet, at which step their collections are, and for how long.

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "framework/xaf/control.h"
#include "include/platform/threads.h"

namespace cli {

// Counts the rows of each table on their way to another sink.
class CountingSink : public xaf::Sink {
 public:
  explicit CountingSink(std::shared_ptr<xaf::Sink> target) : target_(std::move(target)) {}
  void deliver(const xaf::Delivery& delivery) override;
  void close() override;
  // Read it when the framework has ended.
  std::size_t rows(const std::string& table) const;

 private:
  std::shared_ptr<xaf::Sink> target_;
  std::map<std::string, std::size_t> rows_;  // written by the framework, one delivery at a time
};

// Writes progress lines to the standard error stream from a thread of its own, until destroyed.
class Progress {
 public:
  // Of the tables given, waiting are those that have no finished sample yet.
  explicit Progress(std::vector<std::string> tables);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  static unsigned __stdcall run(void* self);
  void report(unsigned seconds) const;
  bool is_finished(const std::string& table) const;

  std::vector<std::string> tables_;
  HANDLE stop_;
  HANDLE thread_;
};

}  // namespace cli
