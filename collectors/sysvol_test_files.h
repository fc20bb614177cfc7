#pragma once
// The files of the sysvol test: one small file in this controller's SYSVOL share, which file
// replication is to carry to the partners' shares. A test names its file by the moment at which it
// began, and that moment is all that the file holds.
//
// Which files there are is kept for the process, so that a stop in the middle of a test can delete
// them: the clear event guards that, and every run of a command that pushes the files on. It is a
// manual-reset event as the caches have them: signalled is free. Whoever is to end the test's
// thread holds it meanwhile, and so ends it outside this work.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "include/platform/base.h"
#include "include/trace.h"

// Writes the moment now in universal time, "2011_01_02_03_04_05_006", and its zero end; a buffer
// that is too small gets what fits.
void DWAGetCurrentTime(std::span<char> buffer);

// Appends the file's text to content. 0, or the system's error of the step that failed; what was
// read before stays appended. Of a block that holds a zero only the text before it counts.
DWORD GetFileContent(const std::string& path, std::string& content);

namespace collectors {

// One test's file, here and on the partners.
struct SysvolTest {
  std::string host;    // short name of this server
  std::string server;  // its full name
  std::string domain;
  std::string stamp;                  // names the file, and is its content
  std::vector<std::string> partners;  // full names

  // Where the file is on that server.
  std::string path_on(const std::string& its_server) const;
  std::string own_path() const { return path_on(server); }
};

// Makes this the test whose files ClearData deletes. Creates the clear event the first time, and
// waits as long as somebody holds it.
void remember_sysvol_test(const trace::Scope& trace, const SysvolTest& test);

// The clear event, held for at most the time of one command. Not held when it stayed busy for a
// second, or when it could not be reset.
class ClearEventHold {
 public:
  explicit ClearEventHold(const trace::Scope& trace);
  // Gives it up, if held.
  ~ClearEventHold();
  ClearEventHold(const ClearEventHold&) = delete;
  ClearEventHold& operator=(const ClearEventHold&) = delete;

  bool is_held() const { return is_held_; }
  // What the wait for it came to.
  DWORD wait_result() const { return wait_result_; }
  void release();

 private:
  const trace::Scope& trace_;
  DWORD wait_result_;
  bool is_held_ = false;
};

}  // namespace collectors
