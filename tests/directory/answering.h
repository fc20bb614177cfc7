#pragma once
// The questioning thread with a locator, replication partners, trusts and recorded commands beside
// the directory.

#include <map>
#include <string>

#include "tests/directory/asking.h"

namespace directory_test {

inline constexpr const char* kLocator = R"({
  "forest": "corp.example",
  "controllers": [
    {"name": "DC1.corp.example", "site": "Hub", "flags": ["PDC", "LDAP", "DS", "TIMESERV"]},
    {"name": "DC2.corp.example", "site": "Hub", "flags": ["LDAP", "DS"]},
    {"name": "DC3.corp.example", "site": "Branch", "flags": ["LDAP", "DS"], "answers": false}
  ]
})";

class Answering : public Asking {
 protected:
  // The forest and these files from now on.
  void record(const std::map<std::string, std::string>& files,
              const std::string& forest_text = forest()) {
    recording_.emplace(forest_text, "", files);
  }
  // Every command line that the pattern fits prints the text as it stands, and every server of the
  // locator is there.
  void record_command(const std::string& pattern, const std::string& output) {
    record({{"locator.json", kLocator},
            {"commands.json",
             R"({"commands": [{"command": ")" + pattern + R"(", "output_file": "output"}]})"},
            {"commands/output", output}});
  }
};

}  // namespace directory_test
