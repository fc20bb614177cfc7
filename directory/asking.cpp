#include "directory/asking.h"

#include <string>

#include "include/collection_status.h"

namespace directory {

void tell_asking(std::wstring_view path) {
  if (!status::is_collecting()) return;
  const std::size_t scheme = path.find(L"://");
  if (scheme != path.npos) path.remove_prefix(scheme + 3);
  const std::wstring_view first = path.substr(0, path.find(L'/'));
  // A path without a server goes to the one that the system has chosen.
  const bool is_server = first.size() < path.size() && first.find(L'=') == first.npos;
  std::string server;
  if (is_server) {
    // By hand: server names are ASCII, and the system is not asked for the sake of a report.
    for (const wchar_t c : first) server += c < 128 ? static_cast<char>(c) : '?';
  }
  status::step("asks", is_server ? server : "the directory");
}

}  // namespace directory
