#include "platform/services/recorded_services.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>

#include "platform/counters/recorded_text.h"
#include "platform/recorded/utf8.h"
#include "platform/services/service_words.h"

namespace platform {
namespace {

using nlohmann::json;

constexpr ServiceError kDoesNotExist = 1060;

struct RecordedService {
  std::string name;
  ServiceState state;
  ServiceSetup setup;
  // What the manager answered when the recording was made, where it refused.
  ServiceError open_error = 0;
  ServiceError state_error = 0;
  ServiceError setup_error = 0;
};

// One object of the file. Keys are taken out as they are read; what is left is unknown.
class ServiceReader {
 public:
  ServiceReader(json& object, std::string place) : object_(object), place_(std::move(place)) {
    if (!object.is_object()) fail("is not an object");
  }

  RecordedService read() {
    RecordedService service;
    service.name = text("Name");
    if (service.name.empty()) fail("Name: is missing or empty");
    place_ += " (" + service.name + ")";
    read_state(service.state);
    read_setup(service.setup);
    service.setup.type = service.state.type;
    if (service.setup.display_name.empty()) service.setup.display_name = service.name;
    service.open_error = number("OpenError", 0);
    service.state_error = number("StateError", 0);
    service.setup_error = number("SetupError", 0);
    if (!object_.empty()) fail(object_.begin().key() + ": is not a key of a service");
    return service;
  }

 private:
  [[noreturn]] void fail(const std::string& what) const {
    throw ControllerError(place_ + ": " + what);
  }

  void read_state(ServiceState& state) {
    state.type = word("ServiceType", kServiceTypes, state.type);
    require("State");
    state.state = word("State", kServiceStates, 0);
    if (flag("AcceptStop")) state.controls_accepted |= kAcceptStop;
    if (flag("AcceptPause")) state.controls_accepted |= kAcceptPause;
    state.exit_code = number("ExitCode", 0);
    state.specific_exit_code = number("ServiceSpecificExitCode", 0);
    state.check_point = number("CheckPoint", 0);
    state.wait_hint_ms = number("WaitHint", 0);
    state.process_id = number("ProcessId", 0);
  }
  void read_setup(ServiceSetup& setup) {
    require("StartMode");
    setup.start_type = word("StartMode", kStartModes, 0);
    setup.error_control = word("ErrorControl", kErrorControls, setup.error_control);
    setup.tag = number("TagId", 0);
    setup.program = text("PathName");
    setup.load_order_group = text("LoadOrderGroup");
    setup.account = text("StartName");
    setup.display_name = text("DisplayName");
    const json names = take("Dependencies");
    if (names.is_null()) return;
    if (!names.is_array()) fail("Dependencies: is not an array of texts");
    for (const json& name : names) setup.dependencies.push_back(text_of("Dependencies", name));
  }

  // Null for a key that is not there, as the tool writes a property without a value.
  json take(const char* key) {
    const auto found = object_.find(key);
    if (found == object_.end()) return nullptr;
    json value = std::move(*found);
    object_.erase(found);
    return value;
  }
  void require(const char* key) const {
    const auto found = object_.find(key);
    if (found == object_.end() || found->is_null()) fail(std::string(key) + ": is missing");
  }
  std::string text_of(const char* key, const json& value) const {
    if (!value.is_string()) fail(std::string(key) + ": is not a text");
    auto result = value.get<std::string>();
    if (result.find('\0') != result.npos) fail(std::string(key) + ": holds a zero character");
    return result;
  }
  std::string text(const char* key) {
    const json value = take(key);
    return value.is_null() ? std::string() : text_of(key, value);
  }
  bool flag(const char* key) {
    const json value = take(key);
    if (value.is_null()) return false;
    if (!value.is_boolean()) fail(std::string(key) + ": is neither true nor false");
    return value.get<bool>();
  }
  std::uint32_t number_of(const char* key, const json& value) const {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > kMost) {
      fail(std::string(key) + ": is not a whole number from 0 to " + std::to_string(kMost));
    }
    return static_cast<std::uint32_t>(value.get<std::uint64_t>());
  }
  std::uint32_t number(const char* key, std::uint32_t otherwise) {
    const json value = take(key);
    return value.is_null() ? otherwise : number_of(key, value);
  }
  // One of the words, or the number itself.
  std::uint32_t word(const char* key, std::span<const ServiceWord> words, std::uint32_t otherwise) {
    const json value = take(key);
    if (value.is_null()) return otherwise;
    if (!value.is_string()) return number_of(key, value);
    const auto written = text_of(key, value);
    const auto found = std::find_if(words.begin(), words.end(), [&](const ServiceWord& one) {
      return equal_without_case(one.word, written);
    });
    if (found != words.end()) return found->number;
    std::string known;
    for (const ServiceWord& one : words) (known += known.empty() ? "" : ", ") += one.word;
    fail(std::string(key) + ": \"" + written + "\" is none of " + known);
  }

