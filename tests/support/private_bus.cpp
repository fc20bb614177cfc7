#include "tests/support/private_bus.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace testing_support {
namespace {

constexpr char kName[] = "org.freedesktop.systemd1";
constexpr char kPath[] = "/org/freedesktop/systemd1";
constexpr char kCommands[] = "a(sasbttttuii)";

void append_text(sd_bus_message* answer, const char* name, const std::string& value) {
  sd_bus_message_append(answer, "{sv}", name, "s", value.c_str());
}

void append_commands(sd_bus_message* answer, const Unit& unit) {
  sd_bus_message_open_container(answer, 'e', "sv");
  sd_bus_message_append(answer, "s", "ExecStart");
  sd_bus_message_open_container(answer, 'v', kCommands);
  sd_bus_message_open_container(answer, 'a', "(sasbttttuii)");
  for (const std::vector<std::string>& command : unit.commands) {
    sd_bus_message_open_container(answer, 'r', "sasbttttuii");
    sd_bus_message_append(answer, "s", command.front().c_str());
    sd_bus_message_open_container(answer, 'a', "s");
    for (const std::string& argument : command)
      sd_bus_message_append(answer, "s", argument.c_str());
    sd_bus_message_close_container(answer);
    const std::uint64_t never = 0;
    sd_bus_message_append(answer, "bttttuii", 0, never, never, never, never, 0u, 0, 0);
    sd_bus_message_close_container(answer);
  }
  for (int i = 0; i < 3; ++i) sd_bus_message_close_container(answer);
}

void append_properties(sd_bus_message* answer, const Unit& unit) {
  sd_bus_message_open_container(answer, 'a', "{sv}");
  append_text(answer, "Id", unit.name);
  append_text(answer, "Description", unit.description);
  append_text(answer, "LoadState", unit.load_state);
  append_text(answer, "ActiveState", unit.active_state);
  append_text(answer, "FreezerState", unit.freezer_state);
  append_text(answer, "UnitFileState", unit.file_state);
  append_text(answer, "User", unit.user);
  sd_bus_message_append(answer, "{sv}", "CanStop", "b", 1);
  sd_bus_message_append(answer, "{sv}", "MainPID", "u", unit.main_pid);
  sd_bus_message_append(answer, "{sv}", "ExecMainStatus", "i", unit.exit_status);
  // Of types that no one reads, and that must be passed over.
  sd_bus_message_append(answer, "{sv}", "Job", "(uo)", 0u, "/");
  sd_bus_message_append(answer, "{sv}", "MemoryCurrent", "t", std::uint64_t{1} << 40);
  sd_bus_message_append(answer, "{sv}", "Delay", "d", 0.5);
  sd_bus_message_append(answer, "{sv}", "Conditions", "a(sbbsi)", 1, "ConditionPathExists", 0, 0,
                        "/x", 1);
  sd_bus_message_open_container(answer, 'e', "sv");
  sd_bus_message_append(answer, "s", "Requires");
  sd_bus_message_open_container(answer, 'v', "as");
  sd_bus_message_open_container(answer, 'a', "s");
  for (const std::string& one : unit.requires_units)
    sd_bus_message_append(answer, "s", one.c_str());
  for (int i = 0; i < 3; ++i) sd_bus_message_close_container(answer);
  append_commands(answer, unit);
  sd_bus_message_close_container(answer);
}

std::string path_of(std::size_t index) { return kPath + ("/unit/u" + std::to_string(index)); }

void append_units(sd_bus_message* answer, const std::vector<Unit>& units) {
  sd_bus_message_open_container(answer, 'a', "(ssssssouso)");
  for (std::size_t i = 0; i < units.size(); ++i) {
    const Unit& unit = units[i];
    if (!unit.loaded) continue;
    sd_bus_message_append(answer, "(ssssssouso)", unit.name.c_str(), unit.description.c_str(),
                          unit.load_state.c_str(), unit.active_state.c_str(), "sub", "",
                          path_of(i).c_str(), 0u, "", "/");
  }
  sd_bus_message_close_container(answer);
}

void append_unit_files(sd_bus_message* answer, const std::vector<Unit>& units) {
  sd_bus_message_open_container(answer, 'a', "(ss)");
  for (const Unit& unit : units) {
    if (unit.load_state == "not-found" || unit.file_state.empty()) continue;
    sd_bus_message_append(answer, "(ss)", ("/lib/systemd/system/" + unit.name).c_str(),
                          unit.file_state.c_str());
  }
  sd_bus_message_close_container(answer);
}

}  // namespace

PrivateBus::PrivateBus() {
  std::string pattern = (std::filesystem::temp_directory_path() / "dirwatch_bus_XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    ADD_FAILURE() << pattern << ": " << std::strerror(errno);
    return;
  }
  folder_ = pattern;
  std::ofstream(folder_ + "/bus.conf")
      << "<busconfig><type>custom</type><listen>unix:path=" << folder_
      << "/bus</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/>"
         "<allow own=\"*\"/><allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
         "</policy></busconfig>\n";
  setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + folder_ + "/bus").c_str(), 1);
  start();
}

