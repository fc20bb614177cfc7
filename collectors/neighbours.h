#pragma once
// Whom this server replicates from, as the collections about replication ask for it: the
// neighbours, one record for each partner and naming context, and the partner behind each of them.

#include <span>
#include <string>

#include "include/platform/directory_services.h"

namespace collectors {

// Owns the records. One on the stack of a collection.
class Neighbours {
 public:
  // Asks by the domain's name where a server's is expected, deliberately: a controller that answers
  // to the domain is as good, and where none does, this machine is asked.
  explicit Neighbours(const char* domain);
  ~Neighbours();
  Neighbours(const Neighbours&) = delete;
  Neighbours& operator=(const Neighbours&) = delete;

  // False when nobody answered, which is not the same as having no neighbours.
  bool answered() const { return record_ != nullptr; }
  // In the order of the answer; good for as long as this object is.
  std::span<const DS_REPL_NEIGHBORW> all() const;

 private:
  DS_REPL_NEIGHBORSW* record_ = nullptr;
};

// The naming context that the neighbour is about.
std::string naming_context_of(const DS_REPL_NEIGHBORW& neighbour);

// The server at the other end. A text that the directory does not tell is empty.
struct Partner {
  explicit Partner(const DS_REPL_NEIGHBORW& neighbour);

  std::string settings;  // distinguished name of its NTDS settings
  char host[256] = {};   // short name
  char site[256] = {};
};

}  // namespace collectors