  json& object_;
  std::string place_;
};

class RecordedServices : public ServiceManager {
 public:
  // False when a service of that name is there already.
  bool add(RecordedService service) {
    if (!places_.emplace(fold_case(service.name), services_.size()).second) return false;
    services_.push_back(std::move(service));
    return true;
  }

  ServiceError connect() override { return 0; }
  ServiceError list(std::vector<ServiceListing>& services) override {
    services.clear();
    for (const RecordedService& one : services_) {
      services.push_back({one.name, one.setup.display_name, one.state});
    }
    return 0;
  }
  ServiceError open(std::string_view name) override {
    const RecordedService* service = find(name);
    return service == nullptr ? kDoesNotExist : service->open_error;
  }
  ServiceError state(std::string_view name, ServiceState& state) override {
    const RecordedService* service = find(name);
    if (service == nullptr) return kDoesNotExist;
    if (service->state_error == 0) state = service->state;
    return service->state_error;
  }
  ServiceError setup(std::string_view name, ServiceSetup& setup) override {
    const RecordedService* service = find(name);
    if (service == nullptr) return kDoesNotExist;
    if (service->setup_error == 0) setup = service->setup;
    return service->setup_error;
  }

 private:
  const RecordedService* find(std::string_view name) const {
    const auto found = places_.find(fold_case(name));
    return found == places_.end() ? nullptr : &services_[found->second];
  }

  // Both are complete before anyone asks.
  std::vector<RecordedService> services_;
  std::unordered_map<std::string, std::size_t> places_;  // by name in small letters
};

json parse(const std::string& text, const std::string& file_name) {
  std::vector<std::set<std::string>> keys;  // of the objects that are open
  const auto note = [&](int, json::parse_event_t event, json& parsed) {
    if (event == json::parse_event_t::object_start) keys.emplace_back();
    if (event == json::parse_event_t::object_end) keys.pop_back();
    if (event == json::parse_event_t::key &&
        !keys.back().insert(parsed.get<std::string>()).second) {
      throw ControllerError(file_name + ": " + parsed.get<std::string>() + ": is there twice");
    }
    return true;
  };
  try {
    return json::parse(text, note);
  } catch (const json::parse_error& error) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(error.byte, text.size()));
    const std::string what = error.what();
    const std::size_t from = what.rfind("syntax error");
    throw ControllerError(file_name + ":" +
                          std::to_string(1 + std::count(text.begin(), end, '\n')) + ": " +
                          (from == what.npos ? what : what.substr(from)));
  } catch (const json::exception& error) {  // a number that no type holds
    throw ControllerError(file_name + ": " + error.what());
  }
}

}  // namespace

std::unique_ptr<ServiceManager> read_services(const std::string& text,
                                              const std::string& file_name) {
  json root = parse(text_as_utf8(text), file_name);
  if (!root.is_array()) throw ControllerError(file_name + ": is not an array of services");
  auto services = std::make_unique<RecordedServices>();
  std::size_t count = 0;
  for (json& object : root) {
    const std::string place = file_name + ": service " + std::to_string(++count);
    RecordedService service = ServiceReader(object, place).read();
    const std::string name = service.name;
    if (!services->add(std::move(service))) {
      throw ControllerError(place + " (" + name + "): a service of that name is there already");
    }
  }
  return services;
}

}  // namespace platform
