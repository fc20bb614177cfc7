#include "platform/live/live_services.h"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

#include "include/platform/base.h"
#include "include/platform/service_manager.h"

namespace platform::live {
namespace {

constexpr char kManagerName[] = "org.freedesktop.systemd1";
constexpr char kManagerPath[] = "/org/freedesktop/systemd1";
constexpr char kManager[] = "org.freedesktop.systemd1.Manager";
constexpr char kPeer[] = "org.freedesktop.DBus.Peer";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr std::string_view kSuffix = ".service";

// Whether the unit is a service of its own; takes the suffix off.
bool take_suffix(std::string_view& unit) {
  if (!unit.ends_with(kSuffix)) return false;
  unit.remove_suffix(kSuffix.size());
  // "getty@.service" is a template: only its instances can run.
  return !unit.empty() && !unit.ends_with('@');
}

std::uint32_t state_of(std::string_view active, std::string_view freezer = "") {
  if (freezer == "frozen") return SERVICE_PAUSED;
  if (freezer == "freezing") return SERVICE_PAUSE_PENDING;
  if (freezer == "thawing") return SERVICE_CONTINUE_PENDING;
  if (active == "active" || active == "reloading") return SERVICE_RUNNING;
  if (active == "activating") return SERVICE_START_PENDING;
  if (active == "deactivating") return SERVICE_STOP_PENDING;
  return SERVICE_STOPPED;  // inactive, failed, maintenance
}

std::uint32_t start_type_of(std::string_view file_state, std::string_view load_state) {
  if (load_state == "masked" || file_state.starts_with("masked")) return SERVICE_DISABLED;
  if (file_state.starts_with("enabled") || file_state == "generated") return SERVICE_AUTO_START;
  // What systemd calls disabled can be started by hand, or by another unit.
  return SERVICE_DEMAND_START;
}

// The error of a call that came back with a negative errno value and perhaps an error's name.
ServiceError error_of(int result, const sd_bus_error& error) {
  const std::string_view name = error.name == nullptr ? "" : error.name;
  if (name.ends_with(".NoSuchUnit")) return ERROR_SERVICE_DOES_NOT_EXIST;
  if (name.ends_with(".AccessDenied") || result == -EACCES || result == -EPERM) {
    return ERROR_ACCESS_DENIED;
  }
  if (name.ends_with(".InvalidArgs") || name.ends_with(".UnknownObject")) return ERROR_INVALID_NAME;
  return RPC_S_SERVER_UNAVAILABLE;
}

struct Error {
  Error() = default;
  ~Error() { sd_bus_error_free(&value); }
  Error(const Error&) = delete;
  Error& operator=(const Error&) = delete;
  sd_bus_error value = SD_BUS_ERROR_NULL;
};

int read_texts(sd_bus_message* message, std::vector<std::string>& texts) {
  int result = sd_bus_message_enter_container(message, 'a', "s");
  const char* text = nullptr;
  while (result >= 0 && (result = sd_bus_message_read_basic(message, 's', &text)) > 0) {
    texts.emplace_back(text);
  }
  return result < 0 ? result : sd_bus_message_exit_container(message);
}

// a(sasbttttuii): a program, its arguments from its own name on, how it went. The first command's
// line alone is kept.
int read_commands(sd_bus_message* message, std::string& line) {
  int result = sd_bus_message_enter_container(message, 'a', "(sasbttttuii)");
  bool first = true;
  while (result >= 0 &&
         (result = sd_bus_message_enter_container(message, 'r', "sasbttttuii")) > 0) {
    const char* program = "";
    std::vector<std::string> arguments;
    if ((result = sd_bus_message_read_basic(message, 's', &program)) < 0) return result;
    if ((result = read_texts(message, arguments)) < 0) return result;
    if (arguments.empty()) arguments.emplace_back(program);
    for (const std::string& one : arguments) {
      if (!first) break;
      const bool quoted = one.empty() || one.find(' ') != one.npos;
      line += (line.empty() ? "" : " ") + (quoted ? "\"" + one + "\"" : one);
    }
    first = false;
    if ((result = sd_bus_message_skip(message, "bttttuii")) < 0) return result;
    result = sd_bus_message_exit_container(message);
  }
  return result < 0 ? result : sd_bus_message_exit_container(message);
}

int read_number(sd_bus_message* message, char type, std::string& value) {
  union {
    std::uint8_t y;
    int b;
    std::int16_t n;
    std::uint16_t q;
    std::int32_t i;
    std::uint32_t u;
    std::int64_t x;
    std::uint64_t t;
  } number = {};
  const int result = sd_bus_message_read_basic(message, type, &number);
  if (result < 0) return result;
  if (type == 'b' || type == 'i') value = std::to_string(number.i);
  if (type == 'u') value = std::to_string(number.u);
  if (type == 'x') value = std::to_string(number.x);
  if (type == 't') value = std::to_string(number.t);
  return result;
}

// The contents of a variant, entered already. False in known for a type that nobody asks for.
int read_value(sd_bus_message* message, std::string_view type, std::string& value, bool& known) {
  known = true;
  if (type == "s" || type == "o") {
    const char* text = "";
    const int result = sd_bus_message_read_basic(message, type[0], &text);
    if (result > 0) value = text;
    return result;
  }
  if (type.size() == 1 && std::strchr("biuxt", type[0]) != nullptr) {
    return read_number(message, type[0], value);
  }
  if (type == "as") {
    std::vector<std::string> texts;
    const int result = read_texts(message, texts);
    for (const std::string& text : texts)
      value += (value.empty() ? "" : std::string(1, '\0')) + text;
    return result;
  }
  if (type == "a(sasbttttuii)") return read_commands(message, value);
  known = false;
  return sd_bus_message_skip(message, std::string(type).c_str());
}

}  // namespace

void LiveServices::BusCloser::operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
void LiveServices::MessageReleaser::operator()(sd_bus_message* message) const {
  sd_bus_message_unref(message);
}

LiveServices::LiveServices() = default;
LiveServices::~LiveServices() = default;

ServiceError LiveServices::connect() {
  const std::lock_guard guard(lock_);
  Message answer;
  // A bus that was there may have gone away since: then once more, with a new connection.
  for (const bool kept : {bus_ != nullptr, false}) {
    if (!kept) {
      sd_bus* bus = nullptr;
      const int result = sd_bus_open_system(&bus);
      bus_.reset(bus);
      if (result < 0) {
        bus_.reset();
        return result == -EACCES ? ERROR_ACCESS_DENIED : RPC_S_SERVER_UNAVAILABLE;
      }
    }
    const ServiceError error = ask(kManagerPath, kPeer, "Ping", nullptr, answer);
    if (error != RPC_S_SERVER_UNAVAILABLE || !kept) return error;
  }
  return RPC_S_SERVER_UNAVAILABLE;
}

ServiceError LiveServices::ask(const std::string& path, const char* interface, const char* member,
                               const char* argument, Message& answer) {
  if (bus_ == nullptr) return RPC_S_SERVER_UNAVAILABLE;
  Error error;
  sd_bus_message* message = nullptr;
  const int result = argument == nullptr
                         ? sd_bus_call_method(bus_.get(), kManagerName, path.c_str(), interface,
                                              member, &error.value, &message, nullptr)
                         : sd_bus_call_method(bus_.get(), kManagerName, path.c_str(), interface,
                                              member, &error.value, &message, "s", argument);
  answer.reset(message);
  if (result >= 0) return 0;
  if (sd_bus_is_open(bus_.get()) <= 0) bus_.reset();
  return error_of(result, error.value);
}

int LiveServices::read_units(sd_bus_message* answer, std::map<std::string, ServiceListing>& found) {
  int result = sd_bus_message_enter_container(answer, 'a', "(ssssssouso)");
  const char *unit, *description, *load, *active;
  while (result >= 0 && (result = sd_bus_message_enter_container(answer, 'r', "ssssssouso")) > 0) {
    result = sd_bus_message_read(answer, "ssss", &unit, &description, &load, &active);
    if (result < 0) return result;
    std::string_view name = unit;
    // Units that others only name have no file behind them.
    if (take_suffix(name) && std::strcmp(load, "not-found") != 0) {
      ServiceListing& service = found[std::string(name)];
      service.name = name;
      service.display_name = description;
      service.state.type = SERVICE_WIN32_OWN_PROCESS;
      service.state.state = state_of(active);
    }
    result = sd_bus_message_skip(answer, "ssouso");
    if (result >= 0) result = sd_bus_message_exit_container(answer);
  }
  return result;
}

int LiveServices::read_unit_files(sd_bus_message* answer,
                                  std::map<std::string, ServiceListing>& found) {
  int result = sd_bus_message_enter_container(answer, 'a', "(ss)");
  const char *path, *state;
  while (result >= 0 && (result = sd_bus_message_read(answer, "(ss)", &path, &state)) > 0) {
    std::string_view name = path;
    name.remove_prefix(name.rfind('/') + 1);
    if (!take_suffix(name) || std::strcmp(state, "alias") == 0) continue;
    ServiceListing& service = found[std::string(name)];
    if (!service.name.empty()) continue;  // loaded
    service.name = service.display_name = name;
    service.state.type = SERVICE_WIN32_OWN_PROCESS;
    service.state.state = SERVICE_STOPPED;
  }
  return result;
}

ServiceError LiveServices::list(std::vector<ServiceListing>& services) {
  const std::lock_guard guard(lock_);
  services.clear();
  std::map<std::string, ServiceListing> found;
  Message answer;
  if (const auto error = ask(kManagerPath, kManager, "ListUnits", nullptr, answer)) return error;
  if (read_units(answer.get(), found) < 0) return ERROR_GEN_FAILURE;
  if (const auto error = ask(kManagerPath, kManager, "ListUnitFiles", nullptr, answer)) {
    return error;
  }
  if (read_unit_files(answer.get(), found) < 0) return ERROR_GEN_FAILURE;
  for (auto& [name, service] : found) services.push_back(std::move(service));
  return 0;
}

int LiveServices::read_properties(sd_bus_message* answer, Properties& properties) {
  int result = sd_bus_message_enter_container(answer, 'a', "{sv}");
  while (result >= 0 && (result = sd_bus_message_enter_container(answer, 'e', "sv")) > 0) {
    const char* name = nullptr;
    const char* type = nullptr;
    if ((result = sd_bus_message_read_basic(answer, 's', &name)) < 0) return result;
    if ((result = sd_bus_message_peek_type(answer, nullptr, &type)) < 0) return result;
    const std::string contents = type;
    if ((result = sd_bus_message_enter_container(answer, 'v', contents.c_str())) < 0) return result;
    std::string value;
    bool known = false;
    if ((result = read_value(answer, contents, value, known)) < 0) return result;
    if (known) properties[name] = std::move(value);
    if ((result = sd_bus_message_exit_container(answer)) < 0) return result;
    result = sd_bus_message_exit_container(answer);
  }
  return result;
}

ServiceError LiveServices::read_unit(std::string_view name, Properties& properties) {
  const std::lock_guard guard(lock_);
  Message answer;
  const std::string unit = std::string(name) + std::string(kSuffix);
  if (const auto error = ask(kManagerPath, kManager, "LoadUnit", unit.c_str(), answer))
    return error;
  const char* path = nullptr;
  if (sd_bus_message_read_basic(answer.get(), 'o', &path) < 0) return ERROR_GEN_FAILURE;
  const std::string object = path;
  // The empty name asks for the properties of all interfaces at once.
  if (const auto error = ask(object, kProperties, "GetAll", "", answer)) return error;
  if (read_properties(answer.get(), properties) < 0) return ERROR_GEN_FAILURE;
  return properties["LoadState"] == "not-found" ? ERROR_SERVICE_DOES_NOT_EXIST : 0;
}

ServiceError LiveServices::open(std::string_view name) {
  Properties unit;
  return read_unit(name, unit);
}

ServiceError LiveServices::state(std::string_view name, ServiceState& state) {
  Properties unit;
  if (const auto error = read_unit(name, unit)) return error;
  const auto number = [&unit](const char* property) {
    std::uint32_t value = 0;
    const std::string& text = unit[property];
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
  };
  state = {};
  state.type = SERVICE_WIN32_OWN_PROCESS;
  state.state = state_of(unit["ActiveState"], unit["FreezerState"]);
  if (unit["CanStop"] == "1" && state.state == SERVICE_RUNNING) {
    state.controls_accepted = SERVICE_ACCEPT_STOP;
  }
  state.process_id = number("MainPID");
  if (unit["ActiveState"] == "failed") {
    state.exit_code = ERROR_SERVICE_SPECIFIC_ERROR;
    state.specific_exit_code = number("ExecMainStatus");
  }
  return 0;
}

ServiceError LiveServices::setup(std::string_view name, ServiceSetup& setup) {
  Properties unit;
  if (const auto error = read_unit(name, unit)) return error;
  setup = {};
  setup.type = SERVICE_WIN32_OWN_PROCESS;
  setup.start_type = start_type_of(unit["UnitFileState"], unit["LoadState"]);
  setup.error_control = SERVICE_ERROR_NORMAL;
  setup.program = unit["ExecStart"];
  setup.account = unit["User"].empty() ? "root" : unit["User"];
  setup.display_name = unit["Description"].empty() ? std::string(name) : unit["Description"];
  const std::string& required = unit["Requires"];
  for (std::size_t from = 0; from < required.size();) {
    const std::size_t end = std::min(required.find('\0', from), required.size());
    std::string_view one = std::string_view(required).substr(from, end - from);
    if (take_suffix(one)) setup.dependencies.emplace_back(one);
    from = end + 1;
  }
  return 0;
}

}  // namespace platform::live
