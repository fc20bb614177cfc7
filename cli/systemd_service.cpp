#include "cli/systemd_service.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

#include "cli/packaged_files.h"
#include "commands/run_program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kUnit = "dirwatcher.service";
constexpr const char* kPackagedUnits[] = {"/lib/systemd/system/dirwatcher.service",
                                          "/usr/lib/systemd/system/dirwatcher.service"};
constexpr const char* kOwnUnit = "/etc/systemd/system/dirwatcher.service";
constexpr const char* kSettings = "/etc/dirwatcher";
constexpr const char* kWritten[] = {"/etc/dirwatcher", "/var/lib/dirwatcher",
                                    "/var/log/dirwatcher"};
// Heads a unit that we wrote ourselves; without it a unit is somebody else's and stays.
constexpr std::string_view kOurs = "# Written by `dirwatch service install`.\n";
constexpr std::string_view kProgramInUnit = "/usr/bin/DirWatcher";

bool refuse(const std::string& what, const std::string& next) {
  std::fprintf(stderr, "dirwatch: %s\n", what.c_str());
  if (!next.empty()) std::fprintf(stderr, "dirwatch: %s\n", next.c_str());
  return false;
}

bool refuse(const std::string& what, const std::error_code& error) {
  const bool no_right = error == std::errc::permission_denied ||
                        error == std::errc::operation_not_permitted ||
                        error == std::errc::read_only_file_system;
  return refuse(what + ": " + error.message(),
                no_right ? "this needs root: try again with sudo" : "");
}

// What systemctl's own message means here.
std::string advice(const std::string& output) {
  const auto says = [&output](const char* text) { return output.find(text) != std::string::npos; };
  if (says("Access denied") || says("authentication required") || says("Permission denied")) {
    return "this needs root: try again with sudo";
  }
  if (says("not found") || says("not loaded") || says("does not exist")) {
    return "it is not installed; 'dirwatch service install' does that";
  }
  if (says("masked")) return "it is masked; 'systemctl unmask dirwatcher' allows it again";
  if (says("timeout") || says("Timed out") || says("timed out")) {
    return "it did not answer in time; 'journalctl -u dirwatcher' tells how far it came";
  }
  if (says("failed")) return "'journalctl -u dirwatcher' and the trace file tell why";
  return "";
}

std::string one_line(std::string text) {
  text.erase(text.find_last_not_of('\n') + 1);
  for (char& c : text) c = c == '\n' ? ' ' : c;
  return text;
}

bool systemctl(const char* what, std::vector<std::string> words) {
  words.insert(words.begin(), {"systemctl", "--no-ask-password"});
  const commands::ProgramResult result = commands::run_program(words);
  if (result.exit_code == 0) return true;
  if (result.exit_code == 127) {
    return refuse(std::string(what) + ": systemctl cannot be run", "install systemd");
  }
  return refuse(std::string(what) + ": " + one_line(result.output), advice(result.output));
}

bool write_file(const fs::path& path, std::string_view text) {
  std::error_code failed;
  fs::create_directories(path.parent_path(), failed);
  if (failed) return refuse(path.parent_path().string(), failed);
  errno = 0;
  std::ofstream file(path);
  file << text;
  file.close();
  if (!file) return refuse(path.string(), std::error_code(errno, std::generic_category()));
  std::printf("wrote %s\n", path.c_str());
  return true;
}

std::string read_file(const fs::path& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

// "Name=value" of systemctl's list.
std::string property(const std::string& list, const std::string& name) {
  std::istringstream lines(list);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind(name + '=', 0) == 0) return line.substr(name.size() + 1);
  }
  return "";
}

}  // namespace

SystemdService::SystemdService(std::string root, std::string program_folder)
    : root_(std::move(root)), program_folder_(std::move(program_folder)) {}

bool SystemdService::runs_here() const {
  // What systemd itself takes for the sign that it is the machine's service manager.
  std::error_code ignored;
  if (fs::is_directory(root_ + "/run/systemd/system", ignored)) return true;
  return refuse("systemd does not run this machine (there is no /run/systemd/system)",
                "run the agent yourself: 'dirwatch run --config /etc/dirwatcher/dirwatch.toml', or "
                "DirWatcher under the service manager that you have");
}

bool SystemdService::is_packaged() const {
  std::error_code ignored;
  for (const char* path : kPackagedUnits) {
    if (fs::exists(root_ + path, ignored)) return true;
  }
  return false;
}

bool SystemdService::write_unit() const {
  const fs::path path = root_ + kOwnUnit;
  std::error_code ignored;
  if (fs::exists(path, ignored) && read_file(path).rfind(kOurs, 0) != 0) {
    return refuse(path.string() + " is there already, and is none of ours",
                  "move it away, or go on with it: 'systemctl enable --now dirwatcher'");
  }
  std::string unit(kUnitText);
  const std::string program = program_folder_ + "/DirWatcher";
  for (std::size_t at = 0; (at = unit.find(kProgramInUnit, at)) != std::string::npos;) {
    unit.replace(at, kProgramInUnit.size(), program);
    at += program.size();
  }
  return write_file(path, std::string(kOurs) + unit);
}

