// Where in a configuration file each setting stands.

#include <toml++/toml.h>

#include <algorithm>
#include <sstream>

#include "framework/xaf/control.h"

namespace xaf {
namespace {

void collect(const toml::table& table, const std::string& prefix,
             std::vector<ConfigurationPlace>& places) {
  for (auto&& [key, node] : table) {
    const std::string name = prefix + std::string(key.str());
    if (node.is_table()) {
      collect(*node.as_table(), name + ".", places);
      continue;
    }
    std::ostringstream text;
    node.visit([&text](const auto& value) { text << value; });
    places.push_back({name, text.str(), node.source().begin.line});
  }
}

}  // namespace

bool configuration_places(const std::string& path, std::vector<ConfigurationPlace>& places,
                          std::string& error) {
  Configuration read;
  if (!load_configuration(path, read, error)) return false;
  try {
    places.clear();
    collect(toml::parse_file(path), "", places);
  } catch (const toml::parse_error& fault) {
    // Only when the file has changed since a moment ago.
    error = path + ": " + std::string(fault.description());
    return false;
  }
  std::stable_sort(places.begin(), places.end(),
                   [](const ConfigurationPlace& left, const ConfigurationPlace& right) {
                     return left.line < right.line;
                   });
  return true;
}

}  // namespace xaf
