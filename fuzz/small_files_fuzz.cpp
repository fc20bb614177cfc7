// Whatever the bytes: the version in a policy's folder, the count of objects, the path of a shared
// file and the text of a query are read within their bounds.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "collectors/object_count_text.h"
#include "directory/policy_file.h"
#include "platform/automation/query_text.h"
#include "platform/shares/share_path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  for (const directory::VersionLine& line : directory::version_lines(text)) {
    if (line.text.size() > 63 || line.text.find("Version") == line.text.npos) std::abort();
  }
  // What stands behind the first 16 bytes does not count.
  if (collectors::object_count(text) != collectors::object_count(text.substr(0, 16))) std::abort();
  if (const auto path = platform::parse_share_path(text)) {
    const std::string again = "//" + path->server + "/" + path->share + "/" + path->path;
    const auto second = platform::parse_share_path(again);
    if (!path->share.empty() && (!second || second->path != path->path)) std::abort();
  }
  if (const auto query = platform::parse_query_text(text)) {
    if (query->names.empty()) std::abort();
  }
  return 0;
}
