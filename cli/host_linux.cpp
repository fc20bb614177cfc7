#include "cli/host.h"
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

bool record_controller(const std::string& place, const std::string& folder, std::string& error) {
  try {
    platform::record(place, folder);
    return true;
  } catch (const platform::ControllerError& fault) {
    error = fault.what();
    return false;
  }
}

}  // namespace cli
