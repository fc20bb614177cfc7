#include "tables/origin_node.h"

#include <algorithm>

#include "include/xaf.h"

namespace tables {

std::string_view OriginNode::padded() {
  if (!filled_) {
    name_.fill(' ');
    DetermineLocalHost(name_.data(), name_.size());
    // A name of the full width has no zero end and is kept whole.
    std::fill(std::find(name_.begin(), name_.end(), '\0'), name_.end(), ' ');
    filled_ = true;
  }
  return {name_.data(), name_.size()};
}

}  // namespace tables
