#pragma once
// Ways to run the agent inside another program: its collectors and tables without its process
// entry, or the whole of it on a thread of the platform.

#include <string>
#include <vector>

#include "collectors/cached_tables.h"
#include "include/unique_handle.h"

namespace agent {

// What a sample needs of the agent's start-up: configuration, the system's version, the directory's
// apartment, the counter collectors and the loader. While one is started the framework can be run.
// At most one at a time; started and destroyed by the same thread, when xafmain is not running.
class Session {
 public:
  Session() = default;
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // False, with the reason, when the collectors cannot be built. Called once.
  bool start(std::string& error);

  // Fills the caches of those tables that wait for a collection, and waits for that: with caching
  // on every cached table, and the sysvol table where its test is set up. Any other table collects
  // in its sample. Adds to unfilled the tables whose collection ended without rows to hand over.
  //
  // False when the event stop was signalled first; null is none. Collections run on then, so that
  // the process must end without the destructor, after abandon().
  bool fill_caches(const std::vector<std::string>& tables, HANDLE stop,
                   std::vector<std::string>& unfilled);
  // Takes back what unfinished collections have left outside the process: the sysvol test's files.
  static void abandon();

 private:
  void start_filling(const std::vector<std::string>& tables, bool sysvol_is_tested);

  struct Filling {
    const collectors::CachedTable* table;
    UniqueHandle thread;
  };
  bool started_ = false;
  std::vector<Filling> fillings_;
  UniqueHandle allocation_;
};

// Runs Main in console mode on a thread of the platform and waits until that thread has ended,
// which it does when the framework has shut down. 0, or 1 when it could not be started. Unless the
// process is simulated, the agent's background threads live on afterwards.
int run_on_console();

}  // namespace agent
