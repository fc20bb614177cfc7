// Which controller answers. Opened at the first call that needs one, not at start, so that a
// program that installs its own never pays for another.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <utility>

#include "platform/control.h"

namespace platform {

namespace {

std::mutex lock;
// Guarded by lock; never destroyed, since threads may outlive main.
auto& installed = *new std::shared_ptr<Controller>;

// A machine on which nothing of a domain controller is installed.
class AbsentController : public Controller {
 public:
  AbsentController() {
    char name[256] = "";
    if (::gethostname(name, sizeof name - 1) == 0) facts_.host_name = name;
    facts_.host_name.resize(std::min(facts_.host_name.find('.'), facts_.host_name.size()));
  }
  std::string description() const override { return "no controller"; }
  const MachineFacts& machine() const override { return facts_; }
  Directory* directory() override { return nullptr; }
  CounterSource* counters() override { return nullptr; }
  RegistryHive* registry() override { return nullptr; }

 private:
  MachineFacts facts_;
};

std::shared_ptr<Controller> open_default() {
  const char* place = std::getenv("DIRWATCH_CONTROLLER");
  try {
    return open_controller(place == nullptr ? "" : place, clock_now_ms);
  } catch (const ControllerError& error) {
    // Never the embedded recording instead: its made-up rows would pass for real ones.
    std::fprintf(stderr, "platform: no controller: %s\n", error.what());
  }
  return std::make_shared<AbsentController>();
}

}  // namespace

void install(std::shared_ptr<Controller> controller) {
  std::shared_ptr<Controller> former;  // goes after the lock does
  const std::lock_guard guard(lock);
  former = std::exchange(installed, std::move(controller));
}

std::shared_ptr<Controller> controller() {
  const std::lock_guard guard(lock);
  if (installed == nullptr) installed = open_default();
  return installed;
}

}  // namespace platform
