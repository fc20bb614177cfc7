#pragma once
// A message bus of the test's own, which the system's calls take for the system bus, and a system
// manager on it that answers as systemd does for the units that a test writes down. Nothing of the
// machine's own bus or units is touched, and none need be there.

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace testing_support {

// While one lives, DBUS_SYSTEM_BUS_ADDRESS names it. A test in which it cannot be started fails:
// dbus-daemon belongs to the packages of the tests.
class PrivateBus {
 public:
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  bool running() const { return process_ > 0; }
  // Ends the daemon and starts another at the same address.
  void restart();

 private:
  void start();
  void stop();

  std::string folder_;
  int process_ = -1;
};

struct Unit {
  std::string name;
  std::string description;
  std::string active_state = "inactive";
  std::string file_state = "disabled";
  std::string load_state = "loaded";
  std::string freezer_state = "running";
  std::string user;
  std::vector<std::vector<std::string>> commands;  // each from its own name on
  std::vector<std::string> requires_units;
  unsigned main_pid = 0;
  int exit_status = 0;
  bool loaded = true;  // false: installed only, so that it is listed as a file alone
};

// Lives on a thread of its own until it is destroyed.
class SystemManager {
 public:
  explicit SystemManager(std::vector<Unit> units);
  ~SystemManager();
  SystemManager(const SystemManager&) = delete;
  SystemManager& operator=(const SystemManager&) = delete;

  struct Running;

 private:
  std::unique_ptr<Running> running_;
};

}  // namespace testing_support