bool SystemdService::write_missing_settings() const {
  const std::pair<const char*, std::string_view> files[] = {{"dirwatch.toml", kConfigurationText},
                                                            {"environment", kEnvironmentText}};
  for (const auto& [name, text] : files) {
    const fs::path path = fs::path(root_ + kSettings) / name;
    std::error_code ignored;
    if (fs::exists(path, ignored)) {
      std::printf("kept %s\n", path.c_str());
    } else if (!write_file(path, text)) {
      return false;
    }
  }
  return true;
}

bool SystemdService::install() const {
  if (!runs_here()) return false;
  if (is_packaged()) {
    std::printf("the unit and the settings are those of the package\n");
  } else {
    std::error_code ignored;
    if (!fs::exists(program_folder_ + "/DirWatcher", ignored)) {
      return refuse(program_folder_ + "/DirWatcher is not there",
                    "the programs dirwatch and DirWatcher belong into one folder");
    }
    if (!write_unit() || !write_missing_settings()) return false;
    const commands::ProgramResult user =
        commands::run_program({"systemd-sysusers", "--inline", one_line(std::string(kUserText))});
    if (user.exit_code != 0) {
      return refuse("the user dirwatcher could not be made: " + one_line(user.output),
                    advice(user.output));
    }
    if (!systemctl("systemd did not take the unit", {"daemon-reload"})) return false;
  }
  if (!systemctl("the service could not be enabled", {"enable", kUnit})) return false;
  std::printf("%s is enabled: it starts with the machine\nnext: dirwatch service start\n", kUnit);
  return true;
}

bool SystemdService::remove_unit() const {
  const fs::path path = root_ + kOwnUnit;
  std::error_code failed;
  if (!fs::exists(path, failed)) {
    std::printf("%s is not installed\n", kUnit);
    return true;
  }
  if (read_file(path).rfind(kOurs, 0) != 0) {
    return refuse(path.string() + " is none of ours and stays", "remove it by hand");
  }
  fs::remove(path, failed);
  if (failed) return refuse(path.string(), failed);
  std::printf("removed %s\n", path.c_str());
  return systemctl("systemd did not take note", {"daemon-reload"});
}

bool SystemdService::remove_settings() const {
  for (const char* place : kWritten) {
    std::error_code failed;
    const auto count = fs::remove_all(root_ + place, failed);
    if (failed) return refuse(root_ + place, failed);
    if (count > 0) std::printf("removed %s%s\n", root_.c_str(), place);
  }
  return true;
}

bool SystemdService::uninstall(bool purge) const {
  if (!runs_here()) return false;
  std::error_code ignored;
  const bool there = is_packaged() || fs::exists(root_ + kOwnUnit, ignored);
  if (there) {
    if (!systemctl("the service could not be stopped and disabled", {"disable", "--now", kUnit})) {
      return false;
    }
    std::printf("%s is stopped and does not start with the machine any more\n", kUnit);
  }
  if (is_packaged()) {
    std::printf("its unit belongs to the package: 'apt %s dirwatcher' takes it away\n",
                purge ? "purge" : "remove");
    return true;
  }
  if (!remove_unit()) return false;
  if (purge) return remove_settings();
  std::printf("the settings and the agent's files stay; --purge removes them, too\n");
  return true;
}

bool SystemdService::start() const {
  if (!runs_here() || !systemctl("the service could not be started", {"start", kUnit})) {
    return false;
  }
  std::printf("%s runs\n", kUnit);
  return true;
}

bool SystemdService::stop() const {
  if (!runs_here() || !systemctl("the service could not be stopped", {"stop", kUnit})) {
    return false;
  }
  std::printf("%s is stopped\n", kUnit);
  return true;
}

bool SystemdService::show_status() const {
  if (!runs_here()) return false;
  const commands::ProgramResult result = commands::run_program(
      {"systemctl", "show",
       "--property=LoadState,ActiveState,SubState,UnitFileState,Result,StatusText", kUnit});
  if (result.exit_code != 0) {
    return refuse("systemd does not tell how the service stands: " + one_line(result.output),
                  advice(result.output));
  }
  if (property(result.output, "LoadState") == "not-found") {
    return refuse(std::string(kUnit) + " is not installed", "'dirwatch service install' does that");
  }
  const std::string active = property(result.output, "ActiveState");
  std::printf("%s is %s (%s), %s\n", kUnit, active.c_str(),
              property(result.output, "SubState").c_str(),
              property(result.output, "UnitFileState").c_str());
  if (const std::string text = property(result.output, "StatusText"); !text.empty()) {
    std::printf("it says: %s\n", text.c_str());
  }
  const std::string outcome = property(result.output, "Result");
  if (active == "failed") {
    std::printf("it failed (%s); 'journalctl -u dirwatcher' tells why\n", outcome.c_str());
  }
  return active == "active" || active == "reloading";
}

}  // namespace cli
