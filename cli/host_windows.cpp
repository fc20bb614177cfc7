#include <cstdio>

#include "cli/host.h"
#include "framework/xaf/control.h"

namespace cli {

bool use_controller(const std::string& place, std::string& error) {
  if (place.empty()) return true;
  error = "on Windows the agent always asks the machine it runs on; leave --controller out";
  return false;
}

std::shared_ptr<void> pass_waits_at_once() { return nullptr; }

bool record_controller(const std::string&, const std::string&, std::string& error) {
  error = "recordings are written by the Linux program; point it at this controller with ldap://";
  return false;
}

bool keep_standard_output_for_rows(bool show_agent_output) {
  if (!xaf::separate_standard_output()) return false;
  return show_agent_output || std::freopen("NUL", "w", stdout) != nullptr;
}

}  // namespace cli
