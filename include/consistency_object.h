#pragma once
// The marker that a domain controller keeps in the directory to measure replication by; filled by
// ADSIutils::GetConsistencyObject into the caller's record. Text fields are zero padded.

#include <ctime>

struct ConsistencyObject {
  char name[100] = {};        // the controller's, as its own agent calls it
  std::tm whenChanged = {};   // when the change reached the server that was asked, universal time
  char description[64] = {};  // the time that was written, universal, with a newline at its end
};
