#include <cstdio>

#include "cli/host.h"
#include "framework/xaf/control.h"
#include "platform/control.h"
#include "platform/live/recorder.h"

namespace cli {

bool use_controller(const std::string& place, std::string& error) {
  try {
    if (!place.empty()) platform::install(platform::open_controller(place, platform::clock_now_ms));
    platform::controller();
    return true;
  } catch (const platform::ControllerError& fault) {
    error = fault.what();
    return false;
  }
}

std::shared_ptr<void> pass_waits_at_once() {
  // A recorded controller answers the system's commands itself.
  if (platform::controller()->commands() == nullptr) return nullptr;
  return std::make_shared<platform::VirtualTime>(platform::clock_now_ms());
}

bool record_controller(const std::string& place, const std::string& folder, std::string& error) {
  try {
    platform::record(place, folder);
    return true;
  } catch (const platform::ControllerError& fault) {
    error = fault.what();
    return false;
  }
}

bool keep_standard_output_for_rows(bool show_agent_output) {
  if (!xaf::separate_standard_output()) return false;
  return show_agent_output || std::freopen("/dev/null", "w", stdout) != nullptr;
}

}  // namespace cli