PrivateBus::~PrivateBus() {
  stop();
  unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
  std::error_code ignored;
  if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
}

void PrivateBus::start() {
  int address[2];
  ASSERT_EQ(pipe(address), 0);
  const std::string config = "--config-file=" + folder_ + "/bus.conf";
  const std::string print = "--print-address=" + std::to_string(address[1]);
  std::vector<std::string> words = {"dbus-daemon", config, "--nofork", "--nopidfile", print};
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t process = -1;
  const int error =
      posix_spawnp(&process, "dbus-daemon", nullptr, nullptr, arguments.data(), environ);
  close(address[1]);
  char text[512];
  // The address comes when the bus listens; the end of the pipe when it never will.
  const ssize_t length = error == 0 ? read(address[0], text, sizeof text) : 0;
  close(address[0]);
  if (error == 0) process_ = process;
  if (length <= 0) {
    ADD_FAILURE() << "dbus-daemon (package dbus-daemon) could not be started: "
                  << (error != 0 ? std::strerror(error) : "it ended");
    stop();
  }
}

void PrivateBus::stop() {
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = -1;
}

void PrivateBus::restart() {
  stop();
  std::error_code ignored;
  std::filesystem::remove(folder_ + "/bus", ignored);
  start();
}

struct SystemManager::Running {
  std::vector<Unit> units;
  sd_bus* bus = nullptr;
  int stop = -1;
  std::thread thread;

  void serve() {
    while (true) {
      int result = 0;
      while ((result = sd_bus_process(bus, nullptr)) > 0) {
      }
      if (result < 0) return;  // the bus has gone away
      pollfd waits[] = {{sd_bus_get_fd(bus), static_cast<short>(sd_bus_get_events(bus)), 0},
                        {stop, POLLIN, 0}};
      if (poll(waits, 2, -1) < 0 && errno != EINTR) return;
      if (waits[1].revents != 0) return;
    }
  }

  int load_unit(sd_bus_message* call, sd_bus_message* answer, sd_bus_error* error) {
    const char* name = "";
    sd_bus_message_read(call, "s", &name);
    if (std::strchr(name, '/') != nullptr) {
      return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "Unit name is not valid.");
    }
    for (std::size_t i = 0; i < units.size(); ++i) {
      if (units[i].name == name) return sd_bus_message_append(answer, "o", path_of(i).c_str());
    }
    // Every name has an object; whether there is such a unit is told by its load state.
    return sd_bus_message_append(answer, "o", path_of(units.size()).c_str());
  }

  int fill(sd_bus_message* call, sd_bus_message* answer, sd_bus_error* error) {
    const std::string member = sd_bus_message_get_member(call);
    if (member == "ListUnits") append_units(answer, units);
    if (member == "ListUnitFiles") append_unit_files(answer, units);
    if (member == "LoadUnit") return load_unit(call, answer, error);
    if (member == "GetAll") {
      const std::string path = sd_bus_message_get_path(call);
      for (std::size_t i = 0; i < units.size(); ++i) {
        if (path == path_of(i)) append_properties(answer, units[i]);
      }
      if (path == path_of(units.size())) {
        Unit none;
        none.load_state = "not-found";
        append_properties(answer, none);
      }
    }
    return 0;
  }

  static int answer_call(sd_bus_message* call, void* self, sd_bus_error* error) {
    sd_bus_message* answer = nullptr;
    int result = sd_bus_message_new_method_return(call, &answer);
    if (result >= 0) result = static_cast<Running*>(self)->fill(call, answer, error);
    if (result >= 0) result = sd_bus_send(nullptr, answer, nullptr);
    sd_bus_message_unref(answer);
    return result < 0 ? result : 1;
  }
};

SystemManager::SystemManager(std::vector<Unit> units) : running_(std::make_unique<Running>()) {
  running_->units = std::move(units);
  running_->stop = eventfd(0, EFD_CLOEXEC);
  int result = sd_bus_open_system(&running_->bus);
  if (result >= 0) {
    result =
        sd_bus_add_fallback(running_->bus, nullptr, kPath, &Running::answer_call, running_.get());
  }
  if (result >= 0) result = sd_bus_request_name(running_->bus, kName, 0);
  if (result < 0) {
    ADD_FAILURE() << "no system manager on the test's bus: " << std::strerror(-result);
    return;
  }
  running_->thread = std::thread([running = running_.get()] { running->serve(); });
}

SystemManager::~SystemManager() {
  const std::uint64_t one = 1;
  if (write(running_->stop, &one, sizeof one) != sizeof one) ADD_FAILURE() << "eventfd";
  if (running_->thread.joinable()) running_->thread.join();
  sd_bus_flush_close_unref(running_->bus);
  close(running_->stop);
}

}  // namespace testing_support
