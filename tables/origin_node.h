#pragma once
// The name of this agent's node as every row carries it: 64 characters padded with blanks, with no
// zero end.

#include <array>
#include <string_view>

namespace tables {

// Asks the framework for the node name at the first use and keeps it. One a table, static, named
// localHostPadded; deliberately without a lock: the framework never runs two samples of one table
// at once.
class OriginNode {
 public:
  std::string_view padded();

 private:
  std::array<char, 64> name_{};
  bool filled_ = false;
};

}  // namespace tables
